/** @file sdr.h
 *  Sensor data records: fetching a whole record, decoding it, names of shared sensors
 *  (IPMI v2.0 rev 1.1, 43). */
#ifndef LUMIPMI_SDR_H
#define LUMIPMI_SDR_H

#include <stddef.h>
#include <stdint.h>

#include "lumipmi/connection.h"
#include "lumipmi/export.h"

/** Record types of IpmiSdrInfo::record_type. */
enum {
  IPMI_SDR_FULL_SENSOR = 0x01,
  IPMI_SDR_COMPACT_SENSOR = 0x02,
  IPMI_SDR_EVENT_ONLY = 0x03,
  IPMI_SDR_ENTITY_ASSOCIATION = 0x08,
  IPMI_SDR_DEVICE_ENTITY_ASSOCIATION = 0x09,
  IPMI_SDR_GENERIC_LOCATOR = 0x10,
  IPMI_SDR_FRU_LOCATOR = 0x11,
  IPMI_SDR_MC_LOCATOR = 0x12,
  IPMI_SDR_MC_CONFIRMATION = 0x13,
  IPMI_SDR_BMC_CHANNEL_INFO = 0x14,
  IPMI_SDR_OEM = 0xC0
};

/** An entity: what a sensor or a FRU belongs to. */
typedef struct IpmiEntity {
  uint32_t id;      /**< IPMI v2.0 rev 1.1, table 43-13 */
  uint8_t instance; /**< 0x00 to 0x5F of the system, 0x60 to 0x7F relative to the device */
} IpmiEntity;

/** Full sensor record, type 0x01 (43.1). Flags hold 0 or 1. */
typedef struct IpmiSdrFullSensor {
  uint8_t owner_is_software_id;
  uint8_t owner_id;                /**< slave address or software ID in bits 7..1, bit 0 clear */
  uint8_t owner_lun;               /**< 0 to 3 */
  uint8_t sensor_number;           /**< unique behind its owner and LUN */
  uint8_t channel_number;          /**< 0 to 15 */
  uint8_t entity_is_logical;       /**< 0: the entity is physical */
  IpmiEntity entity;               /**< what the sensor watches; instance 0 to 127 */
  uint8_t init_scanning;           /**< scanning is enabled at initialization */
  uint8_t init_events;             /**< so are events, */
  uint8_t init_thresholds;         /**< and the thresholds are set, */
  uint8_t init_hysteresis;         /**< the hysteresis, */
  uint8_t init_sensor_type;        /**< the types */
  uint8_t events_enabled;          /**< at power up */
  uint8_t scanning_enabled;        /**< at power up */
  uint8_t ignore_if_entity_absent; /**< ignore the sensor while its entity is absent or disabled */
  uint8_t auto_rearm;
  uint8_t hysteresis_supported;      /**< 1 for readable, settable and fixed hysteresis alike */
  uint8_t threshold_access;          /**< 0 none, 1 readable, 2 readable and settable, 3 fixed */
  uint8_t event_message_control;     /**< 0 per event, 1 whole sensor, 2 global disable only, 3 none */
  uint8_t sensor_type;               /**< table 42-3 */
  uint8_t event_reading_type;        /**< table 42-1; 1: threshold sensor */
  uint16_t assertion_mask;           /**< bits 11..0 */
  uint16_t deassertion_mask;         /**< bits 11..0 */
  uint8_t threshold_comparison_mask; /**< thresholds whose comparison a reading returns: bits 2..0 lower, 5..3 upper */
  uint8_t settable_threshold_mask;   /**< 0 unless event_reading_type is 1 */
  uint8_t readable_threshold_mask;   /**< 0 unless event_reading_type is 1 */
  uint32_t analog_data_format;       /**< 0 unsigned, 1 one's complement, 2 two's complement, 3 no analog reading */
  uint8_t rate_unit;                 /**< 0 none, 1 per us, 2 per ms, 3 per s, 4 per minute, 5 per hour, 6 per day */
  uint8_t modifier_unit_use;         /**< 0 none, 1 base / modifier, 2 base * modifier */
  uint8_t percentage;                /**< 1: the unit is percent */
  uint8_t base_unit;                 /**< table 43-15 */
  uint8_t modifier_unit;             /**< table 43-15 */
  uint8_t linearization;             /**< index into CalculateFormula; 0x70 to 0x7F non-linear */
  uint8_t tolerance;                 /**< +/- half raw counts, 6 bits */
  int16_t m;                         /**< -512 to 511 */
  int16_t b;                         /**< -512 to 511 */
  int8_t b_exponent;                 /**< K1, -8 to 7 */
  int8_t result_exponent;            /**< K2, -8 to 7 */
  uint16_t precision;                /**< accuracy in 1/100 percent, scaled by 10^precision_exponent; 10 bits */
  uint8_t precision_exponent;        /**< 0 to 3 */
  uint8_t analog_flags;              /**< bit 0 nominal reading, 1 normal maximum, 2 normal minimum specified */
  int16_t nominal_reading;           /**< this and the next four are raw readings widened by analog_data_format */
  int16_t normal_maximum;
  int16_t normal_minimum;
  int16_t sensor_maximum;
  int16_t sensor_minimum;
  uint16_t upper_non_recoverable; /**< this and the next five are raw bytes, without sign conversion */
  uint16_t upper_critical;
  uint16_t upper_non_critical;
  uint16_t lower_non_recoverable;
  uint16_t lower_critical;
  uint16_t lower_non_critical;
  uint8_t positive_hysteresis; /**< raw counts */
  uint8_t negative_hysteresis; /**< raw counts */
  uint8_t oem;
  uint8_t id_string_type;   /**< type code for ipmi_hlp_decode_type_length() */
  uint8_t id_string_length; /**< bytes, 0 to 16 */
  uint8_t id_string[16];    /**< raw, rest zero; not terminated when all 16 are used */
} IpmiSdrFullSensor;

