// A SEL record in its decoded form (IPMI v2.0 rev 1.1, 32.1 to 32.3).
#include "core/bytes.hpp"
#include "lumipmi/sel.h"

using namespace lumi;

extern "C" void ipmi_translate_sel_raw_data_to_entry(const uint8_t raw[16], IpmiSelEntry* entry) {
  ByteReader record(raw, 16);
  entry->record_id = record.le16();  // bytes 0-1
  entry->record_type = record.u8();  // byte 2

  if (entry->record_type == 0x02) {
    IpmiSelSystemEvent& event = entry->body.system;
    event.timestamp = record.le32();        // bytes 3-6
    const uint8_t generator = record.u8();  // byte 7
    event.generator_id_type = bits(generator, 0, 0);
    event.generator_id = generator;       // the type bit included
    const uint8_t channel = record.u8();  // byte 8
    event.generator_lun = bits(channel, 1, 0);
    event.generator_channel = bits(channel, 7, 4);
    event.evm_rev = record.u8();        // byte 9
    event.sensor_type = record.u8();    // byte 10
    event.sensor_number = record.u8();  // byte 11
    const uint8_t type = record.u8();   // byte 12
    event.event_dir = bits(type, 7, 7);
    event.event_type = bits(type, 6, 0);
    record.copy(event.event_data);  // bytes 13-15
  } else if (entry->record_type >= 0xC0 && entry->record_type <= 0xDF) {
    IpmiSelOemTimestamped& oem = entry->body.oem_timestamped;
    oem.timestamp = record.le32();     // bytes 3-6
    record.copy(oem.manufacturer_id);  // bytes 7-9
    record.copy(oem.oem_data);         // bytes 10-15
  } else {
    record.copy(entry->body.oem_bytes);  // bytes 3-15
  }
}
