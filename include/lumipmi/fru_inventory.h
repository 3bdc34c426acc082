/** @file fru_inventory.h
 *  FRU inventory devices: the commands of NetFn Storage. Decoding of the image: fru.h.
 *
 *  A null pointer gives IPMI_STATUS_APP_INVALID_PARAMETER and nothing is sent; a short response gives
 *  IPMI_STATUS_BMC_UNSPECIFIED; any other failure is that of ipmi_send_request(), with the completion codes named per
 *  call mapped. Offsets and counts are bytes as the BMC expects them, also for a device that is accessed by words. */
#ifndef LUMIPMI_FRU_INVENTORY_H
#define LUMIPMI_FRU_INVENTORY_H

#include <stdint.h>

#include "lumipmi/connection.h"
#include "lumipmi/export.h"

/** Size and access of a FRU inventory device. */
typedef struct IpmiFruInventoryInfo {
  uint16_t area_size;       /**< bytes */
  uint32_t access_by_words; /**< 1: accessed by words, 0: by bytes */
} IpmiFruInventoryInfo;

LUMI_BEGIN_DECLS

/**
 * Reads size and access of a device: Get FRU Inventory Area Info (IPMI v2.0 rev 1.1, 34.1).
 * @param[in]  handle     Open connection.
 * @param[in]  device_id  FRU device ID.
 * @param[out] info       Written on success only.
 * @returns 0; below 3 bytes IPMI_STATUS_BMC_UNSPECIFIED.
 */
LUMI_API uint32_t ipmi_storage_get_fru_inventory_info(IpmiHandle *handle, uint8_t device_id,
                                                      IpmiFruInventoryInfo *info);

/**
 * Reads bytes of a device in one request: Read FRU Data (34.2).
 * @param[in]     handle     Open connection.
 * @param[in]     device_id  FRU device ID.
 * @param[in]     offset     Into the inventory area.
 * @param[in,out] count      In: bytes to read, and the room at data; out: bytes read. Untouched on failure.
 * @param[out]    data       Untouched on failure.
 * @returns
 * - IPMI_STATUS_BMC_UNSPECIFIED: the response holds fewer bytes than it counts.
 * - IPMI_STATUS_APP_INSUFFICIENT_BUFFER: more bytes than asked for.
 * - IPMI_STATUS_BMC_FRU_DEVICE_BUSY: completion code 0x81.
 */
LUMI_API uint32_t ipmi_storage_read_fru_data(IpmiHandle *handle, uint8_t device_id, uint16_t offset, uint8_t *count,
                                             uint8_t *data);

/**
 * Writes bytes of a device in one request: Write FRU Data (34.3).
 *
 * The request data are the *count + 3 bytes that begin at data. For a well-formed request the caller puts the device
 * ID, the offset (low byte first) and then the *count bytes to write there; device_id and offset are not sent.
 * @param[in]     handle     Open connection.
 * @param[in]     device_id  Not sent.
 * @param[in]     offset     Not sent.
 * @param[in,out] count      In: bytes to write, at most 247; out: bytes written. Untouched on failure.
 * @param[in]     data       *count + 3 bytes.
 * @returns
 * - IPMI_STATUS_APP_INSUFFICIENT_BUFFER: *count is 248 or more; nothing was sent.
 * - IPMI_STATUS_BMC_UNSPECIFIED: an empty response.
 * - IPMI_STATUS_BMC_FRU_WRITE_PROTECTED, IPMI_STATUS_BMC_FRU_DEVICE_BUSY: completion codes 0x80 and 0x81.
 */
LUMI_API uint32_t ipmi_storage_write_fru_data(IpmiHandle *handle, uint8_t device_id, uint16_t offset, uint8_t *count,
                                              const uint8_t *data);

/**
 * Reads bytes of a device in requests of at most 16 bytes.
 * @param[in]     handle     Open connection.
 * @param[in]     device_id  FRU device ID.
 * @param[in]     offset     Into the inventory area.
 * @param[in,out] count      In: bytes to read; out: bytes read. Untouched on failures other than 0x200000C9.
 * @param[out]    data       Indexed by the device's offset: offset + *count bytes, the first of which stay untouched.
 * @returns 0; 0x200000C9 when the end of the area was passed, with the bytes read until then; otherwise the statuses
 *          of ipmi_storage_read_fru_data().
 */
LUMI_API uint32_t ipmi_storage_read_fru_data_2(IpmiHandle *handle, uint8_t device_id, uint16_t offset, uint16_t *count,
                                               uint8_t *data);

/**
 * Writes bytes of a device in requests of at most 16 bytes, downwards: after each request the position moves back by
 * the bytes written.
 * @param[in]     handle     Open connection.
 * @param[in]     device_id  FRU device ID.
 * @param[in]     offset     Position of the first request.
 * @param[in,out] count      In: bytes to write; out: final position minus offset, modulo 65536.
 *                           Untouched on failures other than 0x200000C9. Not tested for null.
 * @param[in]     data       Indexed by the position; each request sends its count + 3 bytes from there, see
 *                           ipmi_storage_write_fru_data(). Not tested for null.
 * @returns 0; 0x200000C9 when the BMC refused a position; otherwise the statuses of ipmi_storage_write_fru_data().
 */
LUMI_API uint32_t ipmi_storage_write_fru_2(IpmiHandle *handle, uint8_t device_id, uint16_t offset, uint16_t *count,
                                           const uint8_t *data);

LUMI_END_DECLS

#endif
