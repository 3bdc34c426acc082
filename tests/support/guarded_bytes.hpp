// Memory that ends where the next page may not be touched: reading or writing a byte too far stops the test program.
#pragma once

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

namespace lumi::test {

class GuardedBytes {
 public:
  explicit GuardedBytes(size_t size, uint8_t fill = 0) : size_(size) {
    const auto page = static_cast<size_t>(sysconf(_SC_PAGESIZE));
    mapped_ = (size + page - 1) / page * page + page;
    map_ = mmap(nullptr, mapped_, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (map_ == MAP_FAILED) std::abort();
    data_ = static_cast<uint8_t*>(map_) + mapped_ - page - size;
    std::fill_n(data_, size, fill);
    if (mprotect(data_ + size, page, PROT_NONE) != 0) std::abort();
  }
  explicit GuardedBytes(const std::vector<uint8_t>& bytes) : GuardedBytes(bytes.size()) {
    std::copy(bytes.begin(), bytes.end(), data_);
  }
  ~GuardedBytes() { munmap(map_, mapped_); }
  GuardedBytes(const GuardedBytes&) = delete;
  GuardedBytes& operator=(const GuardedBytes&) = delete;

  uint8_t* data() { return data_; }
  char* text() { return reinterpret_cast<char*>(data_); }
  size_t size() const { return size_; }
  /// All bytes, whatever they are.
  std::string content() const { return std::string(reinterpret_cast<const char*>(data_), size_); }

 private:
  size_t size_;
  size_t mapped_ = 0;
  void* map_ = nullptr;
  uint8_t* data_ = nullptr;
};

}  // namespace lumi::test