/** Compact sensor record, type 0x02 (43.2). Fields that a full sensor record has too mean the same. */
typedef struct IpmiSdrCompactSensor {
  uint8_t owner_is_software_id;
  uint8_t owner_id;
  uint8_t owner_lun;
  uint8_t sensor_number;
  uint8_t channel_number;
  uint8_t fru_owner_lun; /**< 0 to 3 */
  uint8_t entity_is_logical;
  IpmiEntity entity;
  uint8_t init_scanning;
  uint8_t init_events;
  uint8_t init_thresholds;
  uint8_t init_hysteresis;
  uint8_t init_sensor_type;
  uint8_t events_enabled;
  uint8_t scanning_enabled;
  uint8_t ignore_if_entity_absent;
  uint8_t auto_rearm;
  uint8_t hysteresis_supported;
  uint8_t threshold_access;
  uint8_t event_message_control;
  uint8_t sensor_type;
  uint8_t event_reading_type;
  uint16_t assertion_mask;
  uint16_t deassertion_mask;
  uint16_t reading_mask; /**< states that can be read, bits 14..0 */
  uint8_t rate_unit;
  uint8_t modifier_unit_use;
  uint8_t percentage;
  uint8_t base_unit;
  uint8_t modifier_unit;
  uint8_t direction;                  /**< 0 unspecified, 1 input, 2 output */
  uint8_t id_string_modifier_type;    /**< 0 numeric, 1 alphabetic; for ipmi_hlp_get_share_sdr_string() */
  uint8_t share_count;                /**< sensors that share the record, 0 to 15 */
  uint8_t entity_instance_increments; /**< 1: the entity instance grows with each shared sensor */
  uint8_t id_string_modifier_offset;  /**< of the first sensor, 0 to 127 */
  uint8_t positive_hysteresis;
  uint8_t negative_hysteresis;
  uint8_t oem;
  uint8_t id_string_type;
  uint8_t id_string_length; /**< bytes, 0 to 30 */
  uint8_t id_string[30];    /**< raw, rest zero; not terminated when all 30 are used */
} IpmiSdrCompactSensor;

/** Event-only sensor record, type 0x03 (43.3). Fields that a compact sensor record has too mean the same. */
typedef struct IpmiSdrEventOnly {
  uint8_t owner_is_software_id;
  uint8_t owner_id;
  uint8_t owner_lun;
  uint8_t sensor_number;
  uint8_t channel_number;
  uint8_t fru_owner_lun;
  uint8_t entity_is_logical;
  IpmiEntity entity;
  uint8_t sensor_type;
  uint8_t event_reading_type;
  uint8_t direction;
  uint8_t id_string_modifier_type; /**< holds the type code of the ID string instead */
  uint8_t share_count;
  uint8_t entity_instance_increments;
  uint8_t id_string_modifier_offset;
  uint8_t oem;
  uint8_t id_string_type; /**< always 0 */
  uint8_t id_string_length;
  uint8_t id_string[30];
} IpmiSdrEventOnly;

