// lumipmi lan: addresses, authentication, cipher suites and statistics of a LAN channel.
#include <algorithm>
#include <map>

#include "tools/address.hpp"
#include "tools/settings.hpp"
#include "tools/text.hpp"
#include "tools/words.hpp"

namespace tool {

namespace {

constexpr char kGet[] = "Get LAN Configuration Parameters";
constexpr char kSet[] = "Set LAN Configuration Parameters";

// IPMI v2.0 rev 1.1, table 23-4; those that include/lumipmi/lan.h has no names for
constexpr uint8_t kSetInProgress = 0;
constexpr uint8_t kRmcpPort = 8;
constexpr uint8_t kArpControl = 10;
constexpr uint8_t kArpInterval = 11;
constexpr uint8_t kCipherSuiteEntries = 23;
constexpr uint8_t kBadPassword = 26;

constexpr Word kProgress[] = {{0, "complete"}, {1, "in progress"}, {2, "commit"}};
constexpr Word kSources[] = {{0, "unspecified"}, {1, "static"}, {2, "dhcp"}, {3, "bios"}, {4, "other"}};
constexpr Bit kIpFlags[] = {{2, "reserved"}, {1, "don't fragment"}, {0, "more fragments"}};
constexpr Bit kServices[] = {{3, "low delay"}, {2, "high throughput"}, {1, "high reliability"}, {0, "low cost"}};
constexpr Word kCipherLevels[] = {{0, "unused"},   {1, "callback"},      {2, "user"},
                                  {3, "operator"}, {4, "administrator"}, {5, "oem"}};

// 22.15.2: authentication, integrity, confidentiality
constexpr Word kCipherSuites[] = {{0, "none, none, none"},
                                  {1, "HMAC-SHA1, none, none"},
                                  {2, "HMAC-SHA1, HMAC-SHA1-96, none"},
                                  {3, "HMAC-SHA1, HMAC-SHA1-96, AES-CBC-128"},
                                  {4, "HMAC-SHA1, HMAC-SHA1-96, xRC4-128"},
                                  {5, "HMAC-SHA1, HMAC-SHA1-96, xRC4-40"},
                                  {6, "HMAC-MD5, none, none"},
                                  {7, "HMAC-MD5, HMAC-MD5-128, none"},
                                  {8, "HMAC-MD5, HMAC-MD5-128, AES-CBC-128"},
                                  {9, "HMAC-MD5, HMAC-MD5-128, xRC4-128"},
                                  {10, "HMAC-MD5, HMAC-MD5-128, xRC4-40"},
                                  {11, "HMAC-MD5, MD5-128, none"},
                                  {12, "HMAC-MD5, MD5-128, AES-CBC-128"},
                                  {13, "HMAC-MD5, MD5-128, xRC4-128"},
                                  {14, "HMAC-MD5, MD5-128, xRC4-40"},
                                  {15, "HMAC-SHA256, none, none"},
                                  {16, "HMAC-SHA256, HMAC-SHA256-128, none"},
                                  {17, "HMAC-SHA256, HMAC-SHA256-128, AES-CBC-128"},
                                  {18, "HMAC-SHA256, HMAC-SHA256-128, xRC4-128"},
                                  {19, "HMAC-SHA256, HMAC-SHA256-128, xRC4-40"}};

// Reading ------------------------------------------------------------------------------------------------------------

/// The data of a parameter, at least `minimum` bytes.
uint32_t get_parameter(IpmiHandle* bmc, uint8_t channel, uint8_t selector, size_t minimum, Bytes& data) {
  uint8_t revision = 0;
  uint16_t length = 255;
  data.assign(length, 0);
  const uint32_t status = ipmi_transport_get_lan_config(bmc, channel, selector, 0, 0, &revision, &length, data.data());
  data.resize(status == 0 ? length : 0);
  return status == 0 && length < minimum ? IPMI_STATUS_BMC_UNSPECIFIED : status;
}

Bytes read_parameter(Session& session, uint8_t channel, uint8_t selector, size_t minimum) {
  Bytes data;
  session.check(get_parameter(session.handle(), channel, selector, minimum, data), kGet);
  return data;
}

/// The IDs of the cipher suites that the channel has: parameters 22 and 23. Behind the entries that 22 counts, some
/// BMCs send others.
uint32_t get_cipher_ids(IpmiHandle* bmc, uint8_t channel, Bytes& ids) {
  const uint32_t status = get_parameter(bmc, channel, kCipherSuiteEntries, 1, ids);
  if (status != 0) return status;
  ids.erase(ids.begin());  // reserved
  uint8_t count = IPMI_CIPHER_SUITE_ENTRIES;
  (void)ipmi_get_lan_cipher_suite_entry_support(bmc, channel, &count);  // best effort: the list has a length of its own
  ids.resize(std::min<size_t>({ids.size(), count & 0x1Fu, IPMI_CIPHER_SUITE_ENTRIES}));
  return 0;
}

Cell ipv4_cell(const Bytes& data) {
  return ipv4_text(data);
}

Cell mac_cell(const Bytes& data) {
  return mac_text(data);
}

Cell tens_of_seconds(const Bytes& data, size_t at) {
  const uint32_t tens = data[at] | static_cast<uint32_t>(data[at + 1]) << 8;
  return tens == 0 ? Cell("ever", 0) : amount(tens * 10.0, "s");
}

Cell types_cell(uint8_t types) {
  return bits_cell(kAuthTypes, types, "no type");
}

Cell vlan_cell(const Bytes& data) {
  const uint32_t id = data[0] | (data[1] & 0x0Fu) << 8;
  const bool enabled = data[1] >> 7 != 0;
  return Cell(enabled ? std::to_string(id) : "off", Json{{"enabled", enabled}, {"id", id}});
}

Cell community_cell(const Bytes& data) {
  const std::string_view text(reinterpret_cast<const char*>(data.data()), data.size());
  return to_utf8(text.substr(0, text.find('\0')));
}

/// What `lan print` shows of a parameter. Neighbours of the same parameter share one request.
struct Setting {
  uint8_t selector;
  size_t size;
  const char* key;
  const char* label;
  Cell (*show)(const Bytes& data);
};

// Bits of parameter 7: flags byte 2 [7:5]; precedence and type of service byte 3 [7:5] and [4:1]
constexpr Setting kSettings[] = {
    {kSetInProgress, 1, "set_in_progress", "Set in progress",
     [](const Bytes& data) { return word_cell(kProgress, data[0] & 0x03); }},
    {IPMI_LAN_IP_SOURCE, 1, "ip_source", "Address source",
     [](const Bytes& data) { return word_cell(kSources, data[0] & 0x0F); }},
    {IPMI_LAN_IP_ADDRESS, 4, "ip_address", "Address", ipv4_cell},
    {IPMI_LAN_SUBNET_MASK, 4, "subnet_mask", "Subnet mask", ipv4_cell},
    {IPMI_LAN_MAC_ADDRESS, 6, "mac_address", "MAC address", mac_cell},
    {IPMI_LAN_GATEWAY_IP, 4, "gateway_ip", "Default gateway", ipv4_cell},
    {IPMI_LAN_GATEWAY_MAC, 6, "gateway_mac", "Default gateway's MAC", mac_cell},
    {IPMI_LAN_BACKUP_GATEWAY_IP, 4, "backup_gateway_ip", "Backup gateway", ipv4_cell},
    {IPMI_LAN_BACKUP_GATEWAY_MAC, 6, "backup_gateway_mac", "Backup gateway's MAC", mac_cell},
    {IPMI_LAN_VLAN_ID, 2, "vlan", "VLAN", vlan_cell},
    {IPMI_LAN_VLAN_PRIORITY, 1, "vlan_priority", "VLAN priority",
     [](const Bytes& data) { return count_cell(data[0] & 0x07); }},
    {IPMI_LAN_IPV4_HEADER, 3, "ttl", "Time to live", [](const Bytes& data) { return count_cell(data[0]); }},
    {IPMI_LAN_IPV4_HEADER, 3, "ip_flags", "IP flags",
     [](const Bytes& data) { return bits_cell(kIpFlags, data[1] >> 5); }},
    {IPMI_LAN_IPV4_HEADER, 3, "precedence", "Precedence", [](const Bytes& data) { return count_cell(data[2] >> 5); }},
    {IPMI_LAN_IPV4_HEADER, 3, "type_of_service", "Type of service",
     [](const Bytes& data) { return bits_cell(kServices, data[2] >> 1 & 0x0F, "normal"); }},
    {kRmcpPort, 2, "rmcp_port", "RMCP port", [](const Bytes& data) { return count_cell(data[0] | data[1] * 256u); }},
    {kArpControl, 1, "arp_responses", "Answers ARP", [](const Bytes& data) { return yes_no((data[0] & 0x02) != 0); }},
    {kArpControl, 1, "gratuitous_arp", "Gratuitous ARP",
     [](const Bytes& data) { return yes_no((data[0] & 0x01) != 0); }},
    {kArpInterval, 1, "gratuitous_arp_seconds", "Gratuitous ARP every",
     [](const Bytes& data) { return amount(data[0] * 0.5, "s"); }},
    {IPMI_LAN_COMMUNITY_STRING, 1, "community", "SNMP community", community_cell},
    {IPMI_LAN_DESTINATION_COUNT, 1, "destinations", "Alert destinations",
     [](const Bytes& data) { return count_cell(data[0] & 0x0F); }},
    {kBadPassword, 6, "bad_password_threshold", "Bad passwords to lock",
     [](const Bytes& data) { return data[1] == 0 ? Cell("off", 0) : count_cell(data[1]); }},
    {kBadPassword, 6, "bad_password_seconds", "Counted for",
     [](const Bytes& data) { return tens_of_seconds(data, 2); }},
    {kBadPassword, 6, "lockout_seconds", "Locked for", [](const Bytes& data) { return tens_of_seconds(data, 4); }},
    {IPMI_LAN_AUTH_TYPE_SUPPORT, 1, "authentication_types", "Authentication types",
     [](const Bytes& data) { return types_cell(data[0]); }},
};

/// Shows what it is told to of one channel.
class View {
 public:
  View(Session& session, Document& document, uint8_t channel)
      : parts_(session, document), document_(document), channel_(channel) {}

