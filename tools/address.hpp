// IPv4 and MAC addresses: texts and options.
#pragma once

#include <functional>
#include <span>
#include <string>

#include "tools/command.hpp"

namespace tool {

/// "192.0.2.1"; of the first 4 bytes.
std::string ipv4_text(std::span<const uint8_t> address);
/// "02:00:5e:10:00:01"; of the first 6 bytes.
std::string mac_text(std::span<const uint8_t> address);

/// Options for addresses. What is none ends the tool and says so; `store` gets the 4 or 6 bytes.
CLI::Option* add_ipv4(CLI::App* command, const std::string& name, const std::function<void(const Bytes&)>& store,
                      const std::string& help);
CLI::Option* add_mac(CLI::App* command, const std::string& name, const std::function<void(const Bytes&)>& store,
                     const std::string& help);

}  // namespace tool
