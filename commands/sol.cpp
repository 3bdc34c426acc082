// Serial over LAN: configuration (IPMI v2.0 rev 1.1, 26), activation as a payload, and the commands from before
// IPMI 2.0.
#include "lumipmi/sol.h"

#include <cstring>

#include "commands/config_family.hpp"
#include "core/handle.hpp"

using namespace lumi;

namespace {

constexpr ConfigFamily kSol = {};

constexpr uint16_t kPreStandardPort = 623;  // shared with RMCP
constexpr uint8_t kInstance = 1;

constexpr ChannelParameterGet<ipmi_transport_get_sol_config> sol_get;
constexpr ChannelParameterSet<ipmi_transport_set_sol_config> sol_set;

Status set_bit_rate(IpmiHandle* handle, uint8_t channel, uint8_t selector, uint32_t rate) {
  if (rate < IPMI_BIT_RATE_9600 || rate > IPMI_BIT_RATE_115200) return IPMI_STATUS_APP_INVALID_PARAMETER;
  const uint8_t data[1] = {static_cast<uint8_t>(rate)};
  return sol_set(handle, channel, selector, data);
}

Status get_bit_rate(IpmiHandle* handle, uint8_t channel, uint8_t selector, uint32_t* rate) {
  if (rate == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;
  uint8_t data[1] = {};
  LUMI_TRY(sol_get(handle, channel, selector, data));
  *rate = bits(data[0], 3, 0);
  return kOk;
}

}  // namespace

extern "C" uint32_t ipmi_hlp_get_sol_version(const IpmiHandle* handle) {
  if (handle == nullptr) return IPMI_SOL_UNSUPPORTED;
  if (handle->params.interfaceType == 2 || handle->params.interfaceType == 4) {
    if (handle->workArea == nullptr) return IPMI_SOL_UNSUPPORTED;
    uint32_t version;
    std::memcpy(&version, handle->workArea + kSolVersionOffset, sizeof version);
    return version;
  }
  if (handle->ipmiVersionLevel == kIpmi15) return IPMI_SOL_PRE_STANDARD;
  if (handle->ipmiVersionLevel == kIpmi20) return IPMI_SOL_STANDARD;
  return IPMI_SOL_UNSUPPORTED;
}

extern "C" uint32_t ipmi_transport_set_sol_config(IpmiHandle* handle, uint8_t channel, uint8_t selector,
                                                  uint16_t length, const uint8_t* data) {
  if (handle == nullptr || data == nullptr || length == 0 || channel > kMaxChannel)
    return IPMI_STATUS_APP_INVALID_PARAMETER;
  LUMI_TRY(kSol.check_set(length));
  const uint32_t version = ipmi_hlp_get_sol_version(handle);
  if (version == IPMI_SOL_UNSUPPORTED) return IPMI_STATUS_APP_UNSUPPORT_OPERATION;

  const bool standard = version != IPMI_SOL_PRE_STANDARD;
  Exchange ex(handle, standard ? NetFn::Transport : NetFn::OemSol, standard ? 0x21 : 0x03, Privilege::Administrator);
  ex.u8(standard ? channel : 0).u8(selector);
  return kSol.set(ex, length, data);
}

extern "C" uint32_t ipmi_transport_get_sol_config(IpmiHandle* handle, uint8_t channel, uint8_t selector,
                                                  uint8_t set_selector, uint8_t block_selector, uint8_t* revision,
                                                  uint16_t* length, uint8_t* data) {
  if (handle == nullptr || revision == nullptr || length == nullptr || data == nullptr || channel > kMaxChannel)
    return IPMI_STATUS_APP_INVALID_PARAMETER;
  const uint32_t version = ipmi_hlp_get_sol_version(handle);
  if (version == IPMI_SOL_UNSUPPORTED) return IPMI_STATUS_APP_UNSUPPORT_OPERATION;

  const bool standard = version != IPMI_SOL_PRE_STANDARD;
  Exchange ex(handle, standard ? NetFn::Transport : NetFn::OemSol, standard ? 0x22 : 0x04, Privilege::User);
  ex.u8(standard ? channel : 0).u8(selector).u8(set_selector).u8(block_selector);
  return kSol.get(ex, revision, length, data);
}

extern "C" uint32_t ipmi_enable_sol(IpmiHandle* handle, uint8_t channel, uint8_t enable) {
  const uint8_t data[1] = {enable};
  return sol_set(handle, channel, IPMI_SOL_ENABLE, data);
}

extern "C" uint32_t ipmi_get_sol_enabled_status(IpmiHandle* handle, uint8_t channel, uint8_t* enabled) {
  if (enabled == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;
  uint8_t data[1] = {};
  LUMI_TRY(sol_get(handle, channel, IPMI_SOL_ENABLE, data));
  *enabled = bits(data[0], 0, 0);
  return kOk;
}

extern "C" uint32_t ipmi_set_sol_authentication(IpmiHandle* handle, uint8_t channel, const IpmiSolConfig* config) {
  if (handle == nullptr || config == nullptr || config->privilege_level < 2 || config->privilege_level > 5)
    return IPMI_STATUS_APP_INVALID_PARAMETER;
  uint8_t data[1] = {static_cast<uint8_t>((config->force_encryption & 1u) << 7 | (config->privilege_level & 0x0F))};
  if (ipmi_hlp_get_sol_version(handle) >= IPMI_SOL_STANDARD) {
    // Two bits wide, so that 2 and 3 force encryption as well: part of the interface.
    data[0] = static_cast<uint8_t>(data[0] | (config->force_authentication & 3) << 6);
  }
  return sol_set(handle, channel, IPMI_SOL_AUTHENTICATION, data);
}

extern "C" uint32_t ipmi_get_sol_authentication(IpmiHandle* handle, uint8_t channel, IpmiSolConfig* config) {
  if (config == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;
  uint8_t data[1] = {};
  LUMI_TRY(sol_get(handle, channel, IPMI_SOL_AUTHENTICATION, data));
  config->force_encryption = bits(data[0], 7, 7);
  config->force_authentication = bits(data[0], 6, 6);
  config->privilege_level = bits(data[0], 3, 0);
  return kOk;
}

extern "C" uint32_t ipmi_set_sol_char_config(IpmiHandle* handle, uint8_t channel, const uint8_t char_config[2]) {
  return ipmi_transport_set_sol_config(handle, channel, IPMI_SOL_CHAR_CONFIG, 2, char_config);
}

extern "C" uint32_t ipmi_get_sol_char_config(IpmiHandle* handle, uint8_t channel, uint8_t char_config[2]) {
  if (char_config == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;
  uint8_t data[2] = {};
  LUMI_TRY(sol_get(handle, channel, IPMI_SOL_CHAR_CONFIG, data));
  std::memcpy(char_config, data, sizeof data);
  return kOk;
}

extern "C" uint32_t ipmi_set_sol_retry(IpmiHandle* handle, uint8_t channel, const uint8_t retry[2]) {
  if (retry == nullptr || retry[0] > 7) return IPMI_STATUS_APP_INVALID_PARAMETER;
  return ipmi_transport_set_sol_config(handle, channel, IPMI_SOL_RETRY, 2, retry);
}

extern "C" uint32_t ipmi_get_sol_retry(IpmiHandle* handle, uint8_t channel, uint8_t retry[2]) {
  if (retry == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;
  uint8_t data[2] = {};
  LUMI_TRY(sol_get(handle, channel, IPMI_SOL_RETRY, data));
  retry[0] = bits(data[0], 2, 0);
  retry[1] = data[1];
  return kOk;
}

extern "C" uint32_t ipmi_set_sol_non_volatile(IpmiHandle* handle, uint8_t channel, uint32_t rate) {
  return set_bit_rate(handle, channel, IPMI_SOL_NON_VOLATILE_BIT_RATE, rate);
}

extern "C" uint32_t ipmi_get_sol_non_volatile(IpmiHandle* handle, uint8_t channel, uint32_t* rate) {
  return get_bit_rate(handle, channel, IPMI_SOL_NON_VOLATILE_BIT_RATE, rate);
}

extern "C" uint32_t ipmi_set_sol_volatile(IpmiHandle* handle, uint8_t channel, uint32_t rate) {
  return set_bit_rate(handle, channel, IPMI_SOL_VOLATILE_BIT_RATE, rate);
}

extern "C" uint32_t ipmi_get_sol_volatile(IpmiHandle* handle, uint8_t channel, uint32_t* rate) {
  return get_bit_rate(handle, channel, IPMI_SOL_VOLATILE_BIT_RATE, rate);
}

extern "C" uint32_t ipmi_get_sol_channel(IpmiHandle* handle, uint8_t channel, uint8_t* sol_channel) {
  if (handle == nullptr || sol_channel == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;
  switch (ipmi_hlp_get_sol_version(handle)) {
    case IPMI_SOL_UNSUPPORTED:
      return IPMI_STATUS_APP_UNSUPPORT_OPERATION;
    case IPMI_SOL_PRE_STANDARD:
      *sol_channel = channel;
      return kOk;
  }
  *sol_channel = 0xFF;
  uint8_t data[1] = {};
  LUMI_TRY(sol_get(handle, channel, IPMI_SOL_CHANNEL, data));
  *sol_channel = data[0];
  return kOk;
}

extern "C" uint32_t ipmi_set_sol_port(IpmiHandle* handle, uint8_t channel, uint16_t port) {
  const uint8_t data[2] = {static_cast<uint8_t>(port), static_cast<uint8_t>(port >> 8)};
  return sol_set(handle, channel, IPMI_SOL_PORT, data);
}

extern "C" uint32_t ipmi_get_sol_port(IpmiHandle* handle, uint8_t channel, uint16_t* port) {
  if (handle == nullptr || port == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;
  switch (ipmi_hlp_get_sol_version(handle)) {
    case IPMI_SOL_UNSUPPORTED:
      return IPMI_STATUS_APP_UNSUPPORT_OPERATION;
    case IPMI_SOL_PRE_STANDARD:
      *port = kPreStandardPort;
      return kOk;
  }
  *port = 0;
  uint8_t data[2] = {};
  LUMI_TRY(sol_get(handle, channel, IPMI_SOL_PORT, data));
  *port = ByteReader(data, sizeof data).le16();
  return kOk;
}

extern "C" uint32_t ipmi_set_sol_config(IpmiHandle* handle, uint8_t channel, uint8_t mask,
                                        const IpmiSolConfig* config) {
  if (handle == nullptr || config == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;

  if (mask & IPMI_SOL_WITH_AUTHENTICATION) LUMI_TRY(ipmi_set_sol_authentication(handle, channel, config));
  if (mask & IPMI_SOL_WITH_CHAR_CONFIG) LUMI_TRY(ipmi_set_sol_char_config(handle, channel, config->char_config));
  if (mask & IPMI_SOL_WITH_RETRY) {
    const uint8_t retry[2] = {config->retry_count, config->retry_interval};
    LUMI_TRY(ipmi_set_sol_retry(handle, channel, retry));
  }
  if (mask & IPMI_SOL_WITH_NON_VOLATILE_BIT_RATE)
    LUMI_TRY(ipmi_set_sol_non_volatile(handle, channel, config->non_volatile_bit_rate));
  if (mask & IPMI_SOL_WITH_VOLATILE_BIT_RATE)
    LUMI_TRY(ipmi_set_sol_volatile(handle, channel, config->volatile_bit_rate));
  return kOk;
}

extern "C" uint32_t ipmi_get_sol_config(IpmiHandle* handle, uint8_t channel, uint8_t mask, IpmiSolConfig* config) {
  if (handle == nullptr || config == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;

  if (mask & IPMI_SOL_WITH_AUTHENTICATION) LUMI_TRY(ipmi_get_sol_authentication(handle, channel, config));
  if (mask & IPMI_SOL_WITH_CHAR_CONFIG) LUMI_TRY(ipmi_get_sol_char_config(handle, channel, config->char_config));
  if (mask & IPMI_SOL_WITH_RETRY) {
    uint8_t retry[2];
    LUMI_TRY(ipmi_get_sol_retry(handle, channel, retry));
    config->retry_count = retry[0];
    config->retry_interval = retry[1];
  }
  if (mask & IPMI_SOL_WITH_NON_VOLATILE_BIT_RATE)
    LUMI_TRY(ipmi_get_sol_non_volatile(handle, channel, &config->non_volatile_bit_rate));
  if (mask & IPMI_SOL_WITH_VOLATILE_BIT_RATE)
    LUMI_TRY(ipmi_get_sol_volatile(handle, channel, &config->volatile_bit_rate));
  if (mask & IPMI_SOL_WITH_PORT) LUMI_TRY(ipmi_get_sol_port(handle, channel, &config->port));
  if (mask & IPMI_SOL_WITH_CHANNEL) LUMI_TRY(ipmi_get_sol_channel(handle, channel, &config->channel));
  return kOk;
}

extern "C" uint32_t ipmi_activate_sol(IpmiHandle* handle, const IpmiSolActivation* request,
                                      IpmiPayloadActivationResult* result) {
  if (handle == nullptr || request == nullptr || result == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;

  IpmiPayloadActivation activation = {};
  activation.payloadType = IPMI_PAYLOAD_SOL;
  activation.payloadInstance = kInstance;
  activation.options.sol = {request->encrypt, request->authenticate, request->serial_alert_behavior,
                            request->test_mode != 0};
  return ipmi_app_activate_payload(handle, &activation, result);
}

extern "C" uint32_t ipmi_deactivate_sol(IpmiHandle* handle) {
  const IpmiPayloadDeactivation deactivation = {IPMI_PAYLOAD_SOL, kInstance, {}};
  return ipmi_app_deactivate_payload(handle, &deactivation);
}

extern "C" uint32_t ipmi_get_sol_status(IpmiHandle* handle, IpmiSolStatus* status) {
  if (handle == nullptr || status == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;

  uint8_t data[3];  // capacity, two bytes of instances
  LUMI_TRY(ipmi_app_get_payload_status(handle, IPMI_PAYLOAD_SOL, data));
  status->instance_capacity = data[0];
  for (int i = 0; i < 16; ++i) status->active[i] = bits(data[1 + i / 8], i % 8, i % 8);
  return kOk;
}

extern "C" uint32_t ipmi_activate_isol(IpmiHandle* handle, uint8_t flags, const IpmiIsolRequest* request,
                                       IpmiIsolResult* out) {
  if (handle == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;
  const bool activate = (flags & 1) != 0;
  if (activate && (request == nullptr || out == nullptr)) return IPMI_STATUS_APP_INVALID_PARAMETER;

  uint8_t data[5] = {};
  if (request != nullptr) {
    // Neither field is masked, so that they overlap: part of the interface.
    data[0] = activate ? 1 : static_cast<uint8_t>(request->high << 4 | request->low << 2);
    data[1] = request->value;
  }
  Exchange ex(handle, NetFn::OemSol, 0x01, Privilege::Administrator);
  ex.bytes(data, sizeof data);
  LUMI_TRY(ex.send(Reply::at_least(4)));
  if (out == nullptr) return kOk;

  ByteReader reply = ex.reply();
  const uint8_t first = reply.u8();  // byte 1
  out->flag = bits(first, 7, 7);
  out->code = bits(first, 2, 0);
  out->nibble = bits(reply.u8(), 3, 0);  // byte 2
  reply.copy(out->values);               // bytes 3-4
  return kOk;
}

extern "C" uint32_t ipmi_get_isol_status(IpmiHandle* handle, IpmiIsolStatus* out) {
  if (handle == nullptr || out == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;

  Exchange ex(handle, NetFn::OemSol, 0x05, Privilege::User);
  LUMI_TRY(ex.send(Reply::at_least(5)));

  ByteReader reply = ex.reply();
  out->flag = bits(reply.u8(), 0, 0);
  out->value = reply.u8();
  return kOk;
}
