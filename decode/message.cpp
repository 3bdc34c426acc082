// Texts of sensor states and events: the keys themselves, as there is no catalogue.
#include "lumipmi/message.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "lumipmi/status.h"
#include "platform/text.hpp"

using namespace lumi;

namespace {

constexpr size_t kScratch = 1024;
constexpr size_t kStateText = 30;
constexpr int kEventOffsets = 15;  // of an event/reading type

/// What the two functions on bits are given.
struct BitTexts {
  const uint8_t* bits;
  int32_t byte_count;
  int64_t key_count;
  const char* const* keys;
  bool reversed;
};

bool is_alphanumeric(char c) {
  return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
}

/// Calls `use` with the message of every bit that is set, until it returns false. The message is null for a bit without
/// a key, whose text is "State 3 Asserted".
template <typename Use>
void for_each_set_bit(const BitTexts& in, const Use& use) {
  const bool with_keys = in.keys != nullptr && in.key_count != 0;
  for (int32_t position = 0; position < in.byte_count; ++position) {
    const uint8_t byte = in.bits[in.reversed ? in.byte_count - 1 - position : position];
    for (int bit = 0; bit < 8; ++bit) {
      const int index = position * 8 + bit;
      if (index >= kEventOffsets) return;
      // The end of the keys ends the byte, not the walk: the next byte is looked at all the same.
      if (with_keys && (index >= in.key_count || in.keys[index] == nullptr)) break;
      if ((byte >> bit & 1) == 0) continue;
      if (!use(index, with_keys ? in.keys[index] : nullptr)) return;
    }
  }
}

void append_state(int index, char (&scratch)[kScratch]) {
  char text[kStateText];
  std::snprintf(text, sizeof text, "%s %d %s", "State", index, "Asserted");  // each word is a message, its own text
  (void)append_text(scratch, sizeof scratch, text);
}

/// Appends a text whole or not at all.
bool append_whole(char (&scratch)[kScratch], const char* text, const char* complaint) {
  const size_t used = std::strlen(scratch);
  if (strnlen(text, kScratch) < kScratch - used) return append_text(scratch, sizeof scratch, text);
  std::fputs(complaint, stdout);
  return false;
}

/// The texts, or the message of the default key when there are none.
void finish(const char (&scratch)[kScratch], const char* default_key, char* text, int32_t size) {
  if (size > 0) (void)copy_text(text, static_cast<size_t>(size), scratch[0] != '\0' ? scratch : default_key);
}

void clear(char* text, int32_t size) {
  if (size > 0) std::memset(text, 0, static_cast<size_t>(size));
}

}  // namespace

extern "C" uint32_t ipmi_hlp_get_msg_by_id(const char*, const void*, uint16_t, char*) {
  return IPMI_STATUS_APP_NOT_FOUND;
}

extern "C" char* ipmi_hlp_get_msg_id(const char* key, uint16_t size, char* id) {
  if (key == nullptr || id == nullptr || size == 0) return id;
  (void)copy_text(id, size, key);
  for (char* c = id; *c != '\0'; ++c)
    if (!is_alphanumeric(*c)) *c = '_';
  return id;
}

extern "C" char* ipmi_hlp_get_msg(const char* key, const void* context, uint16_t size, char* text) {
  if (key == nullptr || text == nullptr || size == 0) return text;
  text[0] = '\0';
  char id[kScratch];
  (void)ipmi_hlp_get_msg_id(key, sizeof id, id);
  if (ipmi_hlp_get_msg_by_id(id, context, size, text) != IPMI_STATUS_APP_NOT_FOUND) return text;
  text[size - 1] = '\0';
  (void)copy_text(text, size, key);
  return text;
}

extern "C" char* ipmi_hlp_get_msg2(const char* key, const void* context, uint16_t size, char* text, char** end) {
  (void)ipmi_hlp_get_msg(key, context, size, text);
  if (text != nullptr && end != nullptr) *end = text + strnlen(text, size);
  return text;
}

extern "C" wchar_t* ipmi_hlp_get_wmsg(const char* key, const void* context, uint16_t size, wchar_t* text) {
  if (key == nullptr || text == nullptr || size == 0) return text;
  char* narrow = static_cast<char*>(std::malloc(size));
  if (narrow == nullptr) return text;
  (void)ipmi_hlp_get_msg(key, context, size, narrow);
  (void)std::mbstowcs(text, narrow, size);
  std::free(narrow);
  return text;
}

extern "C" uint32_t ipmi_hlp_get_msg_by_bits(const void*, const uint8_t* bits, int32_t byteCount, int32_t keyCount,
                                             const char* const* keys, uint8_t flags, const char* defaultKey, char* text,
                                             int32_t textSize) {
  if (bits == nullptr || defaultKey == nullptr || text == nullptr) return IPMI_STATUS_APP_INVALID_PARAMETER;
  clear(text, textSize);

  const BitTexts in = {bits, byteCount, keyCount, keys, (flags & IPMI_MESSAGE_BITS_REVERSED) != 0};
  char scratch[kScratch] = {};
  for_each_set_bit(in, [&](int index, const char* message) {
    if (message == nullptr)
      append_state(index, scratch);
    else
      (void)append_whole(scratch, message, "string overflow");
    return false;  // the first one only
  });
  finish(scratch, defaultKey, text, textSize);
  return 0;
}

extern "C" uint32_t ipmi_hlp_gen_every_msg_by_bits(const void*, const uint8_t* bits, int32_t byteCount,
                                                   uint32_t keyCount, const char* const* keys, uint8_t flags,
                                                   const char* defaultKey, const char* separator, char* text,
                                                   int32_t textSize) {
  if (bits == nullptr || defaultKey == nullptr || separator == nullptr || text == nullptr)
    return IPMI_STATUS_APP_INVALID_PARAMETER;
  clear(text, textSize);

  const BitTexts in = {bits, byteCount, keyCount, keys, (flags & IPMI_MESSAGE_BITS_REVERSED) != 0};
  char scratch[kScratch] = {};
  for_each_set_bit(in, [&](int index, const char* message) {
    if (scratch[0] != '\0') (void)append_whole(scratch, separator, "string overflow");
    if (message == nullptr)
      append_state(index, scratch);
    else
      (void)append_whole(scratch, message, "string overflow.");  // with a full stop, unlike the other
    return true;
  });
  finish(scratch, defaultKey, text, textSize);
  return 0;
}