  void settings() {
    Record record{"lan", "LAN", {}};
    record.add("channel", "Channel", channel_cell(channel_));
    Bytes data;
    Cell missing;
    bool known = false;
    const Setting* previous = nullptr;
    for (const Setting& setting : kSettings) {
      if (previous == nullptr || previous->selector != setting.selector)
        known = ask(setting.selector, setting.size, data, missing);
      record.add(setting.key, setting.label, known ? setting.show(data) : missing);
      previous = &setting;
    }
    document_.sections.push_back(std::move(record));
  }

  void authentication() {
    Table table{"authentication", "Authentication types enabled", {{"level", "Level"}, {"types", "Types"}}, {}};
    Bytes data;
    Cell missing;
    const bool known = ask(IPMI_LAN_AUTH_TYPE_ENABLES, std::size(kPrivileges), data, missing);
    for (size_t i = 0; i < std::size(kPrivileges); ++i)
      table.rows.push_back({kPrivileges[i].text, known ? types_cell(data[i]) : missing});
    document_.sections.push_back(std::move(table));
  }

  void cipher_suites() {
    Table table{"cipher_suites",
                "Cipher suites",
                {{"id", "ID", true}, {"algorithms", "Authentication, integrity, confidentiality"}, {"level", "Up to"}},
                {}};
    Bytes ids;
    Cell missing;
    const bool listed = parts_.ask(
        kGet, [&](IpmiHandle* bmc) { return get_cipher_ids(bmc, channel_, ids); }, missing, "cipher suites");
    if (!listed) table.rows.push_back({missing, Cell(), Cell()});
    uint32_t levels[IPMI_CIPHER_SUITE_ENTRIES] = {};
    const bool known =
        !ids.empty() &&
        parts_.ask(
            kGet, [&](IpmiHandle* bmc) { return ipmi_get_lan_cipher_suite_privilege(bmc, channel_, levels); }, missing,
            "cipher suite privilege levels");
    for (size_t i = 0; i < ids.size(); ++i)
      table.rows.push_back({count_cell(ids[i]), word_of(kCipherSuites, ids[i], "cipher suite"),
                            known ? word_cell(kCipherLevels, levels[i]) : missing});
    document_.sections.push_back(std::move(table));
  }

