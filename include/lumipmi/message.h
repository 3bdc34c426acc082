/** @file message.h
 *  Texts of sensor states and events.
 *
 *  A message is named by a key, an English phrase, and its text is that key: there is no catalogue. `context` is passed
 *  to the look-up and not used otherwise; it may be null. */
#ifndef LUMIPMI_MESSAGE_H
#define LUMIPMI_MESSAGE_H

#include <stddef.h>
#include <stdint.h>

#include "lumipmi/export.h"

/** ipmi_hlp_get_msg_by_bits() and ipmi_hlp_gen_every_msg_by_bits(): the bytes stand most significant first. */
enum { IPMI_MESSAGE_BITS_REVERSED = 0x01 };

LUMI_BEGIN_DECLS

/** Looks a message up in a catalogue. The parameters are not used.
 *  @returns IPMI_STATUS_APP_NOT_FOUND: there is none. */
LUMI_API uint32_t ipmi_hlp_get_msg_by_id(const char *id, const void *context, uint16_t size, char *text);

/**
 * Turns a key into an identifier: every byte that is no ASCII letter or digit becomes '_'.
 * @param[in]  key
 * @param[in]  size  Room at id in bytes; with 0 nothing is written.
 * @param[out] id    Terminated, cut to size.
 * @returns id.
 */
LUMI_API char *ipmi_hlp_get_msg_id(const char *key, uint16_t size, char *id);

/**
 * Gives the text of a message.
 * @param[in]  key
 * @param[in]  context
 * @param[in]  size     Room at text in bytes; with 0 nothing is written.
 * @param[out] text     Terminated, cut to size; the last of the size bytes is NUL, too.
 * @returns text.
 */
LUMI_API char *ipmi_hlp_get_msg(const char *key, const void *context, uint16_t size, char *text);
/** The same; end gets the place of the text's terminator, where another text can go on. */
LUMI_API char *ipmi_hlp_get_msg2(const char *key, const void *context, uint16_t size, char *text, char** end);

/**
 * Gives the text of a message in wide characters of the current locale.
 * @param[in]  key
 * @param[in]  context
 * @param[in]  size     Room at text in wide characters; a key that fills it is cut.
 * @param[out] text     Untouched without memory, or with size 0.
 * @returns text.
 */
LUMI_API wchar_t *ipmi_hlp_get_wmsg(const char *key, const void *context, uint16_t size, wchar_t *text);

/**
 * Gives the text of the first bit that is set. Bits count from the low end of the first byte; 0 to 14 are looked at.
 * @param[in]  context
 * @param[in]  bits        byteCount bytes.
 * @param[in]  byteCount
 * @param[in]  keyCount    Keys at keys. A bit without a key, or whose key is null, ends its byte.
 * @param[in]  keys        One key a bit. When null, or keyCount is 0, the text of bit 3 is "State 3 Asserted".
 * @param[in]  flags       IPMI_MESSAGE_BITS_REVERSED: the last byte comes first.
 * @param[in]  defaultKey  The text when no bit gives one.
 * @param[out] text        Cleared first, all of textSize; terminated, cut.
 * @param[in]  textSize    Room at text in bytes.
 * @returns 0; IPMI_STATUS_APP_INVALID_PARAMETER when bits, defaultKey or text is null, nothing is then written. A text
 *          of more than 1023 bytes is left out, and "string overflow" goes to standard output.
 */
LUMI_API uint32_t ipmi_hlp_get_msg_by_bits(const void *context, const uint8_t *bits, int32_t byteCount,
                                           int32_t keyCount, const char *const *keys, uint8_t flags,
                                           const char *defaultKey, char *text, int32_t textSize);

/**
 * Gives the texts of all bits that are set, joined by a separator. As ipmi_hlp_get_msg_by_bits(), but separator must
 * not be null either; 1023 bytes are the limit of all texts together, and what would go beyond is left out, a separator
 * with "string overflow", a text with "string overflow." on standard output.
 */
LUMI_API uint32_t ipmi_hlp_gen_every_msg_by_bits(const void *context, const uint8_t *bits, int32_t byteCount,
                                                 uint32_t keyCount, const char *const *keys, uint8_t flags,
                                                 const char *defaultKey, const char *separator, char *text,
                                                 int32_t textSize);

LUMI_END_DECLS

#endif
