/** @file utility.h
 *  Small tools for IPMI data: byte order, checksums, packed characters, lock files and time stamps.
 *
 *  "Host" byte order is least significant byte first, the order of IPMI messages; "network" byte order is most
 *  significant byte first. The byte order functions, get_check_sum and the two decoders do not check their pointers. */
#ifndef LUMIPMI_UTILITY_H
#define LUMIPMI_UTILITY_H

#include <stdint.h>

#include "lumipmi/export.h"

LUMI_BEGIN_DECLS

/** A point or span of time. */
typedef struct IpmiTimeval {
  int64_t seconds;      /**< Whole seconds; of a point in time, those since 1970-01-01 00:00:00 UTC. */
  int64_t microseconds; /**< Fraction of a second, 0 to 999999. */
} IpmiTimeval;

/**
 * Reads a number that stands least significant byte first.
 * @param[in] bytes  The number, count bytes.
 * @param[in] count  Number of bytes; of more than 4 the first 4 count.
 * @returns the number; 0 when count is 0 or negative.
 */
LUMI_API uint32_t host_bytes_to_uint32(const uint8_t *bytes, int32_t count);

/**
 * Reads a 16-bit number that stands least significant byte first.
 * @param[in] bytes  The number, 2 bytes.
 * @returns the number.
 */
LUMI_API uint16_t host_bytes_to_uint16(const uint8_t *bytes);

/**
 * Reads a number that stands most significant byte first.
 * @param[in] bytes  The number, count bytes.
 * @param[in] count  Number of bytes; of more than 4 the last 4 count.
 * @returns the number; 0 when count is 0 or negative.
 */
LUMI_API uint32_t network_bytes_to_uint32(const uint8_t *bytes, int32_t count);

/**
 * Reads a 16-bit number that stands most significant byte first.
 * @param[in] bytes  The number, 2 bytes.
 * @returns the number.
 */
LUMI_API uint16_t network_bytes_to_uint16(const uint8_t *bytes);

/**
 * Writes the low bytes of a number, least significant first.
 * @param[in]  value  The number.
 * @param[in]  count  Number of bytes to write; at most 4 are written, none when count is 0 or negative.
 * @param[out] out    Receives the bytes.
 */
LUMI_API void uint32_to_host_bytes(uint32_t value, int32_t count, uint8_t *out);

/**
 * Writes a 16-bit number, low byte first.
 * @param[in]  value  The number.
 * @param[out] out    Receives 2 bytes.
 */
LUMI_API void uint16_to_host_bytes(uint16_t value, uint8_t *out);

/**
 * Writes the low bytes of a number, the most significant of them first.
 * @param[in]  value  The number.
 * @param[in]  count  Number of bytes to write; at most 4 are written, none when count is 0 or negative.
 * @param[out] out    Receives the bytes.
 */
LUMI_API void uint32_to_network_bytes(uint32_t value, int32_t count, uint8_t *out);

/**
 * Writes a 16-bit number, high byte first.
 * @param[in]  value  The number.
 * @param[out] out    Receives 2 bytes.
 */
LUMI_API void uint16_to_network_bytes(uint16_t value, uint8_t *out);

/**
 * Sums bytes modulo 256. The result is the plain sum, not its complement: an area that ends in an IPMI checksum byte is
 * intact when the sum over all of it, from 0, is 0.
 * @param[in] length   Number of bytes.
 * @param[in] bytes    The bytes; null counts as no bytes.
 * @param[in] initial  Value to start from, such as the sum of an earlier piece.
 * @returns initial plus the sum of the bytes, modulo 256.
 */
LUMI_API uint8_t get_check_sum(uint16_t length, const uint8_t *bytes, uint8_t initial);

/**
 * Computes the checksum byte of IPMI messages (IPMI v2.0 rev 1.1, 13.8): the two's complement of the sum of the bytes,
 * which makes bytes and checksum together sum to 0 modulo 256.
 * @param[in]  bytes   The bytes to protect.
 * @param[in]  length  Number of bytes; 0 gives the checksum 0.
 * @param[out] out     Receives the checksum.
 * @returns
 * - 0: out is written.
 * - IPMI_STATUS_APP_INVALID_PARAMETER: bytes or out is null.
 */
