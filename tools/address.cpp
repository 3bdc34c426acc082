#include "tools/address.hpp"

#include <arpa/inet.h>

#include <algorithm>
#include <cctype>

#include "tools/text.hpp"

namespace tool {

namespace {

Bytes parse_ipv4(const std::string& text) {
  Bytes address(4);
  if (inet_pton(AF_INET, text.c_str(), address.data()) != 1) address.clear();
  return address;
}

/// Six hexadecimal bytes of two digits, with colons or hyphens between them.
Bytes parse_mac(const std::string& text) {
  constexpr size_t kTextSize = 17;
  if (text.size() != kTextSize) return {};
  Bytes address;
  for (size_t i = 0; i < kTextSize; i += 3) {
    const auto is_digit = [&](size_t at) { return std::isxdigit(static_cast<unsigned char>(text[at])) != 0; };
    if (!is_digit(i) || !is_digit(i + 1)) return {};
    if (i + 2 < kTextSize && text[i + 2] != ':' && text[i + 2] != '-') return {};
    address.push_back(static_cast<uint8_t>(std::stoul(text.substr(i, 2), nullptr, 16)));
  }
  return address;
}

CLI::Option* add_address(CLI::App* command, const std::string& name, const char* type, const char* form,
                         Bytes (*parse)(const std::string&), const std::function<void(const Bytes&)>& store,
                         const std::string& help) {
  return command
      ->add_option_function<std::string>(
          name,
          [=](const std::string& text) {
            const Bytes address = parse(text);
            if (address.empty()) throw CLI::ValidationError(name, text + " is not " + form);
            store(address);
          },
          help)
      ->type_name(type);
}

}  // namespace

std::string ipv4_text(std::span<const uint8_t> address) {
  char text[INET_ADDRSTRLEN];
  return inet_ntop(AF_INET, address.data(), text, sizeof text);
}

std::string mac_text(std::span<const uint8_t> address) {
  std::string text = hex_bytes(address.first(6));
  std::replace(text.begin(), text.end(), ' ', ':');
  return text;
}

CLI::Option* add_ipv4(CLI::App* command, const std::string& name, const std::function<void(const Bytes&)>& store,
                      const std::string& help) {
  return add_address(command, name, "IPV4", "an IPv4 address, as 192.0.2.1", parse_ipv4, store, help);
}

CLI::Option* add_mac(CLI::App* command, const std::string& name, const std::function<void(const Bytes&)>& store,
                     const std::string& help) {
  return add_address(command, name, "MAC", "a MAC address, as 02:00:5e:10:00:01", parse_mac, store, help);
}

}  // namespace tool
