// The texts: type/length fields, and messages for bits. The first byte of the input chooses the functions, the next
// ones are their arguments.
#include <clocale>
#include <cstring>

#include "fuzz.hpp"
#include "lumipmi/fru.h"
#include "lumipmi/message.h"
#include "lumipmi/status.h"
#include "lumipmi/utility.h"
#include "support/guarded_bytes.hpp"

using lumi::fuzz::Input;
using lumi::fuzz::require;
using lumi::test::GuardedBytes;

namespace {

constexpr uint8_t kFill = 0xA5;
constexpr uint8_t kEnglish = 25;
constexpr size_t kEnough = 1024;

bool is_terminated(const void* text, size_t size, size_t unit) {
  const auto* bytes = static_cast<const uint8_t*>(text);
  for (size_t at = 0; at + unit <= size; at += unit)
    if (std::all_of(bytes + at, bytes + at + unit, [](uint8_t byte) { return byte == 0; })) return true;
  return false;
}

/// As an encoded field: rendered into any room, and by both functions into enough of it.
void fields(Input input) {
  const uint8_t type = input.u8() % 5;  // 4 is none
  const uint8_t flags = input.u8();
  const uint8_t language = input.u8();
  const auto room = static_cast<uint16_t>(input.le16() % kEnough);
  GuardedBytes data(input.take(input.u8() % 70));
  const auto length = static_cast<uint8_t>(data.size());

  // Binary means wide text to the decoder, whose length is in its terminator.
  GuardedBytes wide(Bytes(data.size() / sizeof(wchar_t) * sizeof(wchar_t) + sizeof(wchar_t)));
  std::copy_n(data.data(), wide.size() - sizeof(wchar_t), wide.data());
  const uint8_t* source = type == IPMI_FIELD_BINARY ? wide.data() : data.data();
  GuardedBytes dst(room, kFill);
  const uint32_t decoded = ipmi_hlp_decode_type_length(type, length, source, flags, room, dst.data());
  if (decoded == 0)
    require(is_terminated(dst.data(), room, (flags & 1) != 0 ? sizeof(wchar_t) : 1));
  else
    require(dst.content() == std::string(room, static_cast<char>(kFill)));

  IpmiFruField field = {type, length, data.data()};
  GuardedBytes text(room, kFill);
  if (ipmi_hlp_get_fru_field(text.text(), room, &field, language) == 0) require(is_terminated(text.data(), room, 1));

  GuardedBytes one(kEnough, kFill), other(kEnough, kFill);
  if (type == IPMI_FIELD_BINARY || type > IPMI_FIELD_TEXT || length == 0 || length > 63) return;
  require(ipmi_hlp_decode_type_length(type, length, data.data(), 0, kEnough, one.data()) == 0);
  require(ipmi_hlp_get_fru_field(other.text(), kEnough, &field, kEnglish) == 0);
  require(std::strcmp(one.text(), other.text()) == 0);
}

/// The decoders below, which take more than 63 bytes.
void packed(Input input) {
  const auto room = static_cast<uint16_t>(input.le16() % kEnough);
  GuardedBytes data(input.rest());
  const auto length = static_cast<uint16_t>(std::min<size_t>(data.size(), UINT16_MAX));
  GuardedBytes bcd(room, kFill), ascii(room + 1u, kFill);
  if (decode_bcd_plus(bcd.text(), room, data.data(), length) == 0)
    require(std::strlen(bcd.text()) == length * 2u);
  else
    require(bcd.content() == std::string(room, static_cast<char>(kFill)));
  if (decode_6bit_ascii(ascii.text(), room, data.data(), length) == 0)
    require(std::strlen(ascii.text()) == length * 8u / 6);
}

/// Bits, and a line for each key; the first two are default and separator. An empty line is no key at all.
void messages(Input input) {
  const uint8_t flags = input.u8();
  const int32_t room = input.le16() % 1200;
  const int32_t byte_count = input.u8() % 4;
  const size_t key_count = input.u8() % 20;
  GuardedBytes bits(static_cast<size_t>(byte_count));
  for (size_t i = 0; i < bits.size(); ++i) bits.data()[i] = input.u8();
  const std::string default_key = input.line(), separator = input.line();
  std::vector<std::string> lines;
  while (lines.size() < key_count) lines.push_back(input.line());
  std::vector<const char*> keys;
  for (const std::string& line : lines) keys.push_back(line.empty() ? nullptr : line.c_str());

  GuardedBytes first(static_cast<size_t>(room), kFill), all(static_cast<size_t>(room), kFill);
  require(ipmi_hlp_get_msg_by_bits(nullptr, bits.data(), byte_count, static_cast<int32_t>(key_count), keys.data(),
                                   flags, default_key.c_str(), first.text(), room) == 0);
  require(ipmi_hlp_gen_every_msg_by_bits(nullptr, bits.data(), byte_count, static_cast<uint32_t>(key_count),
                                         keys.data(), flags, default_key.c_str(), separator.c_str(), all.text(),
                                         room) == 0);
  const auto size = static_cast<uint16_t>(room);
  GuardedBytes id(size, kFill), text(size, kFill), wide(size * sizeof(wchar_t), kFill);
  char* end = nullptr;
  (void)ipmi_hlp_get_msg_id(default_key.c_str(), size, id.text());
  (void)ipmi_hlp_get_msg2(default_key.c_str(), nullptr, size, text.text(), &end);
  (void)ipmi_hlp_get_wmsg(default_key.c_str(), nullptr, size, reinterpret_cast<wchar_t*>(wide.data()));
  if (room == 0) return;
  for (GuardedBytes* out : {&first, &all, &id, &text}) require(is_terminated(out->data(), size, 1));
  require(*end == '\0' && end == text.text() + std::strlen(text.text()));
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  std::setlocale(LC_CTYPE, "C.UTF-8");
  lumi::fuzz::discard_standard_output();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  constexpr void (*kFunctions[])(Input) = {fields, packed, messages};
  Input input(data, size);
  kFunctions[input.u8() % std::size(kFunctions)](input);
  return 0;
}
