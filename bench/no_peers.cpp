// For 64-bit ARM, where the peers' packages are not installed beside this machine's.
#include "operations.hpp"

namespace bench {

std::vector<Operation> freeipmi_operations() {
  return {};
}

std::vector<Operation> openipmi_operations() {
  return {};
}

}  // namespace bench
