#include "api/channels.hpp"

#include "lumipmi/api_identity.h"
#include "lumipmi/payload.h"

using namespace lumi;

namespace {

constexpr uint8_t kLastSearched = 7;

bool carries_sol(IpmiHandle* bmc, uint8_t channel) {
  uint8_t support[8];
  if (ipmi_app_get_payload_support(bmc, channel, support) != kOk) return false;
  if ((support[0] >> IPMI_PAYLOAD_SOL & 1) == 0) return false;
  uint8_t version;
  if (ipmi_app_get_payload_version(bmc, channel, IPMI_PAYLOAD_SOL, &version) != kOk) return false;
  return version >> 4 == 1;  // 1.x
}

}  // namespace

Status lumi::find_channel(IpmiHandle* bmc, const ChannelKind& kind, uint8_t* channel) {
  for (uint8_t number = kind.first; number <= kLastSearched; ++number) {
    IpmiChannelInfo info = {};
    if (ipmi_app_get_channel_info(bmc, number, &info) != kOk || info.mediumType != kind.medium) continue;
    if (kind.carries_sol && !carries_sol(bmc, number)) continue;
    *channel = number;
    return kOk;
  }
  return IPMI_STATUS_APP_NOT_FOUND;
}

Status lumi::get_access(IpmiHandle* bmc, uint8_t channel, uint8_t settings, uint8_t* enabled,
                        uint8_t* privilege_limit) {
  IpmiChannelAccess access = {};
  LUMI_TRY(ipmi_app_get_channel_access_info(bmc, channel, settings, &access));
  *enabled = access.accessMode != 0;
  *privilege_limit = static_cast<uint8_t>(access.privilegeLimit);
  return kOk;
}

Status lumi::set_access(IpmiHandle* bmc, uint8_t channel, uint8_t enable, uint8_t privilege_limit) {
  return change_access(bmc, channel, [enable, privilege_limit](IpmiChannelAccess& access) {
    access.accessMode = enable * 2u;  // 2: always available; other values than 0 and 1 give other modes
    access.privilegeLimit = privilege_limit;
  });
}

extern "C" uint32_t ipmi_get_channel_id(IpmiHandle* handle, int32_t kind, uint8_t* channel) {
  if (handle == nullptr || channel == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;

  *channel = 0xFF;
  // From channel 0 on, unlike the searches of the other management calls. No channel has medium 0xFFFFFFFF: another
  // kind asks all eight in vain.
  const uint32_t medium = kind == 0 ? kMediumLan : kind == 1 ? kMediumSerial : 0xFFFFFFFF;
  return find_channel(handle, {0, medium, false}, channel);
}
