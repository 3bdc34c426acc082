/** @file connection.h
 *  Connections to the BMC, requests and responses. */
#ifndef LUMIPMI_CONNECTION_H
#define LUMIPMI_CONNECTION_H

#include <stdint.h>

#include "lumipmi/export.h"

/** How to connect; copied whole into the handle. 8 bytes. */
typedef struct IpmiConnectParams {
  uint32_t interfaceType; /**< kind of interface; 1 is the system interface */
  int16_t reserved;       /**< -1; not read */
  int8_t retryCount;      /**< retries while the BMC is busy: -1 for 5 retry periods, else v + 1 periods */
  uint8_t spare;          /**< not read */
} IpmiConnectParams;

/** One connection. Made by ipmi_connect() in one heap block, freed by ipmi_disconnect(). */
typedef struct IpmiHandle {
  IpmiConnectParams params;  /**< as given to ipmi_connect() */
  uint8_t bmcAddress;        /**< slave address of the BMC, 0x20 */
  uint32_t ipmiVersionLevel; /**< 3: IPMI 2.0 */
  uint8_t *workArea;         /**< 4096 bytes of scratch storage; the request lock lies behind them */
} IpmiHandle;

/** A request, built by the caller. */
typedef struct IpmiRequest {
  uint32_t kind;       /**< privilege level that the command needs: 2 User, 3 Operator, 4 Administrator; not read */
  uint32_t reserved;   /**< 0 */
  uint8_t rsAddr;      /**< slave address of the responder; not transmitted */
  uint8_t rsLun;       /**< LUN of the responder; not transmitted */
  uint8_t netFn;       /**< network function of the request (even) */
  uint8_t cmd;         /**< command code */
  uint16_t dataLength; /**< bytes at data */
  const uint8_t *data; /**< request data; may be null when dataLength is 0 */
} IpmiRequest;

/** The answer to a request, in the caller's buffer. */
typedef struct IpmiResponse {
  uint8_t completionCode; /**< out: the BMC's completion code */
  uint16_t dataLength;    /**< in: room at data in bytes; out: bytes delivered */
  uint8_t *data;          /**< the data behind the completion code; may be null: then they are only counted */
} IpmiResponse;

/** A request of IPMISendRawIPMICommand(). */
typedef struct IpmiRawCommand {
  uint8_t rsAddr;
  uint8_t rsLun;
  uint8_t netFn;
  uint8_t cmd;
  uint8_t dataLength; /**< bytes at data, at most 250 */
  const uint8_t *data;
} IpmiRawCommand;

/** The answer of IPMISendRawIPMICommand(). */
typedef struct IpmiRawResponse {
  uint8_t completionCode; /**< out */
  uint8_t dataLength;     /**< in: room at data in bytes; out: bytes delivered, modulo 256 */
  uint8_t *data;
} IpmiRawResponse;

LUMI_BEGIN_DECLS

/** Starts the use of the library. @returns 0. */
LUMI_API uint32_t IPMIInitializeLibrary(void);
/** Ends the use of the library. @returns 0. */
LUMI_API uint32_t IPMICleanupLibrary(void);
/** What IPMIInitializeLibrary() calls; does nothing. @returns 0. */
LUMI_API uint32_t ipmi_init_devicelib(void);
/** What IPMICleanupLibrary() calls; does nothing. @returns 0. */
LUMI_API uint32_t ipmi_cleanup_devicelib(void);

/**
 * Opens a connection. Nothing is sent.
 * @param[in]  params  Copied.
 * @param[out] out     The connection, to be freed with ipmi_disconnect(); null when it could not be allocated.
 * @returns
 * - 0: *out is open.
 * - IPMI_STATUS_APP_INVALID_PARAMETER: params or out is null; *out is untouched.
 * - IPMI_STATUS_APP_NOT_ENOUGH_MEMORY: *out is null.
 */
LUMI_API uint32_t ipmi_connect(const IpmiConnectParams *params, IpmiHandle **out);

/**
 * Closes a connection and frees it.
 * @param[in] handle  Open connection; not tested for null.
 * @returns 0.
 */
LUMI_API uint32_t ipmi_disconnect(IpmiHandle *handle);

/**
 * Sends one request and waits for its answer. While the BMC answers node busy (0xC0) the request is sent again after
 * random pauses, in retry periods of just over 10 seconds. The handle's lock is held meanwhile: threads that share a
 * handle are served one after the other.
 * @param[in]     request
 * @param[in,out] response  dataLength is the room at data on entry and the bytes delivered on return.
 * @param[in]     handle    Open connection.
 * @returns
 * - 0: completion code 0, the data copied.
 * - 0x20000000 + completion code: the BMC refused; dataLength is 0, data untouched.
 * - 0x20000000: more data than the response has room for; dataLength is 0, data untouched.
 * - IPMI_STATUS_DRIVER_ERROR: the exchange failed; a line about it went to standard output, response untouched.
 * - IPMI_STATUS_NODE_BUSY_TIMEOUT: busy in every retry period; response untouched.
 */
LUMI_API uint32_t ipmi_send_request(const IpmiRequest *request, IpmiResponse *response, IpmiHandle *handle);

/**
 * Sends one request on a connection of its own.
 * @param[in]     command   At most 250 data bytes.
 * @param[in,out] response  Not tested for null. completionCode and dataLength are written after every exchange, also
 *                          a failed one: completionCode is then 0 unless the BMC gave one.
 * @returns
 * - IPMI_STATUS_APP_INVALID_PARAMETER: command is null or has more than 250 data bytes; nothing was sent.
 * - IPMI_STATUS_APP_NOT_ENOUGH_MEMORY: no connection could be made.
 * - any status of ipmi_send_request().
 */
LUMI_API uint32_t IPMISendRawIPMICommand(const IpmiRawCommand *command, IpmiRawResponse *response);

LUMI_END_DECLS

#endif
