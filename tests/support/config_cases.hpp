// Shared checks for the accessors of configuration parameters.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "support/scripted_driver.hpp"

struct ConfigWrite {
  const char* name;
  std::vector<Bytes> requests;  // one for each parameter written, in order
  std::function<uint32_t(IpmiHandle*)> call;
};

/// Runs each write to its end, then with each of its requests refused, then without a handle.
inline void check_writes(uint8_t net_fn, uint8_t cmd, uint32_t kind, const std::vector<ConfigWrite>& writes) {
  TestHandle handle;
  for (const ConfigWrite& write : writes) {
    for (size_t refused = 0; refused <= write.requests.size(); ++refused) {
      SCOPED_TRACE(std::string(write.name) + ", refused: " + std::to_string(refused));
      std::vector<Step> steps;
      for (size_t i = 0; i < write.requests.size() && i <= refused; ++i)
        steps.push_back({.net_fn = net_fn, .cmd = cmd, .request = write.requests[i], .kind = kind});
      const bool fails = refused < write.requests.size();
      if (fails) steps.back().reply = {0x81};
      ScriptedDriver bmc(steps);
      EXPECT_EQ(write.call(handle), fails ? 0x20000110u : 0u);
    }
    SCOPED_TRACE(std::string(write.name) + ", no handle");
    ScriptedDriver silent(std::vector<Step>{});
    EXPECT_EQ(write.call(nullptr), 0x20000214u);
  }
}

/// Calls with invalid arguments: nothing is sent.
inline void check_invalid(const std::vector<std::function<uint32_t(IpmiHandle*)>>& calls) {
  TestHandle handle;
  ScriptedDriver silent(std::vector<Step>{});
  for (size_t i = 0; i < calls.size(); ++i) EXPECT_EQ(calls[i](handle), 0x20000214u) << "call " << i;
}
