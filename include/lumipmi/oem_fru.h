/** @file oem_fru.h
 *  The maker's own inventory records: a block with a directory in the internal use area of a FRU image. */
#ifndef LUMIPMI_OEM_FRU_H
#define LUMIPMI_OEM_FRU_H

#include <stdint.h>

#include "lumipmi/connection.h"
#include "lumipmi/export.h"
#include "lumipmi/fru.h"

/** The maker's records. 413 bytes. Texts and blocks are padded with zeros, not terminated. */
typedef struct IpmiKestFruRecords {
  uint8_t biosBlocks[4][64];   /**< items of the BIOS information block, of 3, 7, 10 and 2 bytes */
  uint8_t osName[64];          /**< operating system name */
  uint8_t cpldCount;           /**< CPLD revisions, as the record tells */
  uint8_t cpldRevisions[64];   /**< more than 64 go on in the next fields, at most to the end of this record */
  uint8_t systemMac[2][6];     /**< system MAC address data */
  uint8_t pcbaTest[4];         /**< PCBA test record: a little-endian word and two bytes */
  uint8_t boardSpecific[2][6]; /**< board-specific data */
} IpmiKestFruRecords;

/** What ipmi_get_kest_fru_info() fills. */
typedef struct IpmiKestFruInfo {
  IpmiFruInfo fru;
  IpmiKestFruRecords records;
} IpmiKestFruInfo;

LUMI_BEGIN_DECLS

/**
 * Reads and parses a FRU image, as ipmi_get_fru_info() does, and then its records of the maker.
 * @param[in]  handle  Open connection.
 * @param[in]  fruId   FRU device ID.
 * @param[out] info    The first member of an IpmiKestFruInfo: the records go to the bytes behind it, once the image was
 *                     parsed. To be released with ipmi_free_fru_info(), also after a failure.
 * @returns the statuses of ipmi_get_fru_info(), the records then untouched; those of ipmi_get_kest_fru_internal_info(),
 *          info then filled.
 */
LUMI_API uint32_t ipmi_get_kest_fru_info(IpmiHandle *handle, uint8_t fruId, IpmiFruInfo *info);

/**
 * Finds the maker's block in a FRU image and reads all records of its directory.
 * @param[out] records  Cleared first.
 * @param[in]  length   Bytes at image.
 * @param[in]  image
 * @returns
 * - 0: the last record of a known type was read. Those before it may have failed: the last one decides.
 * - IPMI_STATUS_APP_OEM_FRU: that record is damaged or lies outside the image; or there is none; or the block is absent
 *   or damaged.
 * - IPMI_STATUS_APP_INVALID_PARAMETER: a pointer is null.
 */
LUMI_API uint32_t ipmi_get_kest_fru_internal_info(IpmiKestFruRecords *records, uint16_t length, const uint8_t *image);

/**
 * Reads one record: the operating system name, type 0x0B.
 * @param[out] records  osName is written on success only.
 * @param[in]  record   From its first byte on; as long as its length byte tells.
 * @returns 0; IPMI_STATUS_APP_OEM_FRU for a wrong checksum, a record of 4 bytes or less, a name of more than 64 bytes
 * or one that leaves the record; IPMI_STATUS_APP_INVALID_PARAMETER when a pointer is null.
 */
LUMI_API uint32_t get_kest_fru_system_os_name(IpmiKestFruRecords *records, const uint8_t *record);
/** CPLD revisions, type 0x0C: a count and as many bytes, of which those are kept that fit into IpmiKestFruRecords.
 *  @returns 0; IPMI_STATUS_APP_OEM_FRU for a wrong checksum, which a record of length 0 does not have;
 *  IPMI_STATUS_APP_INVALID_PARAMETER when a pointer is null. */
LUMI_API uint32_t get_kest_fru_cpld_revisions(IpmiKestFruRecords *records, const uint8_t *record);
/** System MAC address data, type 0x0D: 16 bytes, whatever the length. As get_kest_fru_cpld_revisions(). */
LUMI_API uint32_t get_kest_fru_system_mac_address(IpmiKestFruRecords *records, const uint8_t *record);
/** PCBA test record, type 0x0E: 8 bytes, whatever the length. As get_kest_fru_cpld_revisions(). */
LUMI_API uint32_t get_kest_fru_pcba_test_record(IpmiKestFruRecords *records, const uint8_t *record);
/** BIOS information block, type 0xC3. Items whose checksum is wrong are passed over.
 *  @returns 0; IPMI_STATUS_APP_INVALID_PARAMETER when a pointer is null. */
LUMI_API uint32_t get_kest_fru_bib_info(IpmiKestFruRecords *records, const uint8_t *record);
/** Board-specific data, type 0xC4: 16 bytes, whatever the length. As get_kest_fru_cpld_revisions(). */
LUMI_API uint32_t get_kest_fru_board_specific_info(IpmiKestFruRecords *records, const uint8_t *record);

LUMI_END_DECLS

#endif