 private:
  bool ask(uint8_t selector, size_t size, Bytes& data, Cell& missing) {
    return parts_.ask(
        kGet, [&](IpmiHandle* bmc) { return get_parameter(bmc, channel_, selector, size, data); }, missing,
        "LAN parameter " + std::to_string(selector));
  }

  Parts parts_;
  Document& document_;
  const uint8_t channel_;
};

// Writing ------------------------------------------------------------------------------------------------------------

struct Write {
  uint8_t selector;
  std::string what;
  Bytes data;
};

/// Writes between "set in progress" and "set complete" (23.1): all of it counts, or, where the BMC can roll back, none.
/// Some BMCs keep addresses only this way, others do not know parameter 0, or no "commit".
class Transaction {
 public:
  Transaction(Session& session, uint8_t channel) : session_(session), channel_(channel) {}
  ~Transaction() {
    if (open_) (void)progress(kComplete);  // after a failure, which has been told
  }
  Transaction(const Transaction&) = delete;
  Transaction& operator=(const Transaction&) = delete;

  void run(std::span<const Write> writes) {
    begin();
    for (const Write& write : writes) {
      const auto size = static_cast<uint16_t>(write.data.size());
      session_.check(
          ipmi_transport_set_lan_config(session_.handle(), channel_, write.selector, size, write.data.data()),
          std::string(kSet) + ", " + write.what);
    }
    if (!open_) return;
    const uint32_t status = progress(kCommit);
    const bool unknown = answered(0x80) || answered(0x81) || answered(0xCC);
    if (!unknown) session_.check(status, std::string(kSet) + ", commit");
    open_ = false;
    session_.check(progress(kComplete), std::string(kSet) + ", set complete");
  }

