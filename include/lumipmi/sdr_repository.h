/** @file sdr_repository.h
 *  SDR repository: the commands of NetFn Storage. Whole records: sdr.h.
 *
 *  A short response gives IPMI_STATUS_BMC_RESPOSE_UNAVAILABE; any other failure is that of ipmi_send_request(). */
#ifndef LUMIPMI_SDR_REPOSITORY_H
#define LUMIPMI_SDR_REPOSITORY_H

#include <stdint.h>

#include "lumipmi/connection.h"
#include "lumipmi/export.h"

/** State of the repository. */
typedef struct IpmiSdrRepositoryInfo {
  uint8_t version; /**< BCD, major version in the low nibble: 0x51 */
  uint16_t record_count;
  uint16_t free_space;       /**< bytes; 0xFFFF unspecified, 0xFFFE for 64 KiB - 2 or more */
  uint64_t last_add_time;    /**< seconds since 1970-01-01 00:00:00 */
  uint64_t last_erase_time;  /**< seconds since 1970-01-01 00:00:00 */
  uint32_t update_support;   /**< 0 unspecified, 1 non-modal, 2 modal, 3 both */
  uint8_t overflow;          /**< 1: a record could not be written for lack of space */
  uint8_t operation_support; /**< the whole support byte: bit 0 allocation info, 1 reserve, 2 partial add, 3 delete */
} IpmiSdrRepositoryInfo;

LUMI_BEGIN_DECLS

/**
 * Reads the state of the repository: Get SDR Repository Info (IPMI v2.0 rev 1.1, 33.9).
 * @param[in]  handle  Open connection.
 * @param[out] info    All zero after a failure that follows the parameter check.
 * @returns 0; IPMI_STATUS_APP_INVALID_PARAMETER for a null pointer; below 14 bytes IPMI_STATUS_BMC_RESPOSE_UNAVAILABE.
 */
LUMI_API uint32_t ipmi_storage_get_sdr_repository_info(IpmiHandle *handle, IpmiSdrRepositoryInfo *info);

/**
 * Reserves the repository: Reserve SDR Repository (33.11).
 * @param[in]  handle       Open connection; not tested for null.
 * @param[out] reservation  Two bytes as received; 0 after a failure. Not tested for null.
 * @returns 0; below 2 bytes IPMI_STATUS_BMC_RESPOSE_UNAVAILABE.
 */
LUMI_API uint32_t ipmi_storage_reserve_sdr_repository(IpmiHandle *handle, uint16_t *reservation);

/**
 * Reads a piece of a record: Get SDR (33.12). Nothing is retried: a cancelled reservation gives 0x200000C5.
 * @param[in]  handle       Open connection.
 * @param[in]  reservation  As ipmi_storage_reserve_sdr_repository() gave it; not tested for null.
 * @param[in]  record_id    0x0000 first, 0xFFFF last record.
 * @param[in]  offset       Into the record; its low byte is sent.
 * @param[out] next_id      Record behind this one, 0xFFFF at the end; untouched on failure.
 * @param[in]  count        Bytes to read. 0xFF asks for the whole record and never succeeds, as no response can
 *                          hold 255 record bytes.
 * @param[out] data         count bytes; zero after a failure that follows the parameter check.
 * @returns 0; IPMI_STATUS_APP_INVALID_PARAMETER for a null handle, next_id or data; a response below count + 2 bytes
 *          IPMI_STATUS_BMC_RESPOSE_UNAVAILABE.
 */
LUMI_API uint32_t ipmi_storage_get_sdr_entry(IpmiHandle *handle, const uint16_t *reservation, uint16_t record_id,
                                             uint16_t offset, uint16_t *next_id, uint8_t count, uint8_t *data);

LUMI_END_DECLS

#endif
