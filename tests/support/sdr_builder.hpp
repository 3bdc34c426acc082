// Sensor data records by the names of their fields: built from a description, and decoded by the same table with a
// naive model, bit by bit, to hold the decoder against.
//
//   SdrBuilder(IPMI_SDR_FULL_SENSOR).set("sensor_number", 0x30).set("m", -2).text("CPU Temp").bytes()
#ifndef LUMIPMI_TESTS_SDR_BUILDER_HPP
#define LUMIPMI_TESTS_SDR_BUILDER_HPP

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "lumipmi/sdr.h"

namespace lumi::test {

/// record[byte][high:low] is bit `to` and up of the field.
struct SdrSlice {
  uint8_t byte, high, low, to;
};

struct SdrField {
  const char* name;
  size_t offset;  // in IpmiSdrInfo
  size_t size;
  enum Kind {
    kNumber,
    kNonZero,         // 1 when any bit is set
    kTwosComplement,  // as wide as its slices
    kAnalog,          // by the analog data format of the record
    kThresholds,      // 0 unless the event/reading type code is 1
    kFruDevice        // shifted right by one unless the FRU is logical
  } kind;
  std::vector<SdrSlice> slices;
};

struct SdrLayout {
  uint8_t type;
  uint16_t minimum;    // bytes
  uint8_t text_at;     // where the ID string starts, behind its type/length byte; 0: no ID string
  uint8_t text_room;   // bytes of room in IpmiSdrInfo
  size_t text_offset;  // in IpmiSdrInfo
  std::vector<SdrField> fields;
};

/// The record types that have fields of their own.
const std::vector<SdrLayout>& sdr_layouts();
/// The layout of a type; a type without fields has one all the same, with no fields.
const SdrLayout& sdr_layout(uint8_t type);

class SdrBuilder {
 public:
  /// A record of minimum length with version 0x51, all fields 0.
  explicit SdrBuilder(uint8_t type);
  SdrBuilder& set(const std::string& field, int32_t value);
  SdrBuilder& byte(size_t index, uint8_t value);
  SdrBuilder& text(const std::string& text, uint8_t type_code = 3);
  /// A record of the types that are kept raw.
  SdrBuilder& body(const std::vector<uint8_t>& bytes);
  std::vector<uint8_t> bytes() const { return bytes_; }

 private:
  std::vector<uint8_t> bytes_;
};

/// A field of a decoded record by its name.
int32_t sdr_field(const IpmiSdrInfo& info, const std::string& field);

/// What ipmi_hlp_format_sdr_record() must make of a record with `length` = the size of the vector, at least 5.
uint32_t sdr_model(const std::vector<uint8_t>& record, IpmiSdrInfo* info);

/// Records of every type, with every field in use.
std::vector<std::vector<uint8_t>> sdr_seeds();

/// Decodes a record that lies in heap memory of exactly its size and holds it against the model; then builds names and
/// converts readings with what was decoded. Returns what is wrong, or an empty string.
std::string sdr_faults(const uint8_t* record, size_t size);

}  // namespace lumi::test

#endif