 private:
  enum Progress : uint8_t { kComplete = 0, kBegin = 1, kCommit = 2 };

  void begin() {
    const uint32_t status = progress(kBegin);
    if (answered(0x80)) return;
    if (answered(0x81))
      throw Failure(Exit::Refused, "somebody else is changing the LAN settings of channel " + std::to_string(channel_),
                    "If nobody is: \"lumipmi raw 0c 01 " + hex_number(channel_) + " 00 00\" ends it.");
    open_ = status == 0 || !session_.last().answered;  // without an answer it may have begun
    session_.check(status, std::string(kSet) + ", set in progress");
  }

  uint32_t progress(Progress state) {
    const uint8_t byte = state;
    return ipmi_transport_set_lan_config(session_.handle(), channel_, kSetInProgress, 1, &byte);
  }

  bool answered(uint8_t completion) const {
    return session_.last().answered && session_.last().completion == completion;
  }

  Session& session_;
  const uint8_t channel_;
  bool open_ = false;
};

// The commands -------------------------------------------------------------------------------------------------------

struct AddressOption {
  const char* name;
  uint8_t selector;
  bool is_mac;
  const char* what;
};

// In the order of writing
constexpr AddressOption kAddresses[] = {
    {"--address", IPMI_LAN_IP_ADDRESS, false, "address"},
    {"--mask", IPMI_LAN_SUBNET_MASK, false, "subnet mask"},
    {"--mac", IPMI_LAN_MAC_ADDRESS, true, "MAC address"},
    {"--gateway", IPMI_LAN_GATEWAY_IP, false, "default gateway"},
    {"--gateway-mac", IPMI_LAN_GATEWAY_MAC, true, "default gateway's MAC address"},
    {"--backup-gateway", IPMI_LAN_BACKUP_GATEWAY_IP, false, "backup gateway"},
    {"--backup-gateway-mac", IPMI_LAN_BACKUP_GATEWAY_MAC, true, "backup gateway's MAC address"},
};

/// Bits of a parameter; one bit is a switch. The rest of the parameter stays.
struct FieldOption {
  const char* name;
  uint8_t selector;
  size_t size;   // of the parameter
  unsigned bit;  // the first one, counted from bit 0 of byte 0
  unsigned width;
  uint32_t min, max;
  const char* what;
};

constexpr FieldOption kFields[] = {
    {"--rmcp-port", kRmcpPort, 2, 0, 16, 1, 65535, "Port for RMCP"},
    {"--arp-responses", kArpControl, 1, 1, 1, 0, 1, "Whether the BMC answers ARP"},
    {"--gratuitous-arp", kArpControl, 1, 0, 1, 0, 1, "Whether the BMC sends gratuitous ARP"},
    {"--ttl", IPMI_LAN_IPV4_HEADER, 3, 0, 8, 1, 255, "Time to live of the BMC's packets"},
    {"--dont-fragment", IPMI_LAN_IPV4_HEADER, 3, 14, 1, 0, 1, "Their \"don't fragment\" flag"},
    {"--precedence", IPMI_LAN_IPV4_HEADER, 3, 21, 3, 0, 7, "Their precedence"},
    {"--tos", IPMI_LAN_IPV4_HEADER, 3, 17, 4, 0, 15,
     "Their type of service: 8 delay, 4 throughput, 2 reliability, 1 cost"},
    {"--vlan-priority", IPMI_LAN_VLAN_PRIORITY, 1, 0, 3, 0, 7, "Priority of VLAN frames"},
};

struct Options {
  std::optional<uint32_t> channel, source, vlan;
  std::map<uint8_t, Bytes> addresses;  // by selector
  std::optional<uint32_t> fields[std::size(kFields)];
  std::optional<uint32_t> auth_level, cipher, cipher_level;
  std::vector<std::string> auth_types;
  bool clear = false;
};

/// Ones, then zeros.
bool is_mask(const Bytes& mask) {
  uint32_t zeros = 0;
  for (const uint8_t byte : mask) zeros = zeros << 8 | static_cast<uint8_t>(~byte);
  return (zeros & (zeros + 1)) == 0;
}

void add_address(CLI::App* command, const AddressOption& option, std::map<uint8_t, Bytes>& values) {
  const auto store = [&values, &option](const Bytes& address) {
    if (option.selector == IPMI_LAN_SUBNET_MASK && !is_mask(address))
      throw CLI::ValidationError(option.name,
                                 ipv4_text(address) + " is not a subnet mask: ones have to come before zeros");
    values[option.selector] = address;
  };
  (option.is_mac ? add_mac : add_ipv4)(command, option.name, store, std::string("The ") + option.what);
}

/// `vlan` becomes 0 for "off".
void add_vlan(CLI::App* command, std::optional<uint32_t>& vlan) {
  command
      ->add_option_function<std::string>(
          "--vlan",
          [&vlan](const std::string& text) {
            constexpr uint32_t kLastVlan = 4094;
            uint32_t id = 0;
            const bool off = text == "off";
            if (!off && (!CLI::detail::lexical_cast(text, id) || id < 1 || id > kLastVlan))
              throw CLI::ValidationError("--vlan", text + " is neither \"off\" nor in range [1 - 4094]");
            vlan = id;
          },
          "The VLAN: off, or 1 to 4094")
      ->type_name("ID");
}

/// Sets bits of a parameter of up to four bytes, the least significant byte first.
void put_bits(Bytes& data, unsigned bit, unsigned width, uint32_t value) {
  for (unsigned i = bit; i < bit + width; ++i, value >>= 1) {
    const auto mask = static_cast<uint8_t>(1u << i % 8);
    data[i / 8] = static_cast<uint8_t>((data[i / 8] & ~mask) | ((value & 1) != 0 ? mask : 0));
  }
}

/// What is asked for, in the order of writing; the bits that are not come from the BMC.
class Writes {
 public:
  Writes(Session& session, uint8_t channel, const Options& options) : session_(session), channel_(channel) {
    if (options.source)
      writes_.push_back({IPMI_LAN_IP_SOURCE, "address source", {static_cast<uint8_t>(*options.source)}});
    for (const AddressOption& option : kAddresses)
      if (options.addresses.count(option.selector) != 0)
        writes_.push_back({option.selector, option.what, options.addresses.at(option.selector)});
    for (size_t i = 0; i < std::size(kFields); ++i)
      if (options.fields[i])
        put_bits(parameter(kFields[i].selector, kFields[i].size, kFields[i].name), kFields[i].bit, kFields[i].width,
                 *options.fields[i]);
    if (options.vlan) {
      Bytes& vlan = parameter(IPMI_LAN_VLAN_ID, 2, "--vlan");
      put_bits(vlan, 15, 1, *options.vlan != 0);
      if (*options.vlan != 0) put_bits(vlan, 0, 12, *options.vlan);  // off: the ID stays for the next time
    }
  }

