// A sensor data record: decoded and held against the model, with the names and the reading made from its fields.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "support/sdr_builder.hpp"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size > 512) return 0;
  const std::string fault = lumi::test::sdr_faults(data, size);
  if (fault.empty()) return 0;
  std::fprintf(stderr, "%s\n", fault.c_str());
  std::abort();
}
