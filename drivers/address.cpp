// The texts that name a transport.
#include <string.h>

#include "drivers/transport.hpp"

namespace lumi::driver {

static Cause refuse(const char* name, const char* what) {
  return fail(LUMIPMI_CAUSE_BAD_TRANSPORT,
              "transport \"%.200s\": %s; accepted are \"dev\", \"dev:/dev/ipmi0\", \"vm:HOST:PORT\", an IPv6 HOST in "
              "square brackets, \"replay:FILE\" and \"replay-any:FILE\"",
              name, what);
}

/// Copies `length` characters if they fit with their terminator.
static bool copy(const char* text, size_t length, char* to, size_t size) {
  if (length >= size) return false;
  memcpy(to, text, length);
  to[length] = '\0';
  return true;
}

static bool is_port(const char* text) {
  unsigned long value = 0;
  size_t digits = 0;
  for (; digits < 6 && text[digits] >= '0' && text[digits] <= '9'; ++digits)
    value = value * 10 + static_cast<unsigned long>(text[digits] - '0');
  return digits <= 5 && text[digits] == '\0' && value >= 1 && value <= 65535;
}

static Cause parse_path(const char* name, const char* path, Address& address) {
  if (path[0] != '/') return refuse(name, "the device is not an absolute path");
  if (!copy(path, strlen(path), address.target, sizeof address.target)) return refuse(name, "the path is too long");
  return LUMIPMI_CAUSE_NONE;
}

static Cause parse_file(const char* name, const char* file, Address& address) {
  if (file[0] == '\0') return refuse(name, "the file is missing");
  if (!copy(file, strlen(file), address.target, sizeof address.target)) return refuse(name, "the path is too long");
  return LUMIPMI_CAUSE_NONE;
}

static Cause parse_host_and_port(const char* name, const char* host, Address& address) {
  const char* host_end = nullptr;
  const char* colon = nullptr;
  if (host[0] == '[') {
    ++host;
    host_end = strchr(host, ']');
    if (host_end == nullptr) return refuse(name, "the closing bracket is missing");
    if (host_end[1] != ':') return refuse(name, "the port is missing");
    colon = host_end + 1;
  } else {
    colon = strrchr(host, ':');
    if (colon == nullptr) return refuse(name, "the port is missing");
    if (strchr(host, ':') != colon) return refuse(name, "an IPv6 address needs square brackets");
    host_end = colon;
  }
  if (host_end == host) return refuse(name, "the host is missing");
  if (!is_port(colon + 1)) return refuse(name, "the port is not a number from 1 to 65535");
  if (!copy(host, static_cast<size_t>(host_end - host), address.target, sizeof address.target))
    return refuse(name, "the host name is too long");
  (void)copy(colon + 1, strlen(colon + 1), address.port, sizeof address.port);  // fits: at most 5 digits
  return LUMIPMI_CAUSE_NONE;
}

struct Kind {
  const char* prefix;
  const Transport* transport;
  Cause (*parse)(const char* name, const char* rest, Address& address);
};

constexpr Kind kKinds[] = {
    {"dev:", &kDevTransport, parse_path},
    {"vm:", &kVmTransport, parse_host_and_port},
    {"replay:", &kReplayTransport, parse_file},
    {"replay-any:", &kReplayAnyTransport, parse_file},
};

Cause parse_address(const char* name, Address& address) {
  address = Address();
  if (name[0] == '\0') return refuse(name, "it is empty");
  if (!copy(name, strlen(name), address.name, sizeof address.name)) return refuse(name, "it is too long");

  if (strcmp(name, "dev") == 0) {
    address.transport = &kDevTransport;
    return LUMIPMI_CAUSE_NONE;
  }
  for (const Kind& kind : kKinds) {
    const size_t length = strlen(kind.prefix);
    if (strncmp(name, kind.prefix, length) != 0) continue;
    address.transport = kind.transport;
    return kind.parse(name, name + length, address);
  }
  return refuse(name, "unknown kind");
}

}  // namespace lumi::driver
