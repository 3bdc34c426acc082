// A directory of its own for a test, removed with all its files afterwards.
#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>

namespace lumi::test {

class TempDir {
 public:
  TempDir() : path_(testing::TempDir() + "lumipmi.XXXXXX") {
    if (mkdtemp(path_.data()) == nullptr) std::abort();
  }
  ~TempDir() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;

  const std::string& path() const { return path_; }
  std::string file(std::string_view name) const { return path_ + "/" + std::string(name); }
  /// Writes a file, byte for byte, and returns its path.
  std::string write(std::string_view name, std::string_view content) const {
    const std::string result = file(name);
    std::ofstream(result, std::ios::binary) << content;
    return result;
  }

 private:
  std::string path_;
};

}  // namespace lumi::test