LUMI_API uint32_t rmcp_checksum(const uint8_t *bytes, uint32_t length, uint8_t *out);

/**
 * Decodes BCD plus (IPMI v2.0 rev 1.1, 43.15): two characters in each byte, high nibble first, from the alphabet
 * "0123456789 -.:,_".
 * @param[out] out       Receives 2 * inLength characters and a terminator; untouched on failure.
 * @param[in]  outSize   Size of out in bytes, the terminator included.
 * @param[in]  in        Packed characters.
 * @param[in]  inLength  Number of bytes in in.
 * @returns 0, or -1 when outSize is too small.
 */
LUMI_API int32_t decode_bcd_plus(char *out, uint16_t outSize, const uint8_t *in, uint16_t inLength);

/**
 * Decodes 6-bit packed ASCII (IPMI v2.0 rev 1.1, 43.15): four characters from space to underscore in three bytes, least
 * significant bits first. The 8 * inLength / 6 whole characters are decoded, left-over bits are ignored.
 * @param[out] out       Receives the characters and a terminator. Its size is outSize + 1 bytes: the terminator may
 *                       stand behind outSize characters.
 * @param[in]  outSize   Greatest number of characters.
 * @param[in]  in        Packed characters.
 * @param[in]  inLength  Number of bytes in in; 0 gives an empty text.
 * @returns 0, or -1 when there are more characters than outSize; out then holds the first outSize, not terminated.
 */
LUMI_API int32_t decode_6bit_ascii(char *out, uint16_t outSize, const uint8_t *in, uint16_t inLength);

/**
 * Closes a file descriptor.
 * @param[in] fd  The descriptor.
 * @returns the result of close: 0, or -1 with errno set. A descriptor of -1 gives -1 and EBADF.
 */
LUMI_API int32_t close_file(int32_t fd);

/**
 * Opens a file and asks for an exclusive flock on it, without waiting. A new file gets the permissions 0660 less the
 * process's umask.
 *
 * A lock that somebody else holds is not noticed and the descriptor is returned all the same; the flags O_CREAT and
 * O_EXCL keep a second holder out, see lock_file.
 *
 * @param[in] path       Path of the file.
 * @param[in] openFlags  Flags of open, used as they stand.
 * @returns the descriptor, to be closed with close_file; -1 with errno set when the file cannot be opened; 2 when path
 *          is null (check for it before: 2 may be a descriptor as well).
 */
LUMI_API int32_t open_excl(const char *path, int32_t openFlags);

/**
 * Takes a lock file: creates it with open_excl and the flags O_WRONLY, O_CREAT and O_EXCL.
 * @param[in] path  Path of the lock file.
 * @returns the descriptor, to be given to unlock_file; -1 with errno set when the file exists already (EEXIST) or
 *          cannot be created; 2 when path is null.
 */
LUMI_API int32_t lock_file(const char *path);

/**
 * Gives a lock file back: closes its descriptor, then removes the file.
 * @param[in] path  Path of the lock file; null removes nothing.
 * @param[in] fd    Descriptor from lock_file.
 * @returns 0, whether or not there was a file to remove; -1 when the descriptor could not be closed: the file stays.
 */
LUMI_API int32_t unlock_file(const char *path, int32_t fd);

/**
 * Reads the real-time clock.
 * @param[out] out  Receives the time.
 * @returns
 * - 0: out is written.
 * - IPMI_STATUS_APP_INVALID_PARAMETER: out is null.
 */
LUMI_API uint32_t get_current_time(IpmiTimeval *out);

/**
 * Subtracts one time from another. out may be one of the operands.
 * @param[in]  later    The later time.
 * @param[in]  earlier  The earlier time.
 * @param[out] out      Receives later - earlier; untouched on failure.
 * @returns
 * - 0: out is written.
 * - IPMI_STATUS_APP_INVALID_PARAMETER: a pointer is null, or later precedes earlier.
 */
LUMI_API uint32_t diff_time(const IpmiTimeval *later, const IpmiTimeval *earlier, IpmiTimeval *out);

LUMI_END_DECLS

#endif
