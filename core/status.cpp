// The texts of the statuses. Spelling and order are part of the interface.
#include "lumipmi/status.h"

#include <cstddef>
#include <cstdio>

#include "core/status.hpp"
#include "platform/text.hpp"

namespace {

struct Message {
  uint32_t code;
  char text[64];
};

#define LUMI_MESSAGE(name) \
  { name, #name " is returned" }

// Searched in order, not by value.
constexpr Message kApplication[] = {
    LUMI_MESSAGE(IPMI_STATUS_APP_ERROR),
    LUMI_MESSAGE(IPMI_STATUS_APP_INVALID_CONNECTION_PROTOCOL),
    LUMI_MESSAGE(IPMI_STATUS_APP_UNSUPPORTED_BY_DRIVER),
    LUMI_MESSAGE(IPMI_STATUS_APP_UNSUPPORTED_IPMI_VERSION),
    LUMI_MESSAGE(IPMI_STATUS_APP_UNKNOWN_SENSOR_TYPE),
    LUMI_MESSAGE(IPMI_STATUS_APP_UNKNOWN_LANGUAGE_CODE),
    LUMI_MESSAGE(IPMI_STATUS_APP_UNSUPPORT_SDR_VERSION),
    LUMI_MESSAGE(IPMI_STATUS_APP_ERASE_IN_PROGRESS),
    LUMI_MESSAGE(IPMI_STATUS_APP_NOT_ENOUGH_MEMORY),
    LUMI_MESSAGE(IPMI_STATUS_APP_INSUFFICIENT_BUFFER),
    LUMI_MESSAGE(IPMI_STATUS_APP_NOT_FOUND),
    LUMI_MESSAGE(IPMI_STATUS_APP_INVALID_PARAMETER),
    LUMI_MESSAGE(IPMI_STATUS_APP_INVALID_FORMAT),
    LUMI_MESSAGE(IPMI_STATUS_APP_UNSUPPORT_OPERATION),
    LUMI_MESSAGE(IPMI_STATUS_APP_INVALID_SESSION),
    LUMI_MESSAGE(IPMI_STATUS_APP_INVALID_IP_ADDRESS),
    LUMI_MESSAGE(IPMI_STATUS_APP_OPEN_FILE_FOR_WRITE),
    LUMI_MESSAGE(IPMI_STATUS_APP_WRITE_FILE),
    LUMI_MESSAGE(IPMI_STATUS_APP_OEM_FRU),
};

constexpr Message kController[] = {
    {IPMI_STATUS_BMC_BASE, "IPMI (BMC) base error is returned"},
    {0x20000001, "IPMI BMC OEMSPECIFIC START is returned"},
    {0x2000007e, "IPMI BMC OEMSPECIFIC END is returned"},
    {0x20000080, "IPMI BMC CMDSPECIFIC START is returned"},
    {0x200000be, "IPMI BMC CMDSPECIFIC END is returned"},
    {0x200000c0, "IPMI BMC NODE BUSY is returned"},
    LUMI_MESSAGE(IPMI_STATUS_BMC_INVALID_COMMAND),
    LUMI_MESSAGE(IPMI_STATUS_BMC_INVALID_CMD_FOR_LUN),
    LUMI_MESSAGE(IPMI_STATUS_BMC_RESPOSE_UNAVAILABE),
    LUMI_MESSAGE(IPMI_STATUS_BMC_OUT_OF_SPCAE),
    LUMI_MESSAGE(IPMI_STATUS_BMC_INVALID_RESERVATION),
    LUMI_MESSAGE(IPMI_STATUS_BMC_REQUEST_DATA_TRUNCATED),
    LUMI_MESSAGE(IPMI_STATUS_BMC_REQUEST_DATA_LENGTH_INVALID),
    LUMI_MESSAGE(IPMI_STATUS_BMC_REQUEST_DATA_LENGTH_EXCEEDED),
    LUMI_MESSAGE(IPMI_STATUS_BMC_PARAMETER_OUT_OF_RANGE),
    LUMI_MESSAGE(IPMI_STATUS_BMC_NO_REQUESTED_DATA_RETURNED),
    LUMI_MESSAGE(IPMI_STATUS_BMC_DATA_NOT_PRESENT),
    LUMI_MESSAGE(IPMI_STATUS_BMC_INVLAID_DATA_IN_REQUEST),
    LUMI_MESSAGE(IPMI_STATUS_BMC_ILLEGAL_COMMAND),
    LUMI_MESSAGE(IPMI_STATUS_BMC_NO_RESPOSE_PROVIDED),
    LUMI_MESSAGE(IPMI_STATUS_BMC_DUPLICATED_COMMAND),
    LUMI_MESSAGE(IPMI_STATUS_BMC_SDR_IN_UPDATE),
    LUMI_MESSAGE(IPMI_STATUS_BMC_FIRMWARE_IN_UPDATE),
    LUMI_MESSAGE(IPMI_STATUS_BMC_BMC_IN_INITIALIZATION),
    LUMI_MESSAGE(IPMI_STATUS_BMC_INVALID_DESTINATION),
    LUMI_MESSAGE(IPMI_STATUS_BMC_INSUFFICIENT_PRIVILEGE),
    LUMI_MESSAGE(IPMI_STATUS_BMC_UNSPECIFIED),
    LUMI_MESSAGE(IPMI_STATUS_BMC_SET_CONFIG_PARAMETER_80),
    LUMI_MESSAGE(IPMI_STATUS_BMC_SET_CONFIG_PARAMETER_81),
    LUMI_MESSAGE(IPMI_STATUS_BMC_SET_CONFIG_PARAMETER_82),
    LUMI_MESSAGE(IPMI_STATUS_BMC_SET_CONFIG_PARAMETER_83),
    LUMI_MESSAGE(IPMI_STATUS_BMC_GET_CONFIG_PARAMETER_80),
};

static_assert(sizeof kApplication / sizeof *kApplication == 19);
static_assert(sizeof kController / sizeof *kController == 32);

template <size_t N>
const char* find(const Message (&table)[N], uint32_t code) {
  for (const Message& message : table)
    if (message.code == code) return message.text;
  return nullptr;
}

char g_text[64];

}  // namespace

extern "C" char* get_ipmi_err_msg_string(int32_t code) {
  g_text[0] = '\0';
  if (code == 0) {
    lumi::copy_text(g_text, sizeof g_text, "IPMI function call is successful.");
    return g_text;
  }
  // A bare completion code finds its text; negative codes are shifted too.
  if (code <= 0x1FFFFFFF) code += 0x20000000;
  const uint32_t status = static_cast<uint32_t>(code);
  const char* text = code > 0x200001FF ? find(kApplication, status) : find(kController, status);
  if (text != nullptr)
    lumi::copy_text(g_text, sizeof g_text, text);
  else
    std::snprintf(g_text, sizeof g_text, "No proper err msg output, rc = 0x%x\n", status);
  return g_text;
}
