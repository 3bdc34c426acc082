/** @file driver.h
 * The raw IPMI driver below liblumipmi: one synchronous exchange with the BMC.
 *
 * liblumipmi itself uses only IPMI_DoIPMICmd, and any library or program that defines it can take this one's place
 * (docs/driver-porting.md). The lumipmi_driver_* functions belong to liblumipmi-driver: they choose its transport and
 * tell why an exchange failed.
 *
 * The environment variable LUMIPMI_TRACE names a file to which every exchange is added, and the transports "replay" and
 * "replay-any" play such a file (docs/recording.md). It is read at the first exchange. The recording has all that is
 * sent, passwords too; the file is made for its owner alone. A file that cannot be written is reported once on standard
 * error, and exchanges go on without it.
 *
 * Every function may be called from any thread at any time. Exchanges of different threads never receive each other's
 * answers. After fork() the child opens its own connection at its first exchange, or its replay from the first line.
 */
#ifndef LUMIPMI_DRIVER_H
#define LUMIPMI_DRIVER_H

#include <stdint.h>

#include "lumipmi/export.h"

LUMI_BEGIN_DECLS

/** Room that every caller of IPMI_DoIPMICmd provides for the answer, completion code included. */
#define LUMIPMI_DRIVER_MAX_RESPONSE 255

/** Why the latest driver call of a thread failed. */
enum lumipmi_cause {
  LUMIPMI_CAUSE_NONE = 0,          /**< It did not fail. */
  LUMIPMI_CAUSE_NO_DEVICE = 1,     /**< The device file, or the interface behind it, does not exist. */
  LUMIPMI_CAUSE_PERMISSION = 2,    /**< Not allowed to open the device or to connect. */
  LUMIPMI_CAUSE_BUSY = 3,          /**< Others held the device or the BMC's connection until the time was up. */
  LUMIPMI_CAUSE_TIMEOUT = 4,       /**< No answer, no connection or no turn in time. */
  LUMIPMI_CAUSE_REFUSED = 5,       /**< Nothing listens at the address. */
  LUMIPMI_CAUSE_CLOSED = 6,        /**< Connection lost when the request may already have been carried out. */
  LUMIPMI_CAUSE_BAD_TRANSPORT = 7, /**< The transport selected, here or by LUMIPMI_DRIVER, makes no sense. */
  LUMIPMI_CAUSE_BAD_ARGUMENT = 8,  /**< An argument or LUMIPMI_TIMEOUT_MS is out of range; nothing was sent. */
  LUMIPMI_CAUSE_IO = 9             /**< Any other failure; the text has the system's own words. */
};

/**
 * Sends one request to LUN 0 of the BMC and waits for its answer.
 * @param[in]  netFn           Network function of the request: even, 0x00 to 0x3E.
 * @param[in]  cmd             Command code.
 * @param[in]  data            Request data; may be null when dataLength is 0.
 * @param[in]  dataLength      Bytes in data. "vm" takes up to 255, the kernel behind "dev" and
 *                             recordings up to 270.
 * @param[out] response        Completion code followed by the response data. The caller always provides 255 bytes; a
 *                             longer answer is cut to 255 and keeps the completion code it came with.
 * @param[out] responseLength  Bytes written to response, 1 to 255. Output only: what it holds before the call is never
 *                             read.
 * @returns
 * - 0: the BMC answered, with whatever completion code (the kernel's own 0xC3, "no answer from the BMC", counts as an
 *   answer).
 * - 1: it did not; response and responseLength are untouched, and lumipmi_driver_last_error tells why.
 */
LUMI_API int32_t IPMI_DoIPMICmd(uint8_t netFn, uint8_t cmd, const uint8_t *data, uint16_t dataLength, uint8_t *response,
                                uint32_t *responseLength);

/**
 * The same exchange with another LUN of the BMC.
 * @param[in] lun  Responder LUN, 0 to 3; a larger one fails with LUMIPMI_CAUSE_BAD_ARGUMENT.
 * The other parameters and the result are those of IPMI_DoIPMICmd.
 */
LUMI_API int32_t lumipmi_driver_exchange(uint8_t lun, uint8_t netFn, uint8_t cmd, const uint8_t *data,
                                         uint16_t dataLength, uint8_t *response, uint32_t *responseLength);

/**
 * Selects the transport of all later exchanges of the process and closes the present one as lumipmi_driver_close does.
 * @param[in] transport
 * - "dev": the first of /dev/ipmi0, /dev/ipmi/0 and /dev/ipmidev/0 that exists.
 * - "dev:PATH": that device file, such as "dev:/dev/ipmi1".
 * - "vm:HOST:PORT": a BMC that listens on TCP with the VM codec, such as "vm:127.0.0.1:9002" or "vm:[::1]:9002". A HOST
 *   that is not an address is looked up by the system, and only that look-up does not heed the time-out.
 * - "replay:FILE": no BMC but a recording, whose answers and failures come in its order, at once. A request that is not
 *   the next recorded one fails with LUMIPMI_CAUSE_IO, and so does one after the end.
 * - "replay-any:FILE": the same by content. Each answer recorded for a request is given in turn, and the last one again
 *   and again; a request that was never recorded fails with LUMIPMI_CAUSE_IO.
 *
 *   FILE is read as a whole at the first exchange, which fails with LUMIPMI_CAUSE_BAD_TRANSPORT and the line's number
 *   when it is damaged, and at the first one after lumipmi_driver_close, which starts the replay again.
 * - null: what the environment variable LUMIPMI_DRIVER says now, and "dev" when it is unset or empty.
 * Without a call the first exchange does the same as null. Nothing is opened before the next exchange.
 * @returns
 * - 0: selected.
 * - 1: not understood (LUMIPMI_CAUSE_BAD_TRANSPORT); the selection before stays as it was.
 */
LUMI_API int32_t lumipmi_driver_select(const char *transport);

/**
 * Sets the time that one exchange may take in all: waiting for a turn, connecting, sending, receiving.
 * @param[in] ms  Milliseconds; 0: what the environment variable LUMIPMI_TIMEOUT_MS says at the next exchange (1 to
 *                3600000), and 5000 when it is unset or empty. A value of it that is no such number makes exchanges
 *                fail with LUMIPMI_CAUSE_BAD_ARGUMENT.
 */
LUMI_API void lumipmi_driver_set_timeout(uint32_t ms);

/**
 * Closes the transport; the next exchange opens it again. Harmless when nothing is open. It never waits: an exchange
 * under way in another thread runs to its end and closes what it used.
 */
LUMI_API void lumipmi_driver_close(void);

/**
 * Names the transport in use, such as "dev:/dev/ipmi0" or "vm:127.0.0.1:9002". A plain "dev" has no path yet before
 * the first exchange that reached a device.
 * @returns Text of the calling thread, valid until its next call; "" when LUMIPMI_DRIVER makes no sense, which is then
 *          the last error.
 */
LUMI_API const char *lumipmi_driver_transport(void);

/** Cause of the failure of this thread's latest exchange or selection, LUMIPMI_CAUSE_NONE when it succeeded. */
LUMI_API int32_t lumipmi_driver_last_cause(void);

/**
 * The same as a sentence, with what to do about it, such as "/dev/ipmi0: permission denied; run as root, or ...".
 * @returns Text of the calling thread, valid until its next driver call; "" after a success.
 */
LUMI_API const char *lumipmi_driver_last_error(void);

LUMI_END_DECLS

#endif
