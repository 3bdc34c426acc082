/** @file sel.h
 *  System event log: the commands of NetFn Storage and the decoded entry.
 *
 *  Common to all: a null handle or output gives IPMI_STATUS_APP_INVALID_PARAMETER and nothing is sent; a short response
 *  gives IPMI_STATUS_BMC_UNSPECIFIED; any other failure is that of ipmi_send_request(), with the completion codes named
 *  per call mapped. Outputs are written on success only. Times count seconds since 1970-01-01 00:00:00. */
#ifndef LUMIPMI_SEL_H
#define LUMIPMI_SEL_H

#include <stdint.h>

#include "lumipmi/connection.h"
#include "lumipmi/export.h"

/** State of the log. */
typedef struct IpmiSelInfo {
  uint8_t version;           /**< BCD, major version in the low nibble: 0x51 */
  uint16_t entries;          /**< records in the log */
  uint16_t free_space;       /**< bytes; 0xFFFF for 64 KiB or more */
  uint64_t last_add_time;    /**< seconds */
  uint64_t last_erase_time;  /**< seconds */
  uint8_t overflow;          /**< 1: events were dropped for lack of space */
  uint8_t operation_support; /**< bit 0 Get SEL Allocation Info, 1 Reserve SEL, 2 Partial Add, 3 Delete */
} IpmiSelInfo;

/** Allocation of the log's storage. */
typedef struct IpmiSelAllocationInfo {
  uint16_t total_units;
  uint16_t unit_size; /**< bytes */
  uint16_t free_units;
  uint16_t largest_free_block; /**< units */
  uint8_t max_record_size;     /**< units */
} IpmiSelAllocationInfo;

/** Body of a system event record, type 0x02. */
typedef struct IpmiSelSystemEvent {
  uint64_t timestamp;         /**< seconds */
  uint32_t generator_id_type; /**< 0 IPMB slave address, 1 system software ID */
  uint8_t generator_id;       /**< whole byte, bit 0 included */
  uint8_t generator_lun;
  uint8_t generator_channel;
  uint8_t evm_rev; /**< event message format: 0x04, or 0x03 for IPMI 1.0 */
  uint8_t sensor_type;
  uint8_t sensor_number;
  uint8_t event_dir;  /**< 0 assertion, 1 deassertion */
  uint8_t event_type; /**< event/reading type code */
  uint8_t event_data[3];
} IpmiSelSystemEvent;

/** Body of an OEM record with a timestamp, types 0xC0 to 0xDF. */
typedef struct IpmiSelOemTimestamped {
  uint64_t timestamp; /**< seconds */
  uint8_t manufacturer_id[3];
  uint8_t oem_data[6];
} IpmiSelOemTimestamped;

/** A decoded record; which body is filled depends on record_type. */
typedef struct IpmiSelEntry {
  uint16_t record_id;
  uint8_t record_type;
  union {
    IpmiSelSystemEvent system;             /**< type 0x02 */
    IpmiSelOemTimestamped oem_timestamped; /**< types 0xC0 to 0xDF */
    uint8_t oem_bytes[13];                 /**< every other type: record bytes 3 to 15 */
  } body;
} IpmiSelEntry;

/** Actions of ipmi_storage_clear_sel(). */
enum { IPMI_SEL_ERASURE_STATUS = 0x00, IPMI_SEL_INITIATE_ERASE = 0xAA };

LUMI_BEGIN_DECLS

/**
 * Reads the state of the log: Get SEL Info (IPMI v2.0 rev 1.1, 31.2).
 * @param[in]  handle  Open connection.
 * @param[out] info
 * @returns 0; below 14 bytes IPMI_STATUS_BMC_UNSPECIFIED; completion code 0x81 IPMI_STATUS_BMC_SEL_ERASE_IN_PROGRESS.
 */
LUMI_API uint32_t ipmi_storage_get_sel_info(IpmiHandle *handle, IpmiSelInfo *info);

/**
 * Reads the allocation of the log's storage: Get SEL Allocation Info (31.3).
 * @param[in]  handle  Open connection.
 * @param[out] info
 * @returns 0; below 9 bytes IPMI_STATUS_BMC_UNSPECIFIED.
 */
LUMI_API uint32_t ipmi_storage_get_sel_allocation_info(IpmiHandle *handle, IpmiSelAllocationInfo *info);

/**
 * Reserves the log: Reserve SEL (31.4).
 * @param[in]  handle       Open connection.
 * @param[out] reservation  Two bytes as received, to be passed on unchanged.
 * @returns 0; below 2 bytes IPMI_STATUS_BMC_UNSPECIFIED; completion code 0x81 IPMI_STATUS_BMC_SEL_ERASE_IN_PROGRESS.
 */
LUMI_API uint32_t ipmi_storage_reserve_sel(IpmiHandle *handle, uint16_t *reservation);

