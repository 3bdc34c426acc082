/** @file profile.h
 *  Reading of INI-style settings files under the Windows name and argument order. */
#ifndef LUMIPMI_PROFILE_H
#define LUMIPMI_PROFILE_H

#include <stdint.h>

#include "lumipmi/export.h"

LUMI_BEGIN_DECLS

/**
 * Reads one value from a file of "[section]" headers and "key=value" lines.
 *
 * Section and key match exactly: case and blanks count. The value is all that follows the first '=' of its line,
 * leading blanks and a carriage return included, without the newline. Lines that begin with ';' or '#' are comments.
 * Only the first section of the wanted name is searched. Lines are read in pieces of 255 characters, each of which
 * counts as a line of its own.
 *
 * @param[in]  section       Name of the section; null searches the lines before the first header.
 * @param[in]  key           Name of the setting; null finds nothing.
 * @param[in]  defaultValue  Text to use when file, section or key is missing; null stands for an empty text.
 * @param[out] out           Receives the text, cut to outSize - 1 characters and always terminated.
 * @param[in]  outSize       Size of out in bytes, the terminator included.
 * @param[in]  path          Path of the file; null counts as a missing file.
 * @returns the length of the text in out. 0 with out untouched when out is null or outSize is below 1.
 */
LUMI_API uint32_t GetPrivateProfileString(const char *section, const char *key, const char *defaultValue, char *out,
                                          int32_t outSize, const char *path);

LUMI_END_DECLS

#endif
