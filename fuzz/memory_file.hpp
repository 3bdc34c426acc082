// A file that lies nowhere, for the readers that take a path.
#pragma once

#include <sys/mman.h>
#include <unistd.h>

#include "fuzz.hpp"

namespace lumi::fuzz {

class MemoryFile {
 public:
  MemoryFile() : fd_(memfd_create("input", MFD_CLOEXEC)) { require(fd_ >= 0); }
  ~MemoryFile() { close(fd_); }
  MemoryFile(const MemoryFile&) = delete;
  MemoryFile& operator=(const MemoryFile&) = delete;

  /// In this process only.
  std::string path() const { return "/proc/self/fd/" + std::to_string(fd_); }
  void write(const Bytes& content) const {
    require(ftruncate(fd_, 0) == 0);
    require(pwrite(fd_, content.data(), content.size(), 0) == static_cast<ssize_t>(content.size()));
  }

 private:
  int fd_;
};

}  // namespace lumi::fuzz
