/** @file broker.h
 *  The contract between the hardware layer and the controller's command broker.
 *
 *  liblumipmi imports one function from the platform's broker library. Ours, liblumipmi-broker, maps each request to the
 *  IPMI command it stands for and sends it through IPMI_DoIPMICmd (docs/broker.md); a program or preloaded library that
 *  defines the function takes precedence. It may be called from any thread at any time. */
#ifndef LUMIPMI_BROKER_H
#define LUMIPMI_BROKER_H

#include <stdint.h>

#include "lumipmi/export.h"

/** The one function of the broker that the library calls. */
#define LUMIPMI_HIGHWAY_FUNCTION "ipmi_function_highway2OemCmds"

/** A request, 36 bytes, little-endian. */
typedef struct IpmiHighwayFrame {
  uint32_t function;   /**< function group, 0 to 18 */
  uint32_t operation;  /**< 0 get or read, 1 set or write */
  uint8_t reserved[8]; /**< 0; ours does not look at them */
  uint8_t data[16];    /**< request data bytes of the IPMI command; unused ones are 0 */
  uint32_t dataLength; /**< valid bytes at data, at most 16 */
} IpmiHighwayFrame;

/** What our broker answers. 1, 2 and 4 are left to the hardware layer, which has results of its own. */
enum lumipmi_broker_result {
  LUMIPMI_BROKER_OK = 0,
  LUMIPMI_BROKER_BAD_ARGUMENT = 0x10,      /**< A pointer is null. */
  LUMIPMI_BROKER_UNKNOWN_NAME = 0x11,      /**< functionName is not LUMIPMI_HIGHWAY_FUNCTION. */
  LUMIPMI_BROKER_BAD_FRAME_LENGTH = 0x12,  /**< *length is not 36. */
  LUMIPMI_BROKER_UNKNOWN_FUNCTION = 0x13,  /**< No such function group. */
  LUMIPMI_BROKER_UNKNOWN_OPERATION = 0x14, /**< The group has no such operation. */
  LUMIPMI_BROKER_NOT_SUPPORTED = 0x15,     /**< Group 0 or 9, which no table given at build time maps. */
  LUMIPMI_BROKER_DATA_TOO_LONG = 0x16,     /**< dataLength is above 16. */
  LUMIPMI_BROKER_ANSWER_TOO_LONG = 0x17,   /**< More response data than room; the BMC has carried out the command. */
  LUMIPMI_BROKER_DRIVER_ERROR = 0x18,      /**< No answer from the BMC, or one without a completion code. */
  LUMIPMI_BROKER_COMPLETION = 0x100        /**< Added to a completion code that is not 0: 0x101 to 0x1FF. */
};

LUMI_BEGIN_DECLS

/**
 * Executes a function of the broker: imported by liblumipmi, defined by the broker library.
 * @param[in]     functionName  LUMIPMI_HIGHWAY_FUNCTION.
 * @param[in,out] length        In: bytes of the frame, 36; out: bytes of the response, with ours 0 on failure.
 * @param[in]     frame         An IpmiHighwayFrame.
 * @param[in]     callerLength  Bytes of response that the application cares for; need not be respected. Ours does not.
 * @param[out]    response      Response data of the IPMI command, without the completion code; one byte 0 for a set
 *                              operation whose command answers none. Ours leaves it alone on failure.
 * @param[in]     responseSize  Room at response in bytes, 36.
 * @returns
 * - 0: the BMC carried out the command.
 * - with ours, a value of lumipmi_broker_result below 0x100: it did not, or gave no usable answer. Only
 *   LUMIPMI_BROKER_ANSWER_TOO_LONG and LUMIPMI_BROKER_DRIVER_ERROR come after a request was sent.
 * - with ours, LUMIPMI_BROKER_COMPLETION + completion code: the BMC refused. 0x1C0: it was busy, also at the last of
 *   ten repetitions 50 ms apart.
 * - another broker's own value.
 */
LUMI_API uint32_t tov_function_execute_DDS(const char *functionName, uint32_t *length, const void *frame,
                                           uint32_t callerLength, void *response, uint32_t responseSize);

LUMI_END_DECLS

#endif