  const std::vector<Write>& all() const { return writes_; }

 private:
  /// The data to be written, at first those of the BMC.
  Bytes& parameter(uint8_t selector, size_t size, const char* option) {
    if (writes_.empty() || writes_.back().selector != selector) {
      Bytes data = read_parameter(session_, channel_, selector, size);
      data.resize(size);
      writes_.push_back({selector, option, data});
    }
    return writes_.back().data;
  }

  Session& session_;
  const uint8_t channel_;
  std::vector<Write> writes_;
};

bool is_change(const Options& options) {
  const auto given = [](const std::optional<uint32_t>& value) { return value.has_value(); };
  return options.source || options.vlan || !options.addresses.empty() ||
         std::any_of(std::begin(options.fields), std::end(options.fields), given);
}

void print(Context& context, Document& document, const Options& options) {
  View view(context.session, document, channel_of(context.session, options.channel, Medium::Lan));
  view.settings();
  view.authentication();
  view.cipher_suites();
}

void set(Context& context, Document& document, const Options& options) {
  if (!is_change(options))
    throw Failure(Exit::Usage, "nothing to change: no setting is given", "\"lumipmi lan set --help\" lists them.");
  if (options.addresses.count(IPMI_LAN_IP_ADDRESS) != 0 && options.source && *options.source != IPMI_IP_SOURCE_STATIC)
    throw Failure(Exit::Usage, "--address needs --source static, not " + word_of(kSources, *options.source));

  const uint8_t channel = channel_of(context.session, options.channel, Medium::Lan);
  const Writes writes(context.session, channel, options);
  require_consent(context, "Change the LAN settings of channel " + std::to_string(channel) +
                               "? Connections over the network may break.");
  Transaction(context.session, channel).run(writes.all());
  View(context.session, document, channel).settings();
}

void auth(Context& context, Document& document, const Options& options) {
  View(context.session, document, channel_of(context.session, options.channel, Medium::Lan)).authentication();
}

uint8_t auth_types(const std::vector<std::string>& names) {
  uint8_t types = 0;
  for (const std::string& name : names) {
    if (name == "off" && names.size() > 1) throw Failure(Exit::Usage, "--types: \"off\" goes with no other type");
    for (const Bit& type : kAuthTypes)
      if (name == type.text) types = static_cast<uint8_t>(types | 1u << type.number);
  }
  return types;
}

void set_auth(Context& context, Document& document, const Options& options) {
  const uint8_t types = auth_types(options.auth_types);
  const uint8_t channel = channel_of(context.session, options.channel, Medium::Lan);
  // Not ipmi_get_lan_authentication_type_enables(): that one drops the OEM type, and writing back would disable it.
  Bytes enables = read_parameter(context.session, channel, IPMI_LAN_AUTH_TYPE_ENABLES, std::size(kPrivileges));
  enables.resize(std::size(kPrivileges));
  uint8_t& level = enables[*options.auth_level - 1];
  if ((level & ~types) != 0)
    require_consent(context, "Allow only " + types_cell(types).text + " at level " +
                                 word_of(kPrivileges, *options.auth_level) + ", not " + types_cell(level).text +
                                 "? IPMI 1.5 clients may be locked out.");
  level = types;
  const Write write = {IPMI_LAN_AUTH_TYPE_ENABLES, "authentication types", enables};
  Transaction(context.session, channel).run({&write, 1});
  auth(context, document, options);
}

void cipher(Context& context, Document& document, const Options& options) {
  View(context.session, document, channel_of(context.session, options.channel, Medium::Lan)).cipher_suites();
}

/// Levels go by the position of a suite in the BMC's list, not by its ID (table 23-4, parameters 23 and 24).
void set_cipher(Context& context, Document& document, const Options& options) {
  const uint8_t channel = channel_of(context.session, options.channel, Medium::Lan);
  Bytes ids;
  context.session.check(get_cipher_ids(context.session.handle(), channel, ids), kGet);
  const auto position = static_cast<size_t>(std::find(ids.begin(), ids.end(), *options.cipher) - ids.begin());
  if (position == ids.size())
    throw Failure(Exit::Refused, "the BMC has no cipher suite " + std::to_string(*options.cipher),
                  "\"lumipmi lan cipher\" lists those that it has.");
  Bytes levels = read_parameter(context.session, channel, IPMI_LAN_CIPHER_SUITE_PRIVILEGES, 9);
  levels.resize(1 + IPMI_CIPHER_SUITE_ENTRIES / 2);  // a reserved byte, then two entries a byte
  uint8_t& pair = levels[1 + position / 2];
  const unsigned shift = position % 2 * 4;
  const uint32_t before = pair >> shift & 0x0Fu;
  if (*options.cipher_level < before)
    require_consent(context, "Lower cipher suite " + std::to_string(*options.cipher) + " from " +
                                 word_of(kCipherLevels, before) + " to " +
                                 word_of(kCipherLevels, *options.cipher_level) +
                                 "? Clients that use it may be locked out.");
  pair = static_cast<uint8_t>((pair & ~(0x0Fu << shift)) | *options.cipher_level << shift);
  const Write write = {IPMI_LAN_CIPHER_SUITE_PRIVILEGES, "cipher suite privilege levels", levels};
  Transaction(context.session, channel).run({&write, 1});
  cipher(context, document, options);
}

/// 23.4
void statistics(Context& context, Document& document, const Options& options) {
  static constexpr struct {
    const char* key;
    const char* label;
  } kCounters[] = {{"ip_packets_received", "IP packets received"},
                   {"ip_header_errors", "IP header errors"},
                   {"ip_address_errors", "IP address errors"},
                   {"fragmented_ip_packets_received", "Fragmented IP packets received"},
                   {"ip_packets_transmitted", "IP packets transmitted"},
                   {"udp_packets_received", "UDP packets received"},
                   {"rmcp_packets_received", "Valid RMCP packets received"},
                   {"udp_proxy_packets_received", "UDP proxy packets received"},
                   {"udp_proxy_packets_dropped", "UDP proxy packets dropped"}};
  const uint8_t channel = channel_of(context.session, options.channel, Medium::Lan);
  uint16_t counters[std::size(kCounters)];
  context.session.check(
      ipmi_transport_get_lan_statistics(context.session.handle(), channel, options.clear ? 1 : 0, counters),
      "Get IP/UDP/RMCP Statistics");
  Record record{"statistics", "IP, UDP and RMCP packets", {}};
  record.add("channel", "Channel", channel_cell(channel));
  for (size_t i = 0; i < std::size(kCounters); ++i)
    record.add(kCounters[i].key, kCounters[i].label, count_cell(counters[i]));
  if (options.clear) record.add("cleared", "Counters", Cell("cleared after this reading", true));
  document.sections.push_back(std::move(record));
}

void add_set(CLI::App* command, Options& options) {
  static constexpr std::span<const Word> kSettable = std::span(kSources).subspan(1);
  add_word(command, "--source", options.source, kSettable, "Where the address comes from");
  for (const AddressOption& option : kAddresses) add_address(command, option, options.addresses);
  add_vlan(command, options.vlan);
  for (size_t i = 0; i < std::size(kFields); ++i) {
    const FieldOption& field = kFields[i];
    if (field.width == 1)
      add_switch(command, field.name, options.fields[i], field.what);
    else
      add_number(command, field.name, options.fields[i], field.min, field.max, field.what);
  }
}

void add_set_auth(CLI::App* command, Options& options) {
  add_word(command, "--level", options.auth_level, kPrivileges, "The privilege level")->required();
  std::vector<std::string> names;
  for (const Bit& type : kAuthTypes) names.emplace_back(type.text);
  names.emplace_back("off");
  command->add_option("--types", options.auth_types, "Types that it may use, with commas; off: none of them")
      ->type_name("WORDS")
      ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll)
      ->delimiter(',')
      ->check(CLI::IsMember(names))
      ->required();
}

}  // namespace

