// The calls of bmc_fuzz by their names: all management calls, the hardware layer, and what reads whole records.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "fuzz.hpp"

namespace lumi::fuzz {

struct BmcCall {
  std::string name;
  std::function<void(Input& arguments)> run;  // with guarded outputs; what it does not take is the BMC's
  bool of_fru_device = false;                 // the BMC is nothing but a FRU device
};

const std::vector<BmcCall>& bmc_calls();

}  // namespace lumi::fuzz
