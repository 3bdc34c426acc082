// A FRU image: parsed, every field rendered into several sizes and languages, released.
#include <clocale>
#include <cstring>
#include <iterator>
#include <memory>

#include "fuzz.hpp"
#include "lumipmi/fru.h"
#include "lumipmi/status.h"
#include "support/fru_builder.hpp"

using lumi::fuzz::require;

namespace {

constexpr uint16_t kRooms[] = {1, 2, 5, 64, 85, 190, 400};
constexpr uint8_t kLanguages[] = {0, 1, 25};

/// Into a buffer of exactly the size, so that the sanitizer sees a byte too many.
void render(const IpmiFruField& field, uint16_t size, uint8_t language) {
  const std::unique_ptr<char[]> dst(new char[size]);
  const uint32_t status = ipmi_hlp_get_fru_field(dst.get(), size, &field, language);
  require(status == 0 || status == IPMI_STATUS_APP_INSUFFICIENT_BUFFER || status == IPMI_STATUS_APP_ERROR);
  require(status != 0 || std::memchr(dst.get(), '\0', size) != nullptr);
  if (field.length == 0 || field.type_code == IPMI_FIELD_BINARY) return;  // binary would have to be a wide text
  for (const uint8_t flags : {uint8_t{0}, uint8_t{1}})
    (void)ipmi_hlp_decode_type_length(field.type_code, field.length, field.data, flags, size, dst.get());
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  std::setlocale(LC_CTYPE, "C.UTF-8");
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size > UINT16_MAX) return 0;
  IpmiFruInfo info;
  const uint32_t status = ipmi_parse_ipmi_fru_data(&info, static_cast<uint16_t>(size), data);
  require(status == 0 || status == IPMI_STATUS_APP_INVALID_FORMAT || data == nullptr);
  if (data == nullptr) return 0;
  size_t number = size;
  for (const IpmiFruField* field : lumi::test::fru_fields(info)) {
    require((field->data == nullptr) == (field->length == 0));
    const uint16_t room = kRooms[number++ % std::size(kRooms)];
    for (const uint8_t language : kLanguages) render(*field, room, language);
  }
  lumi::test::release_fru(info);

  // The input as a wide text of any length and alignment; the formatter is promised a terminator.
  const size_t units = std::min<size_t>(size / sizeof(wchar_t), 300);
  const std::unique_ptr<uint8_t[]> wide(new uint8_t[1 + (units + 1) * sizeof(wchar_t)]());
  std::memcpy(wide.get() + 1, data, units * sizeof(wchar_t));
  char text[2048];
  for (const uint8_t flags : {uint8_t{0}, uint8_t{1}})
    (void)ipmi_hlp_decode_type_length(IPMI_FIELD_BINARY, 0, wide.get() + 1, flags, sizeof text, text);
  return 0;
}

extern "C" size_t LLVMFuzzerCustomMutator(uint8_t* data, size_t size, size_t max_size, unsigned seed) {
  if (size < 8) {
    const Bytes image = lumi::test::full_fru_image().build();
    size = std::min(image.size(), max_size);
    std::memcpy(data, image.data(), size);
  }
  return lumi::fuzz::mutate(data, size, max_size, seed, lumi::test::fix_fru_checksums);
}
