/** @file sensor.h
 *  Sensor commands of NetFn Sensor/Event (IPMI v2.0 rev 1.1, 35).
 *
 *  Common to all: a null pointer gives IPMI_STATUS_APP_INVALID_PARAMETER, nothing is sent and nothing is written; a
 *  short response gives IPMI_STATUS_BMC_RESPOSE_UNAVAILABE; any other failure is that of ipmi_send_request(). Outputs
 *  are cleared before the request is sent and stay cleared on failure. The request goes to the owner and LUN of the
 *  sensor. It needs User level to read a sensor of the BMC itself, Operator level to read another or to set any. */
#ifndef LUMIPMI_SENSOR_H
#define LUMIPMI_SENSOR_H

#include <stdint.h>

#include "lumipmi/connection.h"
#include "lumipmi/export.h"

/** Names a sensor. */
typedef struct IpmiSensorAddress {
  uint8_t owner_address; /**< slave address of the controller that owns it */
  uint8_t owner_lun;     /**< LUN of the sensor in the owner, 0 to 3 */
  uint8_t sensor_number; /**< unique behind its owner and LUN */
} IpmiSensorAddress;

/** A reading, 10 bytes. */
typedef struct IpmiSensorReading {
  uint8_t reading;                /**< raw value */
  uint8_t event_messages_enabled; /**< flag */
  uint8_t scanning_enabled;       /**< flag */
  uint8_t reading_unavailable;    /**< flag: reading and states mean nothing, such as during an update */
  uint16_t states;                /**< state bits, bit 0 = state 0; a byte that the BMC did not send is 0 */
  uint8_t raw[4];                 /**< the first response bytes as received, rest zero */
} IpmiSensorReading;

/** Reading factors for one raw reading of a non-linear sensor, 12 bytes. */
typedef struct IpmiSensorReadingFactors {
  uint8_t next_reading; /**< next raw reading for which the factors change */
  uint8_t tolerance;    /**< +/- half raw counts, 6 bits */
  uint16_t precision;   /**< accuracy in 1/100 percent, scaled by 10^precision_exponent; 10 bits */
  uint8_t precision_exponent;
  int16_t m;              /**< -512 to 511 */
  int16_t b;              /**< -512 to 511 */
  int8_t result_exponent; /**< K2, -8 to 7 */
  int8_t b_exponent;      /**< K1, -8 to 7 */
} IpmiSensorReadingFactors;

/** Places in the 7 bytes of thresholds. */
enum {
  IPMI_THRESHOLD_MASK = 0, /**< bit 0 lower non-critical .. bit 5 upper non-recoverable, in the order below */
  IPMI_THRESHOLD_LOWER_NON_CRITICAL = 1,
  IPMI_THRESHOLD_LOWER_CRITICAL = 2,
  IPMI_THRESHOLD_LOWER_NON_RECOVERABLE = 3,
  IPMI_THRESHOLD_UPPER_NON_CRITICAL = 4,
  IPMI_THRESHOLD_UPPER_CRITICAL = 5,
  IPMI_THRESHOLD_UPPER_NON_RECOVERABLE = 6,
  IPMI_THRESHOLD_BYTES = 7
};

/** Event enables, 6 bytes. Both flags hold 0 or 1 when read. */
typedef struct IpmiSensorEventEnable {
  uint8_t event_messages_enabled; /**< set: bit 0 counts */
  uint8_t scanning_enabled;       /**< set: two bits wide, see ipmi_se_set_sensor_event_enable() */
  uint8_t masks[4];               /**< assertion low and high byte, deassertion low and high byte */
} IpmiSensorEventEnable;

LUMI_BEGIN_DECLS

/**
 * Reads the type of a sensor: Get Sensor Type (35.16).
 * @param[in]  handle            Open connection.
 * @param[in]  sensor
 * @param[out] sensorType        IPMI v2.0 rev 1.1, table 42-3.
 * @param[out] eventReadingType  7 bits: 1 threshold, 0x02 to 0x0C discrete, 0x6F sensor-specific.
 * @returns 0; below 2 bytes IPMI_STATUS_BMC_RESPOSE_UNAVAILABE.
 */
LUMI_API uint32_t ipmi_se_get_sensor_type(IpmiHandle *handle, const IpmiSensorAddress *sensor, uint8_t *sensorType,
                                          uint8_t *eventReadingType);

