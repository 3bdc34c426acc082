/** @file device.h
 *  Device commands of NetFn App: identity, resets, self test, ACPI power state, GUIDs.
 *
 *  Common to all: a null pointer gives IPMI_STATUS_APP_INVALID_PARAMETER and nothing is sent; a short response gives
 *  IPMI_STATUS_BMC_UNSPECIFIED; any other failure is that of ipmi_send_request(). Outputs are written on success only.
 *  Commands without response data fail with 0x20000000 when the BMC answers with data all the same. */
#ifndef LUMIPMI_DEVICE_H
#define LUMIPMI_DEVICE_H

#include <stdint.h>

#include "lumipmi/connection.h"
#include "lumipmi/export.h"

/** Identity of the controller. 18 bytes, packed. */
typedef struct __attribute__((packed)) IpmiDeviceId {
  uint8_t deviceId;
  uint8_t providesSdrs;           /**< 1: the device holds device SDRs */
  uint8_t deviceAvailable;        /**< 1: firmware update or self-initialisation in progress */
  uint8_t deviceRevision;         /**< 0 to 127 */
  uint8_t firmwareMajor;          /**< 0 to 127 */
  uint8_t firmwareMinor;          /**< BCD */
  uint8_t ipmiVersion;            /**< BCD, major version in the low nibble: 0x02 is 2.0, 0x51 is 1.5 */
  uint8_t additionalSupport;      /**< bit field: 7 chassis .. 0 sensor device */
  uint16_t manufacturerIdLow;     /**< IANA enterprise number, bits 15..0 */
  uint8_t manufacturerIdHigh;     /**< IANA enterprise number, bits 23..16 */
  uint16_t productId;             /**< unaligned */
  uint8_t auxPresent;             /**< 1: auxFirmwareRevision is valid */
  uint8_t auxFirmwareRevision[4]; /**< as received; left alone when auxPresent is 0 */
} IpmiDeviceId;

/** Result of the self test. */
typedef struct IpmiSelfTestResult {
  uint32_t result; /**< 0x55 no error, 0x56 not implemented, 0x57 corrupted data or devices, 0x58 fatal error */
  uint8_t detail;  /**< for 0x57 a bit field of IPMI v2.0 rev 1.1, 20.4; for 0x58 device-specific */
} IpmiSelfTestResult;

LUMI_BEGIN_DECLS

/**
 * Reads the identity of the controller: Get Device ID (IPMI v2.0 rev 1.1, 20.1).
 * @param[in]  handle  Open connection.
 * @param[out] id      18 bytes; auxFirmwareRevision keeps its content unless the response has more than 14 bytes.
 * @returns 0; a response below 11 bytes gives IPMI_STATUS_BMC_UNSPECIFIED.
 */
LUMI_API uint32_t ipmi_app_get_device_id(IpmiHandle *handle, IpmiDeviceId *id);

/** Restarts the controller with its defaults: Cold Reset (20.2). @param[in] handle Open connection. @returns 0. */
LUMI_API uint32_t ipmi_app_cold_reset(IpmiHandle *handle);

/** Restarts the controller: Warm Reset (20.3). @param[in] handle Open connection. @returns 0. */
LUMI_API uint32_t ipmi_app_warm_reset(IpmiHandle *handle);

/**
 * Reads the result of the self test: Get Self Test Results (20.4).
 * @param[in]  handle  Open connection.
 * @param[out] result  Both response bytes.
 * @returns 0; a response below 2 bytes gives IPMI_STATUS_BMC_UNSPECIFIED.
 */
LUMI_API uint32_t ipmi_app_get_self_test_results(IpmiHandle *handle, IpmiSelfTestResult *result);

/** Enters the manufacturing test mode: Manufacturing Test On (20.5). @param[in] handle Open connection. @returns 0. */
LUMI_API uint32_t ipmi_app_manufacturing_test_on(IpmiHandle *handle);

/**
 * Tells the controller the ACPI power state: Set ACPI Power State (20.6).
 * @param[in] handle  Open connection.
 * @param[in] state   Low byte: system power state, high byte: device power state, each with the "set" flag in bit 7.
 * @returns 0.
 */
LUMI_API uint32_t ipmi_app_set_acpi_power_state(IpmiHandle *handle, const uint16_t *state);

/**
 * Reads the ACPI power state: Get ACPI Power State (20.7).
 * @param[in]  handle  Open connection.
 * @param[out] state   Low byte: system power state, high byte: device power state.
 * @returns 0; a response below 2 bytes gives IPMI_STATUS_BMC_UNSPECIFIED.
 */
LUMI_API uint32_t ipmi_app_get_acpi_power_state(IpmiHandle *handle, uint16_t *state);

/**
 * Reads the GUID of the controller: Get Device GUID (20.8).
 * @param[in]  handle  Open connection.
 * @param[out] guid    16 bytes in the order received.
 * @returns 0; a response below 16 bytes gives IPMI_STATUS_BMC_UNSPECIFIED.
 */
LUMI_API uint32_t ipmi_app_get_device_guid(IpmiHandle *handle, uint8_t guid[16]);

/**
 * Reads the GUID of the system: Get System GUID (22.14).
 * @param[in]  handle  Open connection.
 * @param[out] guid    16 bytes in the order received.
 * @returns 0; a response below 16 bytes gives IPMI_STATUS_BMC_UNSPECIFIED.
 */
LUMI_API uint32_t ipmi_app_get_system_guid(IpmiHandle *handle, uint8_t guid[16]);

LUMI_END_DECLS

#endif
