/** @file api_sensor.h
 *  Management calls: sensors, SDRs and the system event log.
 *
 *  What is common to all management calls stands in api_identity.h. Sensors are those of the BMC itself on LUN 0, named
 *  by their number. Outputs are written on success only. */
#ifndef LUMIPMI_API_SENSOR_H
#define LUMIPMI_API_SENSOR_H

#include <stdint.h>

#include "lumipmi/connection.h"
#include "lumipmi/export.h"
#include "lumipmi/sensor.h"

/** Thresholds of a sensor: the mask of those that can be read or are to be set, then the six thresholds as raw
 * readings, at IPMI_THRESHOLD_*. */
typedef struct IPMISensorThresholds {
  uint8_t bytes[7];
} IPMISensorThresholds;

/** Event enables of a sensor. 5 bytes, packed. */
typedef struct __attribute__((packed)) IPMISensorEventEnable {
  uint8_t flags; /**< bit 7 event messages, bit 6 scanning; set: bits 5..4 0 keep, 1 enable, 2 disable the events */
  uint32_t eventMask; /**< unaligned: assertions in bits 14..0, deassertions in bits 30..16 */
} IPMISensorEventEnable;

/** What IPMISetSensorReading() sends behind the sensor number (IPMI v2.0 rev 1.1, 35.17). */
typedef struct IPMISensorReadingSet {
  uint8_t operation;    /**< what to set */
  uint8_t reading;      /**< raw reading */
  uint8_t eventBits[4]; /**< assertion bits 7..0 and 14..8, deassertion bits 7..0 and 14..8 */
} IPMISensorReadingSet;

/** Results of IPMIGetSDR(), which are no statuses. */
enum { IPMI_SDR_READ = 0, IPMI_SDR_FAILED = 1, IPMI_SDR_INVALID_ARGUMENT = 4 };

LUMI_BEGIN_DECLS

/**
 * Counts the SDRs: Get SDR Repository Info (33.9).
 * @param[out] count
 * @returns the statuses of ipmi_storage_get_sdr_repository_info().
 */
LUMI_API uint32_t IPMIGetNumberOfSDREntries(uint16_t *count);

/**
 * Reads an SDR through the driver itself, in pieces of 22 bytes: Reserve SDR Repository and Get SDR (33.11, 33.12).
 *
 * It has no connection, so that it does not wait for other requests of the process, and does not repeat requests that a
 * busy BMC refuses. A reservation that gets lost is renewed up to eight times, after waits of 31 ms to 2 s, 5 s in all.
 * @param[in]  recordId      0 for the first record; above 65535 is invalid, of negative numbers bits 15..0 count.
 * @param[out] recordLength  Bytes of the record with its header, modulo 256. Not written when null.
 * @param[out] record        The first 64 bytes of the record; zeros behind its end. Not written when null.
 * @param[out] nextId        Record behind this one, 65535 at the end. Null is invalid.
 * @returns IPMI_SDR_*, no status; outputs are written with IPMI_SDR_READ only.
 */
LUMI_API uint32_t IPMIGetSDR(int32_t recordId, uint32_t *recordLength, uint8_t record[64], uint32_t *nextId);

/**
 * Reads a sensor: Get Sensor Reading (35.14).
 * @param[in]  sensorNumber
 * @param[out] reading       The first four response bytes, the first in bits 7..0: raw reading, flags, states. Bytes
 *                           that the BMC did not send are 0.
 * @returns the statuses of ipmi_se_get_sensor_reading().
 */
LUMI_API uint32_t IPMIGetSensorReading(uint8_t sensorNumber, uint32_t *reading);

/**
 * Reads the factors of a non-linear sensor: Get Sensor Reading Factors (35.5).
 * @param[in]  sensorNumber
 * @param[in]  reading       Raw reading.
 * @param[out] factors
 * @returns the statuses of ipmi_se_get_sensor_reading_factors().
 */
LUMI_API uint32_t IPMIGetSensorReadingFactors(uint8_t sensorNumber, uint8_t reading, IpmiSensorReadingFactors *factors);

/** Reads thresholds: Get Sensor Thresholds (35.9). @returns the statuses of ipmi_se_get_sensor_threshold(). */
LUMI_API uint32_t IPMIGetSensorThreshold(uint8_t sensorNumber, IPMISensorThresholds *thresholds);
/** Sets the thresholds of the mask: Set Sensor Thresholds (35.8).
 *  @returns the statuses of ipmi_se_set_sensor_threshold(). */
LUMI_API uint32_t IPMISetSensorThreshold(uint8_t sensorNumber, const IPMISensorThresholds *thresholds);

/**
 * Reads the hysteresis: Get Sensor Hysteresis (35.7).
 * @param[in]  sensorNumber
 * @param[out] positive      Positive-going, raw.
 * @param[out] negative      Negative-going, raw.
 * @returns the statuses of ipmi_se_get_sensor_hysteresis().
 */
LUMI_API uint32_t IPMIGetSensorHysteresis(uint8_t sensorNumber, uint8_t *positive, uint8_t *negative);

/**
 * Reads the type: Get Sensor Type (35.16).
 * @param[in]  sensorNumber
 * @param[out] sensorType        Table 42-3.
 * @param[out] eventReadingType  7 bits, table 42-1.
 * @returns the statuses of ipmi_se_get_sensor_type().
 */
LUMI_API uint32_t IPMIGetSensorType(uint8_t sensorNumber, uint8_t *sensorType, uint8_t *eventReadingType);

/** Reads which events are enabled: Get Sensor Event Enable (35.11); bits 5..0 of the flags are 0.
 *  @returns the statuses of ipmi_se_get_sensor_event_enable(). */
LUMI_API uint32_t IPMIGetSensorEventEnable(uint8_t sensorNumber, IPMISensorEventEnable *enable);
/** Enables or disables events: Set Sensor Event Enable (35.10).
 *  @returns the statuses of ipmi_se_set_sensor_event_enable(). */
LUMI_API uint32_t IPMISetSensorEventEnable(uint8_t sensorNumber, const IPMISensorEventEnable *enable);

/** Sets reading and events: Set Sensor Reading and Event Status (35.17), without event data.
 *  @returns 0, or as told above; what the BMC answers is not looked at. */
LUMI_API uint32_t IPMISetSensorReading(uint8_t sensorNumber, const IPMISensorReadingSet *setting);

/** Counts the events: Get SEL Info (31.2). @returns the statuses of ipmi_storage_get_sel_info(). */
LUMI_API uint32_t IPMIGetNumberOfSelEntries(uint16_t *count);

/**
 * Reads an event record: Get SEL Entry (31.5).
 * @param[in]  recordId  0x0000 first, 0xFFFF last record.
 * @param[out] entry     16 bytes; those that the BMC does not send keep their content.
 * @param[out] nextId    Record behind this one, 0xFFFF at the end.
 * @returns the statuses of ipmi_storage_get_sel_entry_data().
 */
LUMI_API uint32_t IPMIGetSel(uint16_t recordId, uint8_t entry[16], uint16_t *nextId);

/**
 * Begins to erase the log: Get SEL Info, Reserve SEL, Clear SEL (31.2, 31.4, 31.9). An empty log is left alone.
 * @returns 0: the erasure has begun, or goes on already; else the first failure.
 */
LUMI_API uint32_t IPMIClearSel(void);

/** Reads the log's clock in seconds: Get SEL Time (31.10). Null is refused once the connection is open.
 *  @returns the statuses of ipmi_storage_get_sel_time(). */
LUMI_API uint32_t IPMIGetSelTime(uint64_t *time);

LUMI_END_DECLS

#endif