/** Entity association record, type 0x08 (43.4). */
typedef struct IpmiSdrEntityAssociation {
  IpmiEntity container;
  uint8_t list_is_range;        /**< 1: entries 0 and 1, 2 and 3 are the ends of ranges; 0: each is an entity */
  uint8_t record_is_linked;     /**< 1: more records describe the container */
  uint8_t container_is_dynamic; /**< bit 5 of the flags: 1 when the presence sensor can always be reached */
  IpmiEntity entries[4];        /**< the contained entities; unused entries are zero */
} IpmiSdrEntityAssociation;

/** An entity of a device, in a device-relative entity association record. */
typedef struct IpmiDeviceEntity {
  uint8_t device_address; /**< the whole byte: slave address in bits 7..1 */
  uint8_t device_channel; /**< the whole byte: channel in bits 7..4 */
  IpmiEntity entity;
} IpmiDeviceEntity;

/** Device-relative entity association record, type 0x09 (43.5). Flags as in type 0x08. */
typedef struct IpmiSdrDeviceEntityAssociation {
  IpmiEntity container;
  uint8_t container_device_address; /**< the whole byte, as in the entries */
  uint8_t container_device_channel; /**< the whole byte, as in the entries */
  uint8_t list_is_range;
  uint8_t record_is_linked;
  uint8_t container_is_dynamic;
  IpmiDeviceEntity entries[4];
} IpmiSdrDeviceEntityAssociation;

/** FRU device locator record, type 0x11 (43.8). */
typedef struct IpmiSdrFruLocator {
  uint8_t device_access_address; /**< slave address in bits 7..1, bit 0 clear */
  uint8_t is_logical;            /**< 1: a logical FRU device behind the commands of fru_inventory.h */
  uint8_t fru_device_id;         /**< FRU device ID when logical, slave address shifted right by one otherwise */
  uint8_t access_lun;            /**< 0 to 3 */
  uint8_t private_bus_id;        /**< 0 to 7 */
  uint8_t channel_number;        /**< 0 to 15 */
  uint8_t device_type;           /**< IPMI v2.0 rev 1.1, table 43-12 */
  uint8_t device_type_modifier;
  IpmiEntity entity;
  uint8_t oem;
  uint8_t id_string_type;
  uint8_t id_string_length; /**< bytes, 0 to 30 */
  uint8_t id_string[30];    /**< raw, rest zero; not terminated when all 30 are used */
} IpmiSdrFruLocator;

/** Management controller device locator record, type 0x12 (43.9). */
typedef struct IpmiSdrMcLocator {
  uint8_t device_slave_address;     /**< slave address in bits 7..1, bit 0 clear */
  uint8_t channel_number;           /**< 0 to 15 */
  uint8_t power_state_notification; /**< bits 7..5 of the record as bits 2..0 */
  uint8_t global_initialization;    /**< bits 3..0: 3 and 2 event log, 1..0 event message generation */
  uint8_t device_capabilities;      /**< bit field: 7 chassis .. 0 sensor device */
  IpmiEntity entity;
  uint8_t oem;
  uint8_t id_string_type;
  uint8_t id_string_length; /**< bytes, 0 to 30 */
  uint8_t id_string[30];    /**< raw, rest zero; not terminated when all 30 are used */
} IpmiSdrMcLocator;

/** Records that are kept raw: types 0x10, 0x13, 0x14 and 0xC0 (43.7, 43.10 to 43.12). */
typedef struct IpmiSdrRaw {
  uint8_t body_length; /**< as stored */
  uint8_t head[4];     /**< record ID, version and type as stored */
  uint8_t body[55];    /**< body_length bytes for 1 to 55, rest zero; all zero for 56 and more */
} IpmiSdrRaw;

/** A decoded record, 112 bytes; which body is filled depends on record_type. */
typedef struct IpmiSdrInfo {
  uint16_t record_id;
  uint8_t sdr_version; /**< nibbles swapped: 0x15 for the 0x51 of IPMI v1.5 and v2.0, 0x10 for 0x01 */
  uint8_t record_type; /**< IPMI_SDR_FULL_SENSOR and so on */
  union {
    IpmiSdrFullSensor full;
    IpmiSdrCompactSensor compact;
    IpmiSdrEventOnly event_only;
    IpmiSdrEntityAssociation association;
    IpmiSdrDeviceEntityAssociation device_association;
    IpmiSdrFruLocator fru_locator;
    IpmiSdrMcLocator mc_locator;
    IpmiSdrRaw raw;
  } body;
} IpmiSdrInfo;

LUMI_BEGIN_DECLS

