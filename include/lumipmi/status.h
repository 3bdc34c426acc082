/** @file status.h
 *  The 32-bit status that every call returns, and its text.
 *
 *  - 0: success
 *  - 0x20000000 + c: the BMC answered with completion code c (IPMI v2.0 rev 1.1, table 5-2); 0x20000000 itself
 *    means that the caller's response buffer was too small for the data
 *  - 0x200001xx: failures of configuration parameters and other command-specific completion codes
 *  - 0x200002xx: errors of the library, IPMI_STATUS_APP_*
 *  - 0x20000600, 0x20000607: the exchange with the BMC failed
 *
 *  The spelling of the names and texts is part of the interface. */
#ifndef LUMIPMI_STATUS_H
#define LUMIPMI_STATUS_H

#include <stdint.h>

#include "lumipmi/export.h"

/** Added to a completion code; alone: the response did not fit into the caller's buffer. */
#define IPMI_STATUS_BMC_BASE 0x20000000u

/* Completion codes of the BMC. */
#define IPMI_STATUS_BMC_INVALID_COMMAND 0x200000c1u
#define IPMI_STATUS_BMC_INVALID_CMD_FOR_LUN 0x200000c2u
#define IPMI_STATUS_BMC_RESPOSE_UNAVAILABE 0x200000c3u
#define IPMI_STATUS_BMC_OUT_OF_SPCAE 0x200000c4u
#define IPMI_STATUS_BMC_INVALID_RESERVATION 0x200000c5u
#define IPMI_STATUS_BMC_REQUEST_DATA_TRUNCATED 0x200000c6u
#define IPMI_STATUS_BMC_REQUEST_DATA_LENGTH_INVALID 0x200000c7u
#define IPMI_STATUS_BMC_REQUEST_DATA_LENGTH_EXCEEDED 0x200000c8u
#define IPMI_STATUS_BMC_PARAMETER_OUT_OF_RANGE 0x200000c9u
#define IPMI_STATUS_BMC_NO_REQUESTED_DATA_RETURNED 0x200000cau
#define IPMI_STATUS_BMC_DATA_NOT_PRESENT 0x200000cbu
#define IPMI_STATUS_BMC_INVLAID_DATA_IN_REQUEST 0x200000ccu
#define IPMI_STATUS_BMC_ILLEGAL_COMMAND 0x200000cdu
#define IPMI_STATUS_BMC_NO_RESPOSE_PROVIDED 0x200000ceu
#define IPMI_STATUS_BMC_DUPLICATED_COMMAND 0x200000cfu
#define IPMI_STATUS_BMC_SDR_IN_UPDATE 0x200000d0u
#define IPMI_STATUS_BMC_FIRMWARE_IN_UPDATE 0x200000d1u
#define IPMI_STATUS_BMC_BMC_IN_INITIALIZATION 0x200000d2u
#define IPMI_STATUS_BMC_INVALID_DESTINATION 0x200000d3u
#define IPMI_STATUS_BMC_INSUFFICIENT_PRIVILEGE 0x200000d4u
#define IPMI_STATUS_BMC_UNSPECIFIED 0x200000ffu

/* Configuration parameters: completion codes 0x80 to 0x83 of a set, 0x80 of a get. */
#define IPMI_STATUS_BMC_SET_CONFIG_PARAMETER_80 0x2000010fu
#define IPMI_STATUS_BMC_SET_CONFIG_PARAMETER_81 0x20000110u
#define IPMI_STATUS_BMC_SET_CONFIG_PARAMETER_82 0x20000111u
#define IPMI_STATUS_BMC_SET_CONFIG_PARAMETER_83 0x20000112u
#define IPMI_STATUS_BMC_GET_CONFIG_PARAMETER_80 0x20000113u

/* Payloads: completion codes 0x80 to 0x84 of an activation, 0x80 of a deactivation. The codes from here to the errors
 * of the library have no text of their own. */
#define IPMI_STATUS_BMC_PAYLOAD_ALREADY_ACTIVE 0x20000114u
#define IPMI_STATUS_BMC_PAYLOAD_DISABLED 0x20000115u
#define IPMI_STATUS_BMC_PAYLOAD_ACTIVATION_LIMIT 0x20000116u
#define IPMI_STATUS_BMC_PAYLOAD_ENCRYPTION_UNSUPPORTED 0x20000117u
#define IPMI_STATUS_BMC_PAYLOAD_ENCRYPTION_REQUIRED 0x20000118u
#define IPMI_STATUS_BMC_PAYLOAD_ALREADY_INACTIVE 0x20000119u