/**
 * Reads a sensor: Get Sensor Reading (35.14).
 * @param[in]  handle   Open connection.
 * @param[in]  sensor
 * @param[out] reading  ipmi_hlp_calculate_reading_value() makes a value of its raw reading.
 * @returns 0; below 2 bytes IPMI_STATUS_BMC_RESPOSE_UNAVAILABE.
 */
LUMI_API uint32_t ipmi_se_get_sensor_reading(IpmiHandle *handle, const IpmiSensorAddress *sensor,
                                             IpmiSensorReading *reading);

/**
 * Reads the factors that hold for one reading of a non-linear sensor: Get Sensor Reading Factors (35.5).
 * @param[in]  handle   Open connection.
 * @param[in]  sensor
 * @param[in]  reading  Raw reading.
 * @param[out] factors
 * @returns 0; below 7 bytes IPMI_STATUS_BMC_RESPOSE_UNAVAILABE.
 */
LUMI_API uint32_t ipmi_se_get_sensor_reading_factors(IpmiHandle *handle, const IpmiSensorAddress *sensor,
                                                     uint8_t reading, IpmiSensorReadingFactors *factors);

/**
 * Reads the thresholds of a sensor: Get Sensor Thresholds (35.9).
 * @param[in]  handle      Open connection.
 * @param[in]  sensor
 * @param[out] thresholds  7 bytes: the mask of the readable thresholds, then the thresholds as raw readings; one that
 *                         is not readable is 0.
 * @returns 0; below 7 bytes IPMI_STATUS_BMC_RESPOSE_UNAVAILABE.
 */
LUMI_API uint32_t ipmi_se_get_sensor_threshold(IpmiHandle *handle, const IpmiSensorAddress *sensor,
                                               uint8_t *thresholds);

/**
 * Sets thresholds of a sensor: Set Sensor Thresholds (35.8).
 * @param[in] handle      Open connection.
 * @param[in] sensor
 * @param[in] thresholds  7 bytes, sent as they are: the mask of the thresholds to set, then the thresholds.
 * @returns 0; 0x20000000 when the BMC answers with data.
 */
LUMI_API uint32_t ipmi_se_set_sensor_threshold(IpmiHandle *handle, const IpmiSensorAddress *sensor,
                                               const uint8_t *thresholds);

/**
 * Reads the hysteresis of a sensor: Get Sensor Hysteresis (35.7).
 * @param[in]  handle      Open connection.
 * @param[in]  sensor
 * @param[in]  mask        Hysteresis mask of the request, 0xFF: reserved for future use.
 * @param[out] hysteresis  Positive-going in the low byte, negative-going in the high byte.
 * @returns 0; below 2 bytes IPMI_STATUS_BMC_RESPOSE_UNAVAILABE.
 */
LUMI_API uint32_t ipmi_se_get_sensor_hysteresis(IpmiHandle *handle, const IpmiSensorAddress *sensor, uint8_t mask,
                                                uint16_t *hysteresis);

/**
 * Reads which events of a sensor are enabled: Get Sensor Event Enable (35.11).
 * @param[in]  handle   Open connection.
 * @param[in]  sensor
 * @param[out] enables  Mask bytes that the BMC did not send are 0.
 * @returns 0; an empty response gives IPMI_STATUS_BMC_RESPOSE_UNAVAILABE.
 */
LUMI_API uint32_t ipmi_se_get_sensor_event_enable(IpmiHandle *handle, const IpmiSensorAddress *sensor,
                                                  IpmiSensorEventEnable *enables);

/**
 * Enables and disables events of a sensor: Set Sensor Event Enable (35.10).
 * @param[in] handle     Open connection.
 * @param[in] sensor
 * @param[in] operation  0 leave the masks alone, 1 enable, 2 disable the events selected by the masks; bits 1..0 count.
 * @param[in] settings   Bits 1..0 of scanning_enabled are sent as bits 7..6 of the flags: 2 and 3 enable event
 *                       messages as well. All four mask bytes are sent.
 * @returns 0; 0x20000000 when the BMC answers with data.
 */
LUMI_API uint32_t ipmi_se_set_sensor_event_enable(IpmiHandle *handle, const IpmiSensorAddress *sensor,
                                                  uint8_t operation, const IpmiSensorEventEnable *settings);

LUMI_END_DECLS

#endif
