// An event record: decoded, and held against the tables of IPMI v2.0 rev 1.1, 32.1 to 32.3, written down once more.
#include <cstring>
#include <memory>

#include "fuzz.hpp"
#include "lumipmi/sel.h"

using lumi::fuzz::require;

namespace {

constexpr size_t kRecordSize = 16;

void check_system_event(const uint8_t* raw, uint64_t time, const IpmiSelSystemEvent& event) {
  require(event.timestamp == time);
  require(event.generator_id_type == raw[7] % 2u && event.generator_id == raw[7]);
  require(event.generator_lun == raw[8] % 4 && event.generator_channel == raw[8] / 16);
  require(event.evm_rev == raw[9] && event.sensor_type == raw[10] && event.sensor_number == raw[11]);
  require(event.event_dir == raw[12] / 128 && event.event_type == raw[12] % 128);
  require(std::memcmp(event.event_data, raw + 13, 3) == 0);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < kRecordSize) return 0;
  const std::unique_ptr<uint8_t[]> raw(new uint8_t[kRecordSize]);
  const auto entry = std::make_unique<IpmiSelEntry>();
  std::memcpy(raw.get(), data, kRecordSize);
  std::memset(static_cast<void*>(entry.get()), 0xA5, sizeof *entry);
  ipmi_translate_sel_raw_data_to_entry(raw.get(), entry.get());

  const uint64_t time = data[3] + 0x100u * data[4] + 0x10000u * data[5] + 0x1000000u * uint64_t{data[6]};
  require(entry->record_id == data[0] + 0x100 * data[1] && entry->record_type == data[2]);
  if (data[2] == 0x02) {
    check_system_event(data, time, entry->body.system);
  } else if (data[2] / 32 == 6) {  // C0h to DFh
    require(entry->body.oem_timestamped.timestamp == time);
    require(std::memcmp(entry->body.oem_timestamped.manufacturer_id, data + 7, 3) == 0);
    require(std::memcmp(entry->body.oem_timestamped.oem_data, data + 10, 6) == 0);
  } else {
    require(std::memcmp(entry->body.oem_bytes, data + 3, 13) == 0);
  }
  return 0;
}
