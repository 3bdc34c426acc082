#include "tools/status_text.hpp"

#include <algorithm>
#include <array>
#include <iterator>

#include "tools/session.hpp"

namespace tool {

namespace {

#define LUMI_STATUS(name) name, #name

// Completion codes: IPMI v2.0 rev 1.1, table 5-2.
constexpr StatusText kTexts[] = {
    {0, "", "success", ""},
    {IPMI_STATUS_BMC_BASE, "", "the answer is longer than the caller's buffer", "Give the call a larger buffer."},
    {0x200000C0, "", "node busy; the BMC has no resources for the command at the moment",
     "Try again later; the library itself does so for a while."},
    {LUMI_STATUS(IPMI_STATUS_BMC_INVALID_COMMAND), "invalid command; the BMC does not implement it",
     "Check NetFn and command code, or the BMC's documentation; a firmware update may add the command."},
    {LUMI_STATUS(IPMI_STATUS_BMC_INVALID_CMD_FOR_LUN), "invalid command for this LUN; another LUN may implement it",
     "Send the command to the LUN that owns the object, most often LUN 0."},
    {LUMI_STATUS(IPMI_STATUS_BMC_RESPOSE_UNAVAILABE),
     "timeout while the command was processed, no response is available",
     "Try again; if it stays, the controller behind the BMC may hang."},
    {LUMI_STATUS(IPMI_STATUS_BMC_OUT_OF_SPCAE), "out of space; the BMC has no storage left for this",
     "Make room first, for example by clearing the log."},
    {LUMI_STATUS(IPMI_STATUS_BMC_INVALID_RESERVATION), "the reservation is invalid or was cancelled",
     "Reserve again and repeat; another program may be working on the same data."},
    {LUMI_STATUS(IPMI_STATUS_BMC_REQUEST_DATA_TRUNCATED), "the request data were cut off on the way", "Try again."},
    {LUMI_STATUS(IPMI_STATUS_BMC_REQUEST_DATA_LENGTH_INVALID), "wrong number of request data bytes",
     "Compare the request with the command's table in the standard."},
    {LUMI_STATUS(IPMI_STATUS_BMC_REQUEST_DATA_LENGTH_EXCEEDED), "a field of the request is longer than the BMC allows",
     "Ask for less at a time."},
    {LUMI_STATUS(IPMI_STATUS_BMC_PARAMETER_OUT_OF_RANGE), "a parameter is out of range",
     "Check offsets and numbers against what the BMC reports to have."},
    {LUMI_STATUS(IPMI_STATUS_BMC_NO_REQUESTED_DATA_RETURNED), "the BMC cannot return as many bytes as were asked for",
     "Ask for less at a time."},
    {LUMI_STATUS(IPMI_STATUS_BMC_DATA_NOT_PRESENT), "the sensor, data or record asked for is not present",
     "Check the number; it may have been removed meanwhile."},
    {LUMI_STATUS(IPMI_STATUS_BMC_INVLAID_DATA_IN_REQUEST), "invalid data field in the request",
     "Compare the request with the command's table in the standard."},
    {LUMI_STATUS(IPMI_STATUS_BMC_ILLEGAL_COMMAND), "the command is illegal for this type of sensor or record", ""},
    {LUMI_STATUS(IPMI_STATUS_BMC_NO_RESPOSE_PROVIDED), "the BMC could not provide a response", "Try again."},
    {LUMI_STATUS(IPMI_STATUS_BMC_DUPLICATED_COMMAND),
     "the BMC took the request for a repeated one and did not execute it", "Try again."},
    {LUMI_STATUS(IPMI_STATUS_BMC_SDR_IN_UPDATE), "no response while the SDR repository is in update mode",
     "Try again when the update has ended."},
    {LUMI_STATUS(IPMI_STATUS_BMC_FIRMWARE_IN_UPDATE), "no response while the device is in firmware update mode",
     "Try again when the update has ended."},
    {LUMI_STATUS(IPMI_STATUS_BMC_BMC_IN_INITIALIZATION), "no response while the BMC is still initialising",
     "Try again in a minute."},
    {LUMI_STATUS(IPMI_STATUS_BMC_INVALID_DESTINATION),
     "the destination is unavailable; the request could not be delivered",
     "Check the address, the channel and whether that controller is powered."},
    {LUMI_STATUS(IPMI_STATUS_BMC_INSUFFICIENT_PRIVILEGE), "insufficient privilege, or another security restriction",
     "Check the privilege limits of the channel and the BMC's firmware firewall."},
    {0x200000D5, "", "the command or its parameters are not supported in the present state",
     "Check the state of the system, such as its power state."},
    {0x200000D6, "", "the sub-function that the parameter belongs to is disabled or unavailable",
     "Check whether the BMC has it disabled."},
    {LUMI_STATUS(IPMI_STATUS_BMC_UNSPECIFIED), "unspecified error, or an answer that is too short", ""},

    // Command-specific completion codes that the library gives a status of their own.
    {LUMI_STATUS(IPMI_STATUS_BMC_SET_CONFIG_PARAMETER_80), "the BMC does not support this configuration parameter", ""},
    {LUMI_STATUS(IPMI_STATUS_BMC_SET_CONFIG_PARAMETER_81),
     "the parameters are being set already; \"set in progress\" was asked for twice",
     "Wait for the other program, or set the state back to \"set complete\"."},
    {LUMI_STATUS(IPMI_STATUS_BMC_SET_CONFIG_PARAMETER_82), "the configuration parameter is read-only", ""},
    {LUMI_STATUS(IPMI_STATUS_BMC_SET_CONFIG_PARAMETER_83), "the configuration parameter is write-only", ""},
    {LUMI_STATUS(IPMI_STATUS_BMC_GET_CONFIG_PARAMETER_80), "the BMC does not support this configuration parameter", ""},
    {LUMI_STATUS(IPMI_STATUS_BMC_PAYLOAD_ALREADY_ACTIVE), "the payload is active in another session",
     "Deactivate it there first."},
    {LUMI_STATUS(IPMI_STATUS_BMC_PAYLOAD_DISABLED), "the payload type is disabled",
     "Enable it in the BMC's configuration."},
    {LUMI_STATUS(IPMI_STATUS_BMC_PAYLOAD_ACTIVATION_LIMIT), "the limit of active payloads of this type is reached",
     "Deactivate one first."},
    {LUMI_STATUS(IPMI_STATUS_BMC_PAYLOAD_ENCRYPTION_UNSUPPORTED), "the payload cannot be activated with encryption",
     ""},
    {LUMI_STATUS(IPMI_STATUS_BMC_PAYLOAD_ENCRYPTION_REQUIRED), "the payload can be activated with encryption only", ""},
    {LUMI_STATUS(IPMI_STATUS_BMC_PAYLOAD_ALREADY_INACTIVE), "the payload is deactivated already", ""},
    {LUMI_STATUS(IPMI_STATUS_BMC_WATCHDOG_NOT_INITIALIZED), "the watchdog timer was never set up",
     "Set it before the first reset of the timer."},
    {LUMI_STATUS(IPMI_STATUS_BMC_FRU_WRITE_PROTECTED), "the bytes of the FRU device are write-protected", ""},
    {LUMI_STATUS(IPMI_STATUS_BMC_FRU_DEVICE_BUSY), "the FRU device is busy", "Try again in a moment."},
    {LUMI_STATUS(IPMI_STATUS_BMC_SEL_OPERATION_UNSUPPORTED), "the event log does not support this for such a record",
     ""},
    {LUMI_STATUS(IPMI_STATUS_BMC_SEL_ERASE_IN_PROGRESS), "the event log is being erased",
     "Try again when the erasure has ended."},
    {LUMI_STATUS(IPMI_STATUS_BMC_KEY_LOCKED), "the security key is locked", ""},
    {LUMI_STATUS(IPMI_STATUS_BMC_KEY_TOO_SHORT), "the security key has too few bytes", ""},
    {LUMI_STATUS(IPMI_STATUS_BMC_KEY_TOO_LONG), "the security key has too many bytes", ""},
    {LUMI_STATUS(IPMI_STATUS_BMC_KEY_UNACCEPTABLE), "the security key does not meet the rules for its type", ""},
    {LUMI_STATUS(IPMI_STATUS_BMC_KEY_NOT_USED), "the BMC uses random numbers in place of this key", ""},
    {LUMI_STATUS(IPMI_STATUS_BMC_CHANNEL_ACCESS_UNSUPPORTED), "the channel has no sessions, and so none of this", ""},
    {LUMI_STATUS(IPMI_STATUS_BMC_CHANNEL_ACCESS_MODE_UNSUPPORTED), "the channel does not support this access mode", ""},
    {LUMI_STATUS(IPMI_STATUS_BMC_PASSWORD_MISMATCH), "the password does not match", ""},
    {LUMI_STATUS(IPMI_STATUS_BMC_PASSWORD_SIZE), "the password does not match in size", ""},

    // Errors of the library.
    {LUMI_STATUS(IPMI_STATUS_APP_ERROR), "the library failed", ""},
    {LUMI_STATUS(IPMI_STATUS_APP_INVALID_CONNECTION_PROTOCOL), "the connection's protocol is not supported", ""},
    {LUMI_STATUS(IPMI_STATUS_APP_UNSUPPORTED_BY_DRIVER), "the driver does not support this", ""},
    {LUMI_STATUS(IPMI_STATUS_APP_UNSUPPORTED_IPMI_VERSION), "the BMC's IPMI version does not have this", ""},
    {LUMI_STATUS(IPMI_STATUS_APP_UNKNOWN_SENSOR_TYPE), "unknown sensor type", ""},
    {LUMI_STATUS(IPMI_STATUS_APP_UNKNOWN_LANGUAGE_CODE), "unknown language code", ""},
    {LUMI_STATUS(IPMI_STATUS_APP_UNSUPPORT_SDR_VERSION), "the version of the sensor data record is not supported", ""},
    {LUMI_STATUS(IPMI_STATUS_APP_ERASE_IN_PROGRESS), "an erasure is in progress", "Try again when it has ended."},
    {LUMI_STATUS(IPMI_STATUS_APP_NOT_ENOUGH_MEMORY), "not enough memory", ""},
    {LUMI_STATUS(IPMI_STATUS_APP_INSUFFICIENT_BUFFER), "the data do not fit into the caller's buffer",
     "Give the call a larger buffer."},
    {LUMI_STATUS(IPMI_STATUS_APP_NOT_FOUND), "what was looked for does not exist", ""},
    {LUMI_STATUS(IPMI_STATUS_APP_INVALID_PARAMETER), "an argument is null or out of range", ""},
    {LUMI_STATUS(IPMI_STATUS_APP_INVALID_FORMAT), "the data are damaged or not of the expected format", ""},
    {LUMI_STATUS(IPMI_STATUS_APP_UNSUPPORT_OPERATION), "the operation is not supported", ""},
    {LUMI_STATUS(IPMI_STATUS_APP_INVALID_SESSION), "the session is invalid", ""},
    {LUMI_STATUS(IPMI_STATUS_APP_ALERT_TIMEOUT), "the alert had no outcome in time",
     "Wait longer, or check that the destination can be reached."},
    {LUMI_STATUS(IPMI_STATUS_APP_INVALID_IP_ADDRESS), "the IP address is invalid", ""},
    {LUMI_STATUS(IPMI_STATUS_APP_OEM_FRU), "the OEM FRU data could not be used", ""},
    {LUMI_STATUS(IPMI_STATUS_APP_OPEN_FILE_FOR_WRITE), "a file could not be opened for writing", ""},
    {LUMI_STATUS(IPMI_STATUS_APP_WRITE_FILE), "a file could not be written", ""},
    {LUMI_STATUS(IPMI_STATUS_DRIVER_ERROR), "the driver could not exchange the request with the BMC",
     "lumipmi info tells why."},
    {LUMI_STATUS(IPMI_STATUS_NODE_BUSY_TIMEOUT),
     "the BMC stayed busy (completion code 0xC0) until the retries were used up",
     "Try again later; if it stays, the BMC may need a reset."},
};

#undef LUMI_STATUS

constexpr bool is_sorted_by_status() {
  for (size_t i = 1; i < std::size(kTexts); ++i)
    if (kTexts[i - 1].status >= kTexts[i].status) return false;
  return true;
}
static_assert(is_sorted_by_status());

/// Completion codes that have no meaning of their own.
StatusMeaning meaning_of_range(uint32_t code) {
  if (code <= 0x7E) return {"", "a device-specific (OEM) completion code", "See the BMC's documentation."};
  if (code >= 0x80 && code <= 0xBE)
    return {"", "a completion code that only this command gives a meaning",
            "See the command's description in the standard."};
  return {"", "a reserved completion code", ""};
}

}  // namespace

std::span<const StatusText> known_statuses() {
  return kTexts;
}

StatusMeaning meaning_of(uint32_t status) {
  if (status > 0 && status <= 0xFF) status += IPMI_STATUS_BMC_BASE;
  const auto found =
      std::find_if(std::begin(kTexts), std::end(kTexts), [&](const StatusText& text) { return text.status == status; });
  if (found != std::end(kTexts)) return {found->name, found->meaning, found->advice};
  if (status > IPMI_STATUS_BMC_BASE && status <= IPMI_STATUS_BMC_BASE + 0xFF)
    return meaning_of_range(status - IPMI_STATUS_BMC_BASE);
  return {"", "not a status of this library", ""};
}

}  // namespace tool
