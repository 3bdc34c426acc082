/** @file fru.h
 *  FRU inventory images: reading, parsing, and rendering of their fields
 *  (IPMI Platform Management FRU Information Storage Definition v1.0 rev 1.3). */
#ifndef LUMIPMI_FRU_H
#define LUMIPMI_FRU_H

#include <stdint.h>

#include "lumipmi/connection.h"
#include "lumipmi/export.h"

/** Type codes of a field. */
enum { IPMI_FIELD_BINARY = 0, IPMI_FIELD_BCD_PLUS = 1, IPMI_FIELD_6BIT_ASCII = 2, IPMI_FIELD_TEXT = 3 };

/** One type/length-encoded field, undecoded. */
typedef struct IpmiFruField {
  uint8_t type_code; /**< 0 binary or unspecified, 1 BCD plus, 2 6-bit ASCII, 3 8-bit text */
  uint8_t length;    /**< 0 to 63 bytes at data */
  uint8_t *data;     /**< heap copy of the raw bytes, not terminated; null when length is 0 */
} IpmiFruField;

/** A parsed image. Filled by ipmi_parse_ipmi_fru_data(), released by ipmi_free_fru_info(). */
typedef struct IpmiFruInfo {
  /* common header; offsets in bytes, 0 where the area is absent */
  uint8_t format_version;
  uint16_t internal_use_offset;
  uint16_t chassis_offset;
  uint16_t board_offset;
  uint16_t product_offset;
  uint16_t multirecord_offset; /**< recorded only; the multirecord area is not decoded */
  uint8_t pad;
  /* internal use area */
  uint16_t internal_use_length;
  uint8_t *internal_use_data;
  /* chassis info area; area lengths in units of 8 bytes */
  uint8_t chassis_format_version;
  uint8_t chassis_area_length;
  uint32_t chassis_type;
  IpmiFruField chassis_part_number;
  IpmiFruField chassis_serial_number;
  uint8_t chassis_custom_count;
  IpmiFruField *chassis_custom_fields;
  /* board info area */
  uint8_t board_format_version;
  uint8_t board_area_length;
  uint8_t board_language_code;
  int64_t board_manufacturing_time; /**< seconds since 1970-01-01 00:00:00 UTC, counted from 1996-01-01 local time */
  IpmiFruField board_manufacturer;
  IpmiFruField board_product_name;
  IpmiFruField board_serial_number;
  IpmiFruField board_part_number;
  IpmiFruField board_fru_file_id;
  uint8_t board_custom_count;
  IpmiFruField *board_custom_fields;
  /* product info area */
  uint8_t product_format_version;
  uint8_t product_area_length;
  uint8_t product_language_code;
  IpmiFruField product_manufacturer;
  IpmiFruField product_name;
  IpmiFruField product_part_number;
  IpmiFruField product_version;
  IpmiFruField product_serial_number;
  IpmiFruField product_asset_tag;
  IpmiFruField product_fru_file_id;
  uint8_t product_custom_count;
  IpmiFruField *product_custom_fields;
} IpmiFruInfo;

LUMI_BEGIN_DECLS

/**
 * Reads and parses the whole image of a device: its size, its bytes, ipmi_parse_ipmi_fru_data().
 * @param[in]  handle  Open connection.
 * @param[in]  fruId   FRU device ID.
 * @param[out] info    Cleared before anything is sent. Release it with ipmi_free_fru_info(), also after a failure.
 * @returns
 * - 0: info is filled.
 * - IPMI_STATUS_APP_INVALID_PARAMETER: handle or info is null; nothing was sent.
 * - IPMI_STATUS_APP_NOT_ENOUGH_MEMORY: no memory for the image or a part of the record.
 * - IPMI_STATUS_APP_INVALID_FORMAT: not an image, also when the device holds fewer than 8 bytes.
 * - any status of ipmi_storage_get_fru_inventory_info() and ipmi_storage_read_fru_data_2().
 */
LUMI_API uint32_t ipmi_get_fru_info(IpmiHandle *handle, uint8_t fruId, IpmiFruInfo *info);

/**
 * Reads the image of a device, as far as the image itself says that it reaches.
 *
 * Bytes are fetched from offset 0 in passes of 256 or, when the known end is farther away, up to 2 bytes behind it. The
 * last area decides about the end:
 * - internal use, or no area at all: 256 bytes behind its offset;
 * - multirecord: the records are followed to the one that is marked as the last;
 * - any other: its length byte behind its offset, taken as a count of bytes.
 * One more pass is made when what was fetched does not exceed the end. Reading also stops when the buffer is full,
 * which is a success; so it is for a buffer below 8 bytes, and for one of 0, for which nothing is sent.
 * @param[in]     handle  Open connection.
 * @param[in]     fruId   FRU device ID.
 * @param[in,out] length  In: size of buffer in bytes; out: bytes fetched. Untouched on failure.
 * @param[out]    buffer  The image, each byte at its own offset. On failure it holds what was fetched until then.
 * @returns
 * - 0: length and buffer are filled.
 * - IPMI_STATUS_APP_INVALID_PARAMETER: a null pointer; nothing was sent.
 * - any status of ipmi_storage_read_fru_data_2(), also its 0x200000C9 when the device ends before the pass does.
 */
LUMI_API uint32_t ipmi_storage_read_ipmi_fru_data(IpmiHandle *handle, uint8_t fruId, uint16_t *length, uint8_t *buffer);