/* Reset of the watchdog timer: completion code 0x80. */
#define IPMI_STATUS_BMC_WATCHDOG_NOT_INITIALIZED 0x2000011au

/* FRU and SEL commands: completion codes 0x80 and 0x81. */
#define IPMI_STATUS_BMC_FRU_WRITE_PROTECTED 0x2000011bu
#define IPMI_STATUS_BMC_FRU_DEVICE_BUSY 0x2000011cu
#define IPMI_STATUS_BMC_SEL_OPERATION_UNSUPPORTED 0x2000011du
#define IPMI_STATUS_BMC_SEL_ERASE_IN_PROGRESS 0x2000011eu

/* Security keys: completion codes 0x80 to 0x84. */
#define IPMI_STATUS_BMC_KEY_LOCKED 0x2000011fu
#define IPMI_STATUS_BMC_KEY_TOO_SHORT 0x20000120u
#define IPMI_STATUS_BMC_KEY_TOO_LONG 0x20000121u
#define IPMI_STATUS_BMC_KEY_UNACCEPTABLE 0x20000122u
#define IPMI_STATUS_BMC_KEY_NOT_USED 0x20000123u

/* Channel access: completion codes 0x82 and, of a set, 0x83. */
#define IPMI_STATUS_BMC_CHANNEL_ACCESS_UNSUPPORTED 0x20000124u
#define IPMI_STATUS_BMC_CHANNEL_ACCESS_MODE_UNSUPPORTED 0x20000125u

/* Test of a password: completion codes 0x80 and 0x81. */
#define IPMI_STATUS_BMC_PASSWORD_MISMATCH 0x20000126u
#define IPMI_STATUS_BMC_PASSWORD_SIZE 0x20000127u

/* Errors of the library. */
#define IPMI_STATUS_APP_ERROR 0x20000200u
#define IPMI_STATUS_APP_INVALID_CONNECTION_PROTOCOL 0x20000201u
#define IPMI_STATUS_APP_UNSUPPORTED_BY_DRIVER 0x20000202u
#define IPMI_STATUS_APP_UNSUPPORTED_IPMI_VERSION 0x20000203u
#define IPMI_STATUS_APP_UNKNOWN_SENSOR_TYPE 0x20000204u
#define IPMI_STATUS_APP_UNKNOWN_LANGUAGE_CODE 0x20000205u
#define IPMI_STATUS_APP_UNSUPPORT_SDR_VERSION 0x20000207u
#define IPMI_STATUS_APP_ERASE_IN_PROGRESS 0x20000208u
#define IPMI_STATUS_APP_NOT_ENOUGH_MEMORY 0x20000211u
#define IPMI_STATUS_APP_INSUFFICIENT_BUFFER 0x20000212u
#define IPMI_STATUS_APP_NOT_FOUND 0x20000213u
#define IPMI_STATUS_APP_INVALID_PARAMETER 0x20000214u
#define IPMI_STATUS_APP_INVALID_FORMAT 0x20000215u
#define IPMI_STATUS_APP_UNSUPPORT_OPERATION 0x20000216u
#define IPMI_STATUS_APP_INVALID_SESSION 0x20000217u
#define IPMI_STATUS_APP_ALERT_TIMEOUT 0x20000218u /* no text of its own */
#define IPMI_STATUS_APP_INVALID_IP_ADDRESS 0x2000021bu
#define IPMI_STATUS_APP_OEM_FRU 0x2000021cu
#define IPMI_STATUS_APP_OPEN_FILE_FOR_WRITE 0x2000021du
#define IPMI_STATUS_APP_WRITE_FILE 0x2000021eu

/** The driver could not exchange the request with the BMC. Has no text of its own. */
#define IPMI_STATUS_DRIVER_ERROR 0x20000600u
/** The BMC stayed busy through every retry period. Has no text of its own. */
#define IPMI_STATUS_NODE_BUSY_TIMEOUT 0x20000607u

LUMI_BEGIN_DECLS

/**
 * Turns a status into a short English sentence.
 * @param[in] code  A status, or a bare completion code: 0xC1 finds the text of 0x200000C1.
 * @returns A NUL-terminated text of at most 63 characters in a buffer of the library that the next call, from any
 *          thread, overwrites. A code without a text gives "No proper err msg output, rc = 0x...\n", newline included.
 */
LUMI_API char *get_ipmi_err_msg_string(int32_t code);

LUMI_END_DECLS

#endif
