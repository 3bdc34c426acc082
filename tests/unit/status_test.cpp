#include <gtest/gtest.h>

#include "lumipmi/status.h"

namespace {

TEST(status, has_a_text_for_every_code) {
  const struct {
    uint32_t code;
    const char* text;
  } cases[] = {
      {0, "IPMI function call is successful."},
      {0x20000000, "IPMI (BMC) base error is returned"},
      {0x01, "IPMI BMC OEMSPECIFIC START is returned"},
      {0x7E, "IPMI BMC OEMSPECIFIC END is returned"},
      {0x80, "IPMI BMC CMDSPECIFIC START is returned"},
      {0xBE, "IPMI BMC CMDSPECIFIC END is returned"},
      {0xC0, "IPMI BMC NODE BUSY is returned"},
      {0x200000C0, "IPMI BMC NODE BUSY is returned"},
      {0xC1, "IPMI_STATUS_BMC_INVALID_COMMAND is returned"},
      {0x200000C2, "IPMI_STATUS_BMC_INVALID_CMD_FOR_LUN is returned"},
      {0x200000C3, "IPMI_STATUS_BMC_RESPOSE_UNAVAILABE is returned"},
      {0x200000C4, "IPMI_STATUS_BMC_OUT_OF_SPCAE is returned"},
      {0x200000C5, "IPMI_STATUS_BMC_INVALID_RESERVATION is returned"},
      {0x200000C6, "IPMI_STATUS_BMC_REQUEST_DATA_TRUNCATED is returned"},
      {0x200000C7, "IPMI_STATUS_BMC_REQUEST_DATA_LENGTH_INVALID is returned"},
      {0x200000C8, "IPMI_STATUS_BMC_REQUEST_DATA_LENGTH_EXCEEDED is returned"},
      {0x200000C9, "IPMI_STATUS_BMC_PARAMETER_OUT_OF_RANGE is returned"},
      {0x200000CA, "IPMI_STATUS_BMC_NO_REQUESTED_DATA_RETURNED is returned"},
      {0x200000CB, "IPMI_STATUS_BMC_DATA_NOT_PRESENT is returned"},
      {0x200000CC, "IPMI_STATUS_BMC_INVLAID_DATA_IN_REQUEST is returned"},
      {0x200000CD, "IPMI_STATUS_BMC_ILLEGAL_COMMAND is returned"},
      {0x200000CE, "IPMI_STATUS_BMC_NO_RESPOSE_PROVIDED is returned"},
      {0x200000CF, "IPMI_STATUS_BMC_DUPLICATED_COMMAND is returned"},
      {0x200000D0, "IPMI_STATUS_BMC_SDR_IN_UPDATE is returned"},
      {0x200000D1, "IPMI_STATUS_BMC_FIRMWARE_IN_UPDATE is returned"},
      {0x200000D2, "IPMI_STATUS_BMC_BMC_IN_INITIALIZATION is returned"},
      {0x200000D3, "IPMI_STATUS_BMC_INVALID_DESTINATION is returned"},
      {0x200000D4, "IPMI_STATUS_BMC_INSUFFICIENT_PRIVILEGE is returned"},
      {0xFF, "IPMI_STATUS_BMC_UNSPECIFIED is returned"},
      {0x2000010F, "IPMI_STATUS_BMC_SET_CONFIG_PARAMETER_80 is returned"},
      {0x20000110, "IPMI_STATUS_BMC_SET_CONFIG_PARAMETER_81 is returned"},
      {0x20000111, "IPMI_STATUS_BMC_SET_CONFIG_PARAMETER_82 is returned"},
      {0x20000112, "IPMI_STATUS_BMC_SET_CONFIG_PARAMETER_83 is returned"},
      {0x113, "IPMI_STATUS_BMC_GET_CONFIG_PARAMETER_80 is returned"},
      {0x20000200, "IPMI_STATUS_APP_ERROR is returned"},
      {0x20000201, "IPMI_STATUS_APP_INVALID_CONNECTION_PROTOCOL is returned"},
      {0x20000202, "IPMI_STATUS_APP_UNSUPPORTED_BY_DRIVER is returned"},
      {0x20000203, "IPMI_STATUS_APP_UNSUPPORTED_IPMI_VERSION is returned"},
      {0x20000204, "IPMI_STATUS_APP_UNKNOWN_SENSOR_TYPE is returned"},
      {0x20000205, "IPMI_STATUS_APP_UNKNOWN_LANGUAGE_CODE is returned"},
      {0x20000207, "IPMI_STATUS_APP_UNSUPPORT_SDR_VERSION is returned"},
      {0x20000208, "IPMI_STATUS_APP_ERASE_IN_PROGRESS is returned"},
      {0x20000211, "IPMI_STATUS_APP_NOT_ENOUGH_MEMORY is returned"},
      {0x20000212, "IPMI_STATUS_APP_INSUFFICIENT_BUFFER is returned"},
      {0x20000213, "IPMI_STATUS_APP_NOT_FOUND is returned"},
      {0x214, "IPMI_STATUS_APP_INVALID_PARAMETER is returned"},
      {0x20000215, "IPMI_STATUS_APP_INVALID_FORMAT is returned"},
      {0x20000216, "IPMI_STATUS_APP_UNSUPPORT_OPERATION is returned"},
      {0x20000217, "IPMI_STATUS_APP_INVALID_SESSION is returned"},
      {0x2000021B, "IPMI_STATUS_APP_INVALID_IP_ADDRESS is returned"},
      {0x2000021C, "IPMI_STATUS_APP_OEM_FRU is returned"},
      {0x2000021D, "IPMI_STATUS_APP_OPEN_FILE_FOR_WRITE is returned"},
      {0x2000021E, "IPMI_STATUS_APP_WRITE_FILE is returned"},
      // Codes without a text: the driver's, command-specific ones, the ends of the two tables' ranges.
      {0x20000600, "No proper err msg output, rc = 0x20000600\n"},
      {0x20000607, "No proper err msg output, rc = 0x20000607\n"},
      {0x81, "No proper err msg output, rc = 0x20000081\n"},
      {0x2000011D, "No proper err msg output, rc = 0x2000011d\n"},
      {0x200001FF, "No proper err msg output, rc = 0x200001ff\n"},
      {0x20000206, "No proper err msg output, rc = 0x20000206\n"},
      {0x7FFFFFFF, "No proper err msg output, rc = 0x7fffffff\n"},
      {0x1FFFFFFF, "No proper err msg output, rc = 0x3fffffff\n"},
      {0xFFFFFFFF, "No proper err msg output, rc = 0x1fffffff\n"},
      {0xE0000000, "No proper err msg output, rc = 0x0\n"},
      {0x80000000, "No proper err msg output, rc = 0xa0000000\n"},
  };
  const char* buffer = get_ipmi_err_msg_string(0);
  for (const auto& c : cases) {
    EXPECT_STREQ(get_ipmi_err_msg_string(static_cast<int32_t>(c.code)), c.text) << std::hex << c.code;
    EXPECT_EQ(get_ipmi_err_msg_string(static_cast<int32_t>(c.code)), buffer);
  }
}

}  // namespace