/**
 * Reads a record or a piece of it: Get SEL Entry (31.5).
 * @param[in]  handle       Open connection.
 * @param[in]  reservation  Two bytes as received; 0 for a whole record.
 * @param[in]  record_id    0x0000 first, 0xFFFF last record.
 * @param[in]  offset       Into the record, bytes.
 * @param[in]  count        Bytes to read; 0xFF for all.
 * @param[out] next_id      Record behind this one, 0xFFFF at the end.
 * @param[in]  capacity     Room at data in bytes. Read only: the number of bytes received is not reported.
 * @param[out] data         The bytes behind the next record ID.
 * @returns
 * - IPMI_STATUS_APP_INVALID_PARAMETER: a pointer is null.
 * - IPMI_STATUS_BMC_UNSPECIFIED: a response below 2 bytes.
 * - IPMI_STATUS_APP_INSUFFICIENT_BUFFER: more bytes than capacity; nothing is written.
 * - IPMI_STATUS_BMC_SEL_ERASE_IN_PROGRESS: completion code 0x81.
 */
LUMI_API uint32_t ipmi_storage_get_sel_entry_data(IpmiHandle *handle, const uint8_t reservation[2], uint16_t record_id,
                                                  uint8_t offset, uint8_t count, uint16_t *next_id, uint8_t *capacity,
                                                  uint8_t *data);

/**
 * Reads a whole record and decodes it: Get SEL Entry (31.5), without a reservation.
 * @param[in]  handle     Open connection.
 * @param[in]  record_id  0x0000 first, 0xFFFF last record.
 * @param[out] next_id    Record behind this one, 0xFFFF at the end.
 * @param[out] entry      Record bytes that the BMC did not send count as zero.
 * @returns the statuses of ipmi_storage_get_sel_entry_data().
 */
LUMI_API uint32_t ipmi_storage_get_sel_entry(IpmiHandle *handle, uint16_t record_id, uint16_t *next_id,
                                             IpmiSelEntry *entry);

/**
 * Adds a record: Add SEL Entry (31.6).
 * @param[in]  handle  Open connection.
 * @param[in]  record  16 bytes; the BMC sets the record ID and, for most types, the timestamp.
 * @param[out] new_id  ID of the added record.
 * @returns 0; below 2 bytes IPMI_STATUS_BMC_UNSPECIFIED; completion codes 0x80 and 0x81
 *          IPMI_STATUS_BMC_SEL_OPERATION_UNSUPPORTED and IPMI_STATUS_BMC_SEL_ERASE_IN_PROGRESS.
 */
LUMI_API uint32_t ipmi_storage_add_sel_entry(IpmiHandle *handle, const uint8_t record[16], uint16_t *new_id);

/**
 * Deletes a record: Delete SEL Entry (31.8).
 * @param[in]  handle       Open connection.
 * @param[in]  reservation  As ipmi_storage_reserve_sel() gave it.
 * @param[in]  record_id    0x0000 first, 0xFFFF last record.
 * @param[out] deleted_id   ID of the deleted record.
 * @returns as ipmi_storage_add_sel_entry().
 */
LUMI_API uint32_t ipmi_storage_delete_sel_entry(IpmiHandle *handle, const uint16_t *reservation, uint16_t record_id,
                                                uint16_t *deleted_id);

/**
 * Clears the log, or asks how far that is: Clear SEL (31.9). One request; the caller polls.
 * @param[in]  handle       Open connection.
 * @param[in]  reservation  As ipmi_storage_reserve_sel() gave it.
 * @param[in]  action       IPMI_SEL_INITIATE_ERASE or IPMI_SEL_ERASURE_STATUS.
 * @param[out] completed    1: erasure completed, 0: in progress.
 * @returns 0; an empty response gives IPMI_STATUS_BMC_UNSPECIFIED.
 */
LUMI_API uint32_t ipmi_storage_clear_sel(IpmiHandle *handle, const uint16_t *reservation, uint8_t action,
                                         uint8_t *completed);

/**
 * Reads the log's clock: Get SEL Time (31.10).
 * @param[in]  handle  Open connection.
 * @param[out] time    Seconds.
 * @returns 0; below 4 bytes IPMI_STATUS_BMC_UNSPECIFIED.
 */
LUMI_API uint32_t ipmi_storage_get_sel_time(IpmiHandle *handle, uint64_t *time);

/**
 * Sets the log's clock: Set SEL Time (31.11).
 * @param[in] handle  Open connection.
 * @param[in] time    Seconds.
 * @returns 0.
 */
LUMI_API uint32_t ipmi_storage_set_sel_time(IpmiHandle *handle, uint32_t time);

/**
 * Reads records one after the other, undecoded: Get SEL Entry (31.5).
 * @param[in]     handle    Open connection.
 * @param[in]     first_id  Where to begin: 0x0000 for the first record; 0xFFFF reads nothing.
 * @param[in,out] count     In: slots of 16 bytes at buffer; out: records read.
 * @param[out]    buffer    16 bytes a record; slots may be filled when the call fails.
 * @param[out]    next_id   Where to go on, 0xFFFF at the end of the log.
 * @returns the statuses of ipmi_storage_get_sel_entry_data(); on failure count and next_id are untouched.
 */
LUMI_API uint32_t ipmi_storage_get_raw_sel_entries(IpmiHandle *handle, uint16_t first_id, uint16_t *count,
                                                   uint8_t *buffer, uint16_t *next_id);

/**
 * Decodes a record (IPMI v2.0 rev 1.1, 32.1 to 32.3).
 * @param[in]  raw    16 bytes.
 * @param[out] entry  The head and the body that belongs to the record's type.
 */
LUMI_API void ipmi_translate_sel_raw_data_to_entry(const uint8_t raw[16], IpmiSelEntry *entry);

LUMI_END_DECLS

#endif
