// Runs a target on saved inputs: files, or directories of them. Directories may be missing, but not all of them.
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>

#include "fuzz.hpp"

namespace fs = std::filesystem;

[[gnu::weak]] int LLVMFuzzerInitialize(int*, char***) {
  return 0;
}

/// For the mutators, which nobody calls here.
extern "C" size_t LLVMFuzzerMutate(uint8_t*, size_t size, size_t) {
  return size;
}

int main(int argc, char** argv) {
  std::vector<fs::path> inputs;
  for (int i = 1; i < argc; ++i) {
    if (!fs::is_directory(argv[i])) {
      if (fs::exists(argv[i])) inputs.emplace_back(argv[i]);
      continue;
    }
    for (const fs::directory_entry& entry : fs::directory_iterator(argv[i])) inputs.push_back(entry.path());
  }
  if (inputs.empty()) {
    std::fprintf(stderr, "no inputs\n");
    return 1;
  }
  std::sort(inputs.begin(), inputs.end());

  LLVMFuzzerInitialize(&argc, &argv);
  for (const fs::path& path : inputs) {
    std::fprintf(stderr, "%s\n", path.c_str());  // the last one shown is the one that ended the program
    std::ifstream file(path, std::ios::binary);
    const Bytes bytes(std::istreambuf_iterator<char>(file), {});
    const std::unique_ptr<uint8_t[]> exact(new uint8_t[bytes.size()]);
    std::copy(bytes.begin(), bytes.end(), exact.get());
    LLVMFuzzerTestOneInput(exact.get(), bytes.size());
  }
  std::fprintf(stderr, "%zu inputs\n", inputs.size());
  return 0;
}