void add_lan(CLI::App& app, Context& context) {
  const auto options = std::make_shared<Options>();
  using Run = void (*)(Context&, Document&, const Options&);
  const auto add = [&](CLI::App* parent, const char* name, const char* help, Run run) {
    CLI::App* command = parent->add_subcommand(name, help);
    command->require_subcommand(0, 1);
    add_channel(command, options->channel, Medium::Lan);
    runs(context, command, [&context, options, run](Document& document) { run(context, document, *options); });
    return command;
  };
  CLI::App* lan = add(&app, "lan", "Network settings of the BMC", print);
  add(lan, "print", "Show them (the default)", print);
  add_set(add(lan, "set", "Change them, which asks first; what is not given stays", set), *options);

  CLI::App* auth_command = add(lan, "auth", "Show the authentication types of IPMI 1.5 sessions", auth);
  add_set_auth(add(auth_command, "set", "Choose those of a privilege level; asks before it takes one away", set_auth),
               *options);

  CLI::App* cipher_command = add(lan, "cipher", "Show the cipher suites of IPMI 2.0 sessions", cipher);
  CLI::App* command =
      add(cipher_command, "set", "Set the highest privilege level of one; asks before it lowers it", set_cipher);
  add_number(command, "ID", options->cipher, 0, 255, "The cipher suite")->required();
  add_word(command, "LEVEL", options->cipher_level, kCipherLevels, "The level")->required();

  add(lan, "stats", "Show the packet counters", statistics)
      ->add_flag("--clear", options->clear, "Set the counters to 0 after reading them; asks no question");
}

}  // namespace tool
