// What the management calls share about channels: finding one, and changing its access settings.
#pragma once

#include <initializer_list>

#include "core/connection.hpp"
#include "lumipmi/channel.h"

namespace lumi {

/// A kind of channel: the first one from `first` to 7 that answers with this medium and, for the third kind, carries
/// serial over LAN version 1.
struct ChannelKind {
  uint8_t first;
  uint32_t medium;
  bool carries_sol;
};

constexpr uint32_t kMediumLan = 4;
constexpr uint32_t kMediumSerial = 5;

constexpr ChannelKind kLanChannel = {1, kMediumLan, false};
constexpr ChannelKind kSerialChannel = {1, kMediumSerial, false};
constexpr ChannelKind kSolChannel = {1, kMediumLan, true};

/// IPMI_STATUS_APP_NOT_FOUND, `channel` untouched, when no channel is of that kind. Channels that do not answer are
/// skipped.
[[nodiscard]] Status find_channel(IpmiHandle* bmc, const ChannelKind& kind, uint8_t* channel);

/// What ipmi_app_get_channel_access_info() is asked for.
constexpr uint8_t kStoredSettings = 0;
constexpr uint8_t kActiveSettings = 1;

/// Changes the access settings of a channel with `change`: the active ones, then the stored ones. Ends at the first
/// failure; what was written by then stays.
template <typename Change>
[[nodiscard]] Status change_access(IpmiHandle* bmc, uint8_t channel, const Change& change) {
  for (const uint8_t settings : {kActiveSettings, kStoredSettings}) {
    IpmiChannelAccess access = {};
    LUMI_TRY(ipmi_app_get_channel_access_info(bmc, channel, settings, &access));
    change(access);
    LUMI_TRY(ipmi_app_set_channel_access(bmc, channel, &access));
  }
  return kOk;
}

/// The access settings that LAN and serial channels have in common.
[[nodiscard]] Status get_access(IpmiHandle* bmc, uint8_t channel, uint8_t settings, uint8_t* enabled,
                                uint8_t* privilege_limit);
[[nodiscard]] Status set_access(IpmiHandle* bmc, uint8_t channel, uint8_t enable, uint8_t privilege_limit);

}  // namespace lumi