/**
 * Parses an image (FRU Information Storage Definition v1.0 rev 1.3, clauses 8 to 13).
 *
 * Header and areas are accepted with bits 1 to 3 of their format byte 0 and a right checksum; an area whose length byte
 * is 0 has none. Fields follow one another whatever the length of the area, up to the end of the image. The number of
 * custom fields in an area is taken modulo 256, and as many are decoded. The internal use copy is as long as the lowest
 * offset among the areas behind it, or as the image; bytes that lie beyond the image are 0 in it.
 * @param[out] info    Cleared first. Release it with ipmi_free_fru_info(), also after a failure.
 * @param[in]  length  Bytes at image; nothing beyond them is read.
 * @param[in]  image   Each byte at its own offset.
 * @returns
 * - 0: info is filled.
 * - IPMI_STATUS_APP_INVALID_PARAMETER: info or image is null; info is untouched.
 * - IPMI_STATUS_APP_INVALID_FORMAT: a bad format byte or checksum; the header, an area's fixed bytes or checksummed
 *   bytes, a field, or the fields up to the end marker (0xC1) leave the image.
 * - IPMI_STATUS_APP_NOT_ENOUGH_MEMORY
 *
 * After the last two, info holds what was decoded before the fault: the field that failed is empty, as are all fields
 * behind it. When a custom field fails, the board or product area shows no custom fields at all, while the chassis area
 * keeps their count and array.
 */
LUMI_API uint32_t ipmi_parse_ipmi_fru_data(IpmiFruInfo *info, uint16_t length, const uint8_t *image);

/**
 * Releases the data of a record's fields and of its internal use area, once per parsed record.
 *
 * It does not release the arrays chassis_custom_fields, board_custom_fields and product_custom_fields: pass each of
 * them to free() afterwards, or they leak. Of the pointers it clears internal_use_data only, so that a second call on
 * the same record would release the same blocks twice.
 * @param[in,out] info  A record that ipmi_parse_ipmi_fru_data() or ipmi_get_fru_info() has cleared; null is ignored.
 */
LUMI_API void ipmi_free_fru_info(IpmiFruInfo *info);

/**
 * Subtracts bytes from a seed, modulo 256: with seed 0, the checksum byte that makes the bytes sum to 0.
 * @param[in] data    Not tested for null.
 * @param[in] length  Bytes at data, taken as unsigned: -1 is 65535. With 0, data is not read.
 * @param[in] seed
 * @returns seed minus the sum of the bytes.
 */
LUMI_API uint8_t sumcheck(const uint8_t *data, int16_t length, uint8_t seed);

/**
 * Renders a field of a parsed record as text.
 *
 * - Binary: each byte as two upper-case hex digits and a space, the last byte too: "01 02 ".
 * - BCD plus, 6-bit ASCII: one character per 4 or 6 bits.
 * - 8-bit text, language code 0 or 25 (English): the bytes as they are.
 * - 8-bit text, any other language code: each byte as a Unicode code point in the encoding of the current locale.
 * @param[out] dst           Cleared first, all dstSize bytes; never written beyond them. Give it 64 bytes for English
 *                           text, 127 for BCD plus, 85 for 6-bit ASCII and 190 for binary, and any field fits.
 * @param[in]  dstSize       Bytes at dst.
 * @param[in]  field         Null or of length 0 gives the empty text.
 * @param[in]  languageCode  Of the board or product area; matters to 8-bit text only. Chassis fields are English.
 * @returns
 * - 0: dst holds the text and its terminator.
 * - IPMI_STATUS_APP_INVALID_PARAMETER: dst is null or dstSize 0, or the field has a length and no data.
 * - IPMI_STATUS_APP_INSUFFICIENT_BUFFER: text and terminator do not fit. dst holds as much of the text as fits with a
 *   terminator, but nothing of a BCD plus field, and of a 6-bit ASCII field dstSize characters without a terminator.
 * - IPMI_STATUS_APP_ERROR: the locale has no character for a byte; dst holds the text before it.
 * - IPMI_STATUS_APP_INVALID_FORMAT: the field has a type code above 3; the text is empty.
 */
LUMI_API uint32_t ipmi_hlp_get_fru_field(char *dst, uint16_t dstSize, const IpmiFruField *field, uint8_t languageCode);

/**
 * Decodes the data of a type/length field into a narrow or a wide text.
 *
 * BCD plus and 6-bit ASCII are decoded, 8-bit text is taken as it is up to its first NUL. Type code 0 does not mean
 * binary here: data is then a terminated wide text (wchar_t, no alignment needed), which is converted up to 255 bytes
 * of narrow text. Conversions between narrow and wide go by the current locale.
 * @param[in]  typeCode  0 to 3, see IPMI_FIELD_BINARY and the others.
 * @param[in]  length    Bytes at data, at most 63; for type code 0 tested, but not used.
 * @param[in]  data      Not null, even with length 0.
 * @param[in]  flags     Bit 0: wide output. Other bits are ignored.
 * @param[in]  dstSize   Bytes at dst. Narrow output needs one byte more than the text and its terminator; wide output
 *                       needs 4 bytes per byte of the narrow text and 4 for the terminator.
 * @param[out] dst       char or wchar_t (no alignment needed); untouched on failure and behind the terminator.
 * @returns
 * - 0: dst holds the text and its terminator.
 * - IPMI_STATUS_APP_INVALID_PARAMETER: length above 63, dst or data null.
 * - IPMI_STATUS_APP_INVALID_FORMAT: a type code above 3.
 * - IPMI_STATUS_APP_INSUFFICIENT_BUFFER: dst is too small, or the wide text at data has more than 254 characters.
 * - IPMI_STATUS_APP_ERROR: a character that the current locale cannot convert.
 */
LUMI_API uint32_t ipmi_hlp_decode_type_length(uint32_t typeCode, uint8_t length, const uint8_t *data, uint8_t flags,
                                              uint16_t dstSize, void *dst);

LUMI_END_DECLS

#endif