/**
 * Reads a whole record: Get SDR (33.12), the header first, then pieces of at most 16 bytes. The repository is not
 * reserved here, and nothing is retried: after 0x200000C5 reserve it again and begin anew.
 * @param[in]     handle         Open connection.
 * @param[in]     reservationId  As ipmi_storage_reserve_sdr_repository() gave it; sent with each piece, not written,
 *                               not tested for null.
 * @param[in]     recordId       0x0000 first, 0xFFFF last record.
 * @param[out]    nextRecordId   Record behind this one as the last piece told it, 0xFFFF at the end; untouched on
 *                               failure.
 * @param[in,out] size           In: bytes of record. Out: total size of the record, 5 to 260, as soon as its header is
 *                               known, also when a later piece fails.
 * @param[out]    record         Cleared, all *size bytes of it, then filled with what was read, also when a later
 *                               piece fails.
 * @returns
 * - 0: the record is whole.
 * - IPMI_STATUS_APP_INVALID_PARAMETER: handle, nextRecordId, size or record is null; nothing was sent.
 * - IPMI_STATUS_APP_INSUFFICIENT_BUFFER: the record has more than *size bytes; record is clear, and *size is what it
 *   takes.
 * - any status of ipmi_storage_get_sdr_entry().
 */
LUMI_API uint32_t ipmi_get_sdr_record(IpmiHandle *handle, uint16_t *reservationId, uint16_t recordId,
                                      uint16_t *nextRecordId, uint16_t *size, uint8_t *record);

/**
 * Decodes a record (IPMI v2.0 rev 1.1, 43). ID strings stay encoded: ipmi_hlp_decode_type_length() makes text of them.
 *
 * No byte behind length is read. A record has to be as long as the fixed fields of its type: 48 bytes for type 0x01,
 * 32 for 0x02, 17 for 0x03, 26 for 0x09, 16 for 0x08, 0x11 and 0x12, and the 5 of the header for all others. An ID
 * string or a raw body that goes on behind length is zero from there.
 *
 * Types without a body in IpmiSdrInfo succeed with the header filled.
 * @param[in]  length  Bytes at raw.
 * @param[in]  raw     Record, header included.
 * @param[out] info    Cleared first. After a failure other than IPMI_STATUS_APP_INVALID_PARAMETER it holds what was
 *                     filled before the failing test.
 * @returns
 * - 0: info is filled.
 * - IPMI_STATUS_APP_INVALID_PARAMETER: raw or info is null, length is below 5, or the length byte of the record
 *   (which leaves its header out) is greater than length; info is untouched.
 * - IPMI_STATUS_APP_UNSUPPORT_SDR_VERSION: neither 0x51 nor 0x01; the header is filled.
 * - IPMI_STATUS_APP_INVALID_FORMAT: length is below the minimum of the type, the header is filled; or the ID string has
 *   31 bytes, or more than 16 in type 0x01: all but the string is filled.
 * - IPMI_STATUS_APP_INSUFFICIENT_BUFFER: a record that is kept raw has a body of more than 64 bytes; body_length and
 *   head are filled.
 */
LUMI_API uint32_t ipmi_hlp_format_sdr_record(uint16_t length, const uint8_t *raw, IpmiSdrInfo *info);

/**
 * Makes the name of one of the sensors that share a record: the base name, alone when the record is not shared, else
 * followed by letters or by a space and a number. Both count modifierOffset + memberIndex: A to Z, then BA, BB and so
 * on; or 0, 1, 2 in decimal digits.
 * @param[in]  shareCount      1: not shared. All other values are the same.
 * @param[in]  modifierType    0 a number, all other values letters.
 * @param[in]  modifierOffset  Of the first sensor.
 * @param[in]  memberIndex     Place of the sensor among those that share the record, from 0.
 * @param[in]  baseName        Wide text, units of 4 bytes; must not overlap out.
 * @param[in]  outSize         Bytes at out; what is left of a division by 4 is not used.
 * @param[out] out             Cleared first, all outSize bytes of it, also when baseName is null; stays so on failure.
 * @returns
 * - 0: out holds the terminated name.
 * - IPMI_STATUS_APP_INVALID_PARAMETER: baseName or out is null.
 * - IPMI_STATUS_APP_INSUFFICIENT_BUFFER: no room for the base name alone, or for the base name and two letters, needed
 *   or not.
 * - IPMI_STATUS_APP_ERROR: no room for the base name and its number.
 */
LUMI_API uint32_t ipmi_hlp_get_share_sdr_string(int8_t shareCount, int8_t modifierType, uint8_t modifierOffset,
                                                uint8_t memberIndex, const wchar_t *baseName, uint16_t outSize,
                                                wchar_t *out);

LUMI_END_DECLS

#endif
