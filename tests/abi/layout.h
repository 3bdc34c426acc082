/* Sizes and offsets of every public record on a 64-bit target. Included by a C and a C++ translation unit, which
 * compile for x86-64 and aarch64 alike; a line that fails is a broken ABI. */
#include <stddef.h>

#include "lumipmi/lumipmi.h"

#ifdef __cplusplus
#define LUMI_ASSERT(condition, text) static_assert(condition, text)
#else
#define LUMI_ASSERT(condition, text) _Static_assert(condition, text)
#endif
#define LUMI_RECORD(type, size) LUMI_ASSERT(sizeof(type) == (size), #type " is " #size " bytes")
#define LUMI_FIELD(type, field, offset) LUMI_ASSERT(offsetof(type, field) == (offset), #type "." #field " at " #offset)

LUMI_RECORD(IpmiConnectParams, 8);
LUMI_FIELD(IpmiConnectParams, interfaceType, 0);
LUMI_FIELD(IpmiConnectParams, reserved, 4);
LUMI_FIELD(IpmiConnectParams, retryCount, 6);
LUMI_FIELD(IpmiConnectParams, spare, 7);

LUMI_RECORD(IpmiHandle, 24);
LUMI_FIELD(IpmiHandle, params, 0);
LUMI_FIELD(IpmiHandle, bmcAddress, 8);
LUMI_FIELD(IpmiHandle, ipmiVersionLevel, 12);
LUMI_FIELD(IpmiHandle, workArea, 16);

LUMI_RECORD(IpmiRequest, 24);
LUMI_FIELD(IpmiRequest, kind, 0);
LUMI_FIELD(IpmiRequest, reserved, 4);
LUMI_FIELD(IpmiRequest, rsAddr, 8);
LUMI_FIELD(IpmiRequest, rsLun, 9);
LUMI_FIELD(IpmiRequest, netFn, 10);
LUMI_FIELD(IpmiRequest, cmd, 11);
LUMI_FIELD(IpmiRequest, dataLength, 12);
LUMI_FIELD(IpmiRequest, data, 16);

LUMI_RECORD(IpmiResponse, 16);
LUMI_FIELD(IpmiResponse, completionCode, 0);
LUMI_FIELD(IpmiResponse, dataLength, 2);
LUMI_FIELD(IpmiResponse, data, 8);

LUMI_RECORD(IpmiRawCommand, 16);
LUMI_FIELD(IpmiRawCommand, rsAddr, 0);
LUMI_FIELD(IpmiRawCommand, rsLun, 1);
LUMI_FIELD(IpmiRawCommand, netFn, 2);
LUMI_FIELD(IpmiRawCommand, cmd, 3);
LUMI_FIELD(IpmiRawCommand, dataLength, 4);
LUMI_FIELD(IpmiRawCommand, data, 8);

LUMI_RECORD(IpmiRawResponse, 16);
LUMI_FIELD(IpmiRawResponse, completionCode, 0);
LUMI_FIELD(IpmiRawResponse, dataLength, 1);
LUMI_FIELD(IpmiRawResponse, data, 8);

LUMI_RECORD(IpmiDeviceId, 18);
LUMI_FIELD(IpmiDeviceId, deviceId, 0);
LUMI_FIELD(IpmiDeviceId, providesSdrs, 1);
LUMI_FIELD(IpmiDeviceId, deviceAvailable, 2);
LUMI_FIELD(IpmiDeviceId, deviceRevision, 3);
LUMI_FIELD(IpmiDeviceId, firmwareMajor, 4);
LUMI_FIELD(IpmiDeviceId, firmwareMinor, 5);
LUMI_FIELD(IpmiDeviceId, ipmiVersion, 6);
LUMI_FIELD(IpmiDeviceId, additionalSupport, 7);
LUMI_FIELD(IpmiDeviceId, manufacturerIdLow, 8);
LUMI_FIELD(IpmiDeviceId, manufacturerIdHigh, 10);
LUMI_FIELD(IpmiDeviceId, productId, 11);
LUMI_FIELD(IpmiDeviceId, auxPresent, 13);
LUMI_FIELD(IpmiDeviceId, auxFirmwareRevision, 14);

LUMI_RECORD(IpmiSelfTestResult, 8);
LUMI_FIELD(IpmiSelfTestResult, detail, 4);

LUMI_RECORD(IpmiTimeval, 16);
LUMI_FIELD(IpmiTimeval, seconds, 0);
LUMI_FIELD(IpmiTimeval, microseconds, 8);

LUMI_RECORD(IpmiEthernetInterface, 40);
LUMI_FIELD(IpmiEthernetInterface, name, 0);
LUMI_FIELD(IpmiEthernetInterface, index, 16);
LUMI_FIELD(IpmiEthernetInterface, address, 20);
LUMI_FIELD(IpmiEthernetInterface, netmask, 24);
LUMI_FIELD(IpmiEthernetInterface, broadcast, 28);
LUMI_FIELD(IpmiEthernetInterface, mac, 32);
LUMI_FIELD(IpmiEthernetInterface, flags, 38);

LUMI_RECORD(IpmiSelInfo, 32);
LUMI_FIELD(IpmiSelInfo, version, 0);
LUMI_FIELD(IpmiSelInfo, entries, 2);
LUMI_FIELD(IpmiSelInfo, free_space, 4);
LUMI_FIELD(IpmiSelInfo, last_add_time, 8);
LUMI_FIELD(IpmiSelInfo, last_erase_time, 16);
LUMI_FIELD(IpmiSelInfo, overflow, 24);
LUMI_FIELD(IpmiSelInfo, operation_support, 25);

LUMI_RECORD(IpmiSelAllocationInfo, 10);
LUMI_FIELD(IpmiSelAllocationInfo, total_units, 0);
LUMI_FIELD(IpmiSelAllocationInfo, unit_size, 2);
LUMI_FIELD(IpmiSelAllocationInfo, free_units, 4);
LUMI_FIELD(IpmiSelAllocationInfo, largest_free_block, 6);
LUMI_FIELD(IpmiSelAllocationInfo, max_record_size, 8);

LUMI_RECORD(IpmiSelEntry, 32);
LUMI_FIELD(IpmiSelEntry, record_id, 0);
LUMI_FIELD(IpmiSelEntry, record_type, 2);
LUMI_FIELD(IpmiSelEntry, body, 8);
LUMI_FIELD(IpmiSelSystemEvent, timestamp, 0);
LUMI_FIELD(IpmiSelSystemEvent, generator_id_type, 8);
LUMI_FIELD(IpmiSelSystemEvent, generator_id, 12);
LUMI_FIELD(IpmiSelSystemEvent, generator_lun, 13);
LUMI_FIELD(IpmiSelSystemEvent, generator_channel, 14);
LUMI_FIELD(IpmiSelSystemEvent, evm_rev, 15);
LUMI_FIELD(IpmiSelSystemEvent, sensor_type, 16);
LUMI_FIELD(IpmiSelSystemEvent, sensor_number, 17);
LUMI_FIELD(IpmiSelSystemEvent, event_dir, 18);
LUMI_FIELD(IpmiSelSystemEvent, event_type, 19);
LUMI_FIELD(IpmiSelSystemEvent, event_data, 20);
LUMI_FIELD(IpmiSelOemTimestamped, manufacturer_id, 8);
LUMI_FIELD(IpmiSelOemTimestamped, oem_data, 11);

LUMI_RECORD(IpmiSdrRepositoryInfo, 32);
LUMI_FIELD(IpmiSdrRepositoryInfo, version, 0);
LUMI_FIELD(IpmiSdrRepositoryInfo, record_count, 2);
LUMI_FIELD(IpmiSdrRepositoryInfo, free_space, 4);
LUMI_FIELD(IpmiSdrRepositoryInfo, last_add_time, 8);
LUMI_FIELD(IpmiSdrRepositoryInfo, last_erase_time, 16);
LUMI_FIELD(IpmiSdrRepositoryInfo, update_support, 24);
LUMI_FIELD(IpmiSdrRepositoryInfo, overflow, 28);
LUMI_FIELD(IpmiSdrRepositoryInfo, operation_support, 29);

LUMI_RECORD(IpmiFruInventoryInfo, 8);
LUMI_FIELD(IpmiFruInventoryInfo, area_size, 0);
LUMI_FIELD(IpmiFruInventoryInfo, access_by_words, 4);

LUMI_RECORD(IpmiFruField, 16);
LUMI_FIELD(IpmiFruField, type_code, 0);
LUMI_FIELD(IpmiFruField, length, 1);
LUMI_FIELD(IpmiFruField, data, 8);

LUMI_RECORD(IpmiFruInfo, 328);
LUMI_FIELD(IpmiFruInfo, format_version, 0);
LUMI_FIELD(IpmiFruInfo, internal_use_offset, 2);
LUMI_FIELD(IpmiFruInfo, chassis_offset, 4);
LUMI_FIELD(IpmiFruInfo, board_offset, 6);
LUMI_FIELD(IpmiFruInfo, product_offset, 8);
LUMI_FIELD(IpmiFruInfo, multirecord_offset, 10);
LUMI_FIELD(IpmiFruInfo, pad, 12);
LUMI_FIELD(IpmiFruInfo, internal_use_length, 14);
LUMI_FIELD(IpmiFruInfo, internal_use_data, 16);
LUMI_FIELD(IpmiFruInfo, chassis_format_version, 24);
LUMI_FIELD(IpmiFruInfo, chassis_area_length, 25);
LUMI_FIELD(IpmiFruInfo, chassis_type, 28);
LUMI_FIELD(IpmiFruInfo, chassis_part_number, 32);
LUMI_FIELD(IpmiFruInfo, chassis_serial_number, 48);
LUMI_FIELD(IpmiFruInfo, chassis_custom_count, 64);
LUMI_FIELD(IpmiFruInfo, chassis_custom_fields, 72);
LUMI_FIELD(IpmiFruInfo, board_format_version, 80);
LUMI_FIELD(IpmiFruInfo, board_area_length, 81);
LUMI_FIELD(IpmiFruInfo, board_language_code, 82);
LUMI_FIELD(IpmiFruInfo, board_manufacturing_time, 88);
LUMI_FIELD(IpmiFruInfo, board_manufacturer, 96);
LUMI_FIELD(IpmiFruInfo, board_product_name, 112);
LUMI_FIELD(IpmiFruInfo, board_serial_number, 128);
LUMI_FIELD(IpmiFruInfo, board_part_number, 144);
LUMI_FIELD(IpmiFruInfo, board_fru_file_id, 160);
LUMI_FIELD(IpmiFruInfo, board_custom_count, 176);
LUMI_FIELD(IpmiFruInfo, board_custom_fields, 184);
LUMI_FIELD(IpmiFruInfo, product_format_version, 192);
LUMI_FIELD(IpmiFruInfo, product_area_length, 193);
LUMI_FIELD(IpmiFruInfo, product_language_code, 194);
LUMI_FIELD(IpmiFruInfo, product_manufacturer, 200);
LUMI_FIELD(IpmiFruInfo, product_name, 216);
LUMI_FIELD(IpmiFruInfo, product_part_number, 232);
LUMI_FIELD(IpmiFruInfo, product_version, 248);
LUMI_FIELD(IpmiFruInfo, product_serial_number, 264);
LUMI_FIELD(IpmiFruInfo, product_asset_tag, 280);
LUMI_FIELD(IpmiFruInfo, product_fru_file_id, 296);
LUMI_FIELD(IpmiFruInfo, product_custom_count, 312);
LUMI_FIELD(IpmiFruInfo, product_custom_fields, 320);

LUMI_RECORD(IpmiEntity, 8);
LUMI_RECORD(IpmiDeviceEntity, 12);
LUMI_RECORD(IpmiSdrInfo, 112);
LUMI_FIELD(IpmiSdrInfo, record_id, 0);
LUMI_FIELD(IpmiSdrInfo, sdr_version, 2);
LUMI_FIELD(IpmiSdrInfo, record_type, 3);
LUMI_FIELD(IpmiSdrInfo, body, 4);
LUMI_FIELD(IpmiSdrInfo, body.full.owner_lun, 6);
LUMI_FIELD(IpmiSdrInfo, body.full.entity_is_logical, 9);
LUMI_FIELD(IpmiSdrInfo, body.full.entity, 12);
LUMI_FIELD(IpmiSdrInfo, body.full.init_scanning, 20);
LUMI_FIELD(IpmiSdrInfo, body.full.ignore_if_entity_absent, 27);
LUMI_FIELD(IpmiSdrInfo, body.full.sensor_type, 32);
LUMI_FIELD(IpmiSdrInfo, body.full.assertion_mask, 34);
LUMI_FIELD(IpmiSdrInfo, body.full.threshold_comparison_mask, 38);
LUMI_FIELD(IpmiSdrInfo, body.full.settable_threshold_mask, 39);
LUMI_FIELD(IpmiSdrInfo, body.full.readable_threshold_mask, 40);
LUMI_FIELD(IpmiSdrInfo, body.full.analog_data_format, 44);
LUMI_FIELD(IpmiSdrInfo, body.full.rate_unit, 48);
LUMI_FIELD(IpmiSdrInfo, body.full.tolerance, 54);
LUMI_FIELD(IpmiSdrInfo, body.full.m, 56);
LUMI_FIELD(IpmiSdrInfo, body.full.b, 58);
LUMI_FIELD(IpmiSdrInfo, body.full.b_exponent, 60);
LUMI_FIELD(IpmiSdrInfo, body.full.result_exponent, 61);
LUMI_FIELD(IpmiSdrInfo, body.full.precision, 62);
LUMI_FIELD(IpmiSdrInfo, body.full.analog_flags, 65);
LUMI_FIELD(IpmiSdrInfo, body.full.nominal_reading, 66);
LUMI_FIELD(IpmiSdrInfo, body.full.upper_non_recoverable, 76);
LUMI_FIELD(IpmiSdrInfo, body.full.positive_hysteresis, 88);
LUMI_FIELD(IpmiSdrInfo, body.full.oem, 90);
LUMI_FIELD(IpmiSdrInfo, body.full.id_string, 93);
LUMI_FIELD(IpmiSdrInfo, body.compact.fru_owner_lun, 9);
LUMI_FIELD(IpmiSdrInfo, body.compact.entity_is_logical, 10);
LUMI_FIELD(IpmiSdrInfo, body.compact.entity, 12);
LUMI_FIELD(IpmiSdrInfo, body.compact.sensor_type, 32);
LUMI_FIELD(IpmiSdrInfo, body.compact.reading_mask, 38);
LUMI_FIELD(IpmiSdrInfo, body.compact.direction, 45);
LUMI_FIELD(IpmiSdrInfo, body.compact.share_count, 47);
LUMI_FIELD(IpmiSdrInfo, body.compact.oem, 52);
LUMI_FIELD(IpmiSdrInfo, body.compact.id_string, 55);
LUMI_FIELD(IpmiSdrInfo, body.event_only.entity, 12);
LUMI_FIELD(IpmiSdrInfo, body.event_only.sensor_type, 20);
LUMI_FIELD(IpmiSdrInfo, body.event_only.id_string_modifier_type, 23);
LUMI_FIELD(IpmiSdrInfo, body.event_only.id_string_type, 28);
LUMI_FIELD(IpmiSdrInfo, body.event_only.id_string, 30);
LUMI_FIELD(IpmiSdrInfo, body.association.container, 4);
LUMI_FIELD(IpmiSdrInfo, body.association.list_is_range, 12);
LUMI_FIELD(IpmiSdrInfo, body.association.entries, 16);
LUMI_FIELD(IpmiSdrInfo, body.device_association.container_device_address, 12);
LUMI_FIELD(IpmiSdrInfo, body.device_association.list_is_range, 14);
LUMI_FIELD(IpmiSdrInfo, body.device_association.entries, 20);
LUMI_FIELD(IpmiSdrInfo, body.fru_locator.entity, 12);
LUMI_FIELD(IpmiSdrInfo, body.fru_locator.id_string, 23);
LUMI_FIELD(IpmiSdrInfo, body.mc_locator.device_capabilities, 8);
LUMI_FIELD(IpmiSdrInfo, body.mc_locator.id_string, 23);
LUMI_FIELD(IpmiSdrInfo, body.raw.body_length, 4);
LUMI_FIELD(IpmiSdrInfo, body.raw.head, 5);
LUMI_FIELD(IpmiSdrInfo, body.raw.body, 9);

LUMI_RECORD(IpmiSensorAddress, 3);
LUMI_RECORD(IpmiSensorReading, 10);
LUMI_FIELD(IpmiSensorReading, states, 4);
LUMI_FIELD(IpmiSensorReading, raw, 6);
LUMI_RECORD(IpmiSensorReadingFactors, 12);
LUMI_FIELD(IpmiSensorReadingFactors, precision, 2);
LUMI_FIELD(IpmiSensorReadingFactors, m, 6);
LUMI_FIELD(IpmiSensorReadingFactors, b, 8);
LUMI_FIELD(IpmiSensorReadingFactors, result_exponent, 10);
LUMI_FIELD(IpmiSensorReadingFactors, b_exponent, 11);
LUMI_RECORD(IpmiSensorEventEnable, 6);
LUMI_FIELD(IpmiSensorEventEnable, masks, 2);

LUMI_RECORD(IpmiUserAccessInfo, 16);
LUMI_FIELD(IpmiUserAccessInfo, maxUserIds, 0);
LUMI_FIELD(IpmiUserAccessInfo, enabledUserCount, 1);
LUMI_FIELD(IpmiUserAccessInfo, fixedNameCount, 2);
LUMI_FIELD(IpmiUserAccessInfo, callbackOnly, 3);
LUMI_FIELD(IpmiUserAccessInfo, linkAuthEnabled, 4);
LUMI_FIELD(IpmiUserAccessInfo, ipmiMessagingEnabled, 5);
LUMI_FIELD(IpmiUserAccessInfo, privilegeLimit, 8);
LUMI_FIELD(IpmiUserAccessInfo, enableStatus, 12);
LUMI_RECORD(IpmiUserAccessSetting, 12);
LUMI_FIELD(IpmiUserAccessSetting, callbackOnly, 0);
LUMI_FIELD(IpmiUserAccessSetting, linkAuthEnabled, 1);
LUMI_FIELD(IpmiUserAccessSetting, ipmiMessagingEnabled, 2);
LUMI_FIELD(IpmiUserAccessSetting, privilegeLimit, 4);
LUMI_FIELD(IpmiUserAccessSetting, sessionLimit, 8);

LUMI_RECORD(IpmiChannelInfo, 24);
LUMI_FIELD(IpmiChannelInfo, channelNumber, 0);
LUMI_FIELD(IpmiChannelInfo, mediumType, 4);
LUMI_FIELD(IpmiChannelInfo, protocolType, 8);
LUMI_FIELD(IpmiChannelInfo, sessionSupport, 12);
LUMI_FIELD(IpmiChannelInfo, activeSessions, 16);
LUMI_FIELD(IpmiChannelInfo, vendorIdLow, 17);
LUMI_FIELD(IpmiChannelInfo, vendorIdHigh, 19);
LUMI_FIELD(IpmiChannelInfo, auxInfo, 20);
LUMI_RECORD(IpmiChannelAccess, 20);
LUMI_FIELD(IpmiChannelAccess, accessType, 0);
LUMI_FIELD(IpmiChannelAccess, alertingDisabled, 4);
LUMI_FIELD(IpmiChannelAccess, perMessageAuthDisabled, 5);
LUMI_FIELD(IpmiChannelAccess, userLevelAuthDisabled, 6);
LUMI_FIELD(IpmiChannelAccess, accessMode, 8);
LUMI_FIELD(IpmiChannelAccess, privilegeAccessType, 12);
LUMI_FIELD(IpmiChannelAccess, privilegeLimit, 16);
LUMI_RECORD(IpmiChannelKey, 32);
LUMI_FIELD(IpmiChannelKey, operation, 0);
LUMI_FIELD(IpmiChannelKey, keyId, 4);
LUMI_FIELD(IpmiChannelKey, key, 8);
LUMI_FIELD(IpmiChannelKey, lockStatus, 28);
LUMI_RECORD(IpmiChannelAuthCaps, 10);
LUMI_RECORD(IpmiSessionQuery, 8);
LUMI_FIELD(IpmiSessionQuery, sessionIndex, 0);
LUMI_FIELD(IpmiSessionQuery, sessionHandleOrId, 4);

LUMI_RECORD(IpmiPayloadActivation, 20);
LUMI_FIELD(IpmiPayloadActivation, payloadType, 0);
LUMI_FIELD(IpmiPayloadActivation, payloadInstance, 4);
LUMI_FIELD(IpmiPayloadActivation, options.auxBytes, 8);
LUMI_FIELD(IpmiPayloadActivation, options.sol.encrypt, 8);
LUMI_FIELD(IpmiPayloadActivation, options.sol.authenticate, 9);
LUMI_FIELD(IpmiPayloadActivation, options.sol.serialAlertBehavior, 12);
LUMI_FIELD(IpmiPayloadActivation, options.sol.testMode, 16);
LUMI_RECORD(IpmiPayloadDeactivation, 9);
LUMI_FIELD(IpmiPayloadDeactivation, payloadType, 0);
LUMI_FIELD(IpmiPayloadDeactivation, payloadInstance, 4);
LUMI_FIELD(IpmiPayloadDeactivation, auxBytes, 5);
LUMI_RECORD(IpmiPayloadActivationResult, 12);
LUMI_FIELD(IpmiPayloadActivationResult, auxData, 0);
LUMI_FIELD(IpmiPayloadActivationResult, inboundPayloadSize, 4);
LUMI_FIELD(IpmiPayloadActivationResult, outboundPayloadSize, 6);
LUMI_FIELD(IpmiPayloadActivationResult, payloadUdpPort, 8);
LUMI_FIELD(IpmiPayloadActivationResult, payloadVlan, 10);
LUMI_RECORD(IpmiPayloadAccessLimits, 4);
LUMI_FIELD(IpmiPayloadAccessLimits, payloadEnables1, 0);
LUMI_FIELD(IpmiPayloadAccessLimits, payloadEnables2, 1);
LUMI_FIELD(IpmiPayloadAccessLimits, oemPayloadEnables, 2);

LUMI_RECORD(IpmiWatchdogConfig, 24);
LUMI_FIELD(IpmiWatchdogConfig, dontLog, 0);
LUMI_FIELD(IpmiWatchdogConfig, timerRunning, 1);
LUMI_FIELD(IpmiWatchdogConfig, timerUse, 4);
LUMI_FIELD(IpmiWatchdogConfig, preTimeoutInterrupt, 8);
LUMI_FIELD(IpmiWatchdogConfig, timeoutAction, 12);
LUMI_FIELD(IpmiWatchdogConfig, preTimeoutInterval, 16);
LUMI_FIELD(IpmiWatchdogConfig, expirationFlags, 17);
LUMI_FIELD(IpmiWatchdogConfig, initialCountdown, 18);
LUMI_FIELD(IpmiWatchdogConfig, presentCountdown, 20);

LUMI_RECORD(IpmiChassisStatus, 12);
LUMI_FIELD(IpmiChassisStatus, power_restore_policy, 0);
LUMI_FIELD(IpmiChassisStatus, power_state, 4);
LUMI_FIELD(IpmiChassisStatus, last_power_event, 5);
LUMI_FIELD(IpmiChassisStatus, misc_chassis_state, 6);
LUMI_FIELD(IpmiChassisStatus, front_panel_disable_allowed, 7);
LUMI_FIELD(IpmiChassisStatus, front_panel_disabled, 8);
LUMI_RECORD(IpmiRestartCause, 8);
LUMI_FIELD(IpmiRestartCause, restart_cause, 0);
LUMI_FIELD(IpmiRestartCause, channel, 4);
LUMI_RECORD(IpmiPohCounter, 8);
LUMI_FIELD(IpmiPohCounter, minutes_per_count, 0);
LUMI_FIELD(IpmiPohCounter, counter, 4);
LUMI_RECORD(IpmiChassisIdentify, 3);
LUMI_FIELD(IpmiChassisIdentify, length, 0);
LUMI_FIELD(IpmiChassisIdentify, interval, 1);
LUMI_FIELD(IpmiChassisIdentify, force_on, 2);

LUMI_RECORD(IpmiBootFlags, 40);
LUMI_FIELD(IpmiBootFlags, valid, 0);
LUMI_FIELD(IpmiBootFlags, persistent, 1);
LUMI_FIELD(IpmiBootFlags, boot_type, 4);
LUMI_FIELD(IpmiBootFlags, cmos_clear, 8);
LUMI_FIELD(IpmiBootFlags, lock_keyboard, 9);
LUMI_FIELD(IpmiBootFlags, boot_device, 12);
LUMI_FIELD(IpmiBootFlags, screen_blank, 16);
LUMI_FIELD(IpmiBootFlags, lock_reset_button, 17);
LUMI_FIELD(IpmiBootFlags, lock_power_button, 18);
LUMI_FIELD(IpmiBootFlags, firmware_verbosity, 20);
LUMI_FIELD(IpmiBootFlags, force_progress_traps, 24);
LUMI_FIELD(IpmiBootFlags, password_bypass, 25);
LUMI_FIELD(IpmiBootFlags, lock_sleep_button, 26);
LUMI_FIELD(IpmiBootFlags, console_redirection, 28);
LUMI_FIELD(IpmiBootFlags, bios_shared_mode_override, 32);
LUMI_FIELD(IpmiBootFlags, bios_mux_override, 36);

LUMI_RECORD(IpmiLanConfig, 40);
LUMI_FIELD(IpmiLanConfig, ip_source, 0);
LUMI_FIELD(IpmiLanConfig, ip_address, 4);
LUMI_FIELD(IpmiLanConfig, mac_address, 8);
LUMI_FIELD(IpmiLanConfig, subnet_mask, 14);
LUMI_FIELD(IpmiLanConfig, gateway_ip, 18);
LUMI_FIELD(IpmiLanConfig, gateway_mac, 22);
LUMI_FIELD(IpmiLanConfig, backup_gateway_ip, 28);
LUMI_FIELD(IpmiLanConfig, backup_gateway_mac, 32);

LUMI_RECORD(IpmiVlanConfig, 6);
LUMI_FIELD(IpmiVlanConfig, enable, 0);
LUMI_FIELD(IpmiVlanConfig, vlan_id, 2);
LUMI_FIELD(IpmiVlanConfig, priority, 4);

LUMI_RECORD(IpmiLanAuthEnables, 8);
LUMI_FIELD(IpmiLanAuthEnables, levels, 0);
LUMI_FIELD(IpmiLanAuthEnables, oem, 4);

LUMI_RECORD(IpmiLanStatistics, 18);
LUMI_FIELD(IpmiLanStatistics, ip_packets_received, 0);
LUMI_FIELD(IpmiLanStatistics, ip_header_errors, 2);
LUMI_FIELD(IpmiLanStatistics, ip_address_errors, 4);
LUMI_FIELD(IpmiLanStatistics, fragmented_ip_packets_received, 6);
LUMI_FIELD(IpmiLanStatistics, ip_packets_transmitted, 8);
LUMI_FIELD(IpmiLanStatistics, udp_packets_received, 10);
LUMI_FIELD(IpmiLanStatistics, rmcp_packets_received, 12);
LUMI_FIELD(IpmiLanStatistics, udp_proxy_packets_received, 14);
LUMI_FIELD(IpmiLanStatistics, udp_proxy_packets_dropped, 16);

LUMI_RECORD(IpmiSerialBasicConfig, 12);
LUMI_FIELD(IpmiSerialBasicConfig, flow_control, 0);
LUMI_FIELD(IpmiSerialBasicConfig, bit_rate, 4);
LUMI_FIELD(IpmiSerialBasicConfig, dtr_hangup, 8);

LUMI_RECORD(IpmiSerialTerminalConfig, 24);
LUMI_FIELD(IpmiSerialTerminalConfig, reserved_mode, 0);
LUMI_FIELD(IpmiSerialTerminalConfig, line_editing, 4);
LUMI_FIELD(IpmiSerialTerminalConfig, delete_control, 8);
LUMI_FIELD(IpmiSerialTerminalConfig, echo, 12);
LUMI_FIELD(IpmiSerialTerminalConfig, handshake, 13);
LUMI_FIELD(IpmiSerialTerminalConfig, output_newline, 16);
LUMI_FIELD(IpmiSerialTerminalConfig, input_newline, 20);

LUMI_RECORD(IpmiSerialMuxStatus, 12);
LUMI_FIELD(IpmiSerialMuxStatus, set_to_bmc, 0);
LUMI_FIELD(IpmiSerialMuxStatus, to_bmc_blocked, 1);
LUMI_FIELD(IpmiSerialMuxStatus, alert_in_progress, 2);
LUMI_FIELD(IpmiSerialMuxStatus, messaging_active, 3);
LUMI_FIELD(IpmiSerialMuxStatus, request_accepted, 4);
LUMI_FIELD(IpmiSerialMuxStatus, setting, 8);

LUMI_RECORD(IpmiEventFilter, 28);
LUMI_FIELD(IpmiEventFilter, filter_number, 0);
LUMI_FIELD(IpmiEventFilter, enable, 1);
LUMI_FIELD(IpmiEventFilter, filter_type, 2);
LUMI_FIELD(IpmiEventFilter, action, 3);
LUMI_FIELD(IpmiEventFilter, group_control, 4);
LUMI_FIELD(IpmiEventFilter, policy_number, 5);
LUMI_FIELD(IpmiEventFilter, severity, 8);
LUMI_FIELD(IpmiEventFilter, source, 12);
LUMI_FIELD(IpmiEventFilter, criteria, 16);

LUMI_RECORD(IpmiAlertPolicy, 12);
LUMI_FIELD(IpmiAlertPolicy, entry, 0);
LUMI_FIELD(IpmiAlertPolicy, policy_number, 1);
LUMI_FIELD(IpmiAlertPolicy, enabled, 2);
LUMI_FIELD(IpmiAlertPolicy, policy_type, 4);
LUMI_FIELD(IpmiAlertPolicy, channel, 8);
LUMI_FIELD(IpmiAlertPolicy, destination, 9);
LUMI_FIELD(IpmiAlertPolicy, fixed_string, 10);
LUMI_FIELD(IpmiAlertPolicy, string_selector, 11);

LUMI_RECORD(IpmiLanDestination, 28);
LUMI_FIELD(IpmiLanDestination, selector, 0);
LUMI_FIELD(IpmiLanDestination, acknowledge, 1);
LUMI_FIELD(IpmiLanDestination, type, 4);
LUMI_FIELD(IpmiLanDestination, ack_timeout, 8);
LUMI_FIELD(IpmiLanDestination, retries, 9);
LUMI_FIELD(IpmiLanDestination, address_format, 12);
LUMI_FIELD(IpmiLanDestination, use_default_gateway, 16);
LUMI_FIELD(IpmiLanDestination, ip_address, 17);
LUMI_FIELD(IpmiLanDestination, mac_address, 21);

LUMI_RECORD(IpmiAlertImmediate, 12);
LUMI_FIELD(IpmiAlertImmediate, channel, 0);
LUMI_FIELD(IpmiAlertImmediate, operation, 4);
LUMI_FIELD(IpmiAlertImmediate, destination, 8);
LUMI_FIELD(IpmiAlertImmediate, send_string, 9);
LUMI_FIELD(IpmiAlertImmediate, string_selector, 10);

LUMI_RECORD(IpmiAlertEvent, 9);
LUMI_FIELD(IpmiAlertEvent, source, 0);
LUMI_FIELD(IpmiAlertEvent, event_dir, 4);
LUMI_FIELD(IpmiAlertEvent, event_type, 5);
LUMI_FIELD(IpmiAlertEvent, event_data12, 6);
LUMI_FIELD(IpmiAlertEvent, event_data3, 8);

LUMI_RECORD(IpmiSolConfig, 24);
LUMI_FIELD(IpmiSolConfig, force_encryption, 0);
LUMI_FIELD(IpmiSolConfig, force_authentication, 1);
LUMI_FIELD(IpmiSolConfig, privilege_level, 4);
LUMI_FIELD(IpmiSolConfig, char_config, 8);
LUMI_FIELD(IpmiSolConfig, retry_count, 10);
LUMI_FIELD(IpmiSolConfig, retry_interval, 11);
LUMI_FIELD(IpmiSolConfig, non_volatile_bit_rate, 12);
LUMI_FIELD(IpmiSolConfig, volatile_bit_rate, 16);
LUMI_FIELD(IpmiSolConfig, channel, 20);
LUMI_FIELD(IpmiSolConfig, port, 22);

LUMI_RECORD(IpmiSolActivation, 12);
LUMI_FIELD(IpmiSolActivation, encrypt, 0);
LUMI_FIELD(IpmiSolActivation, authenticate, 1);
LUMI_FIELD(IpmiSolActivation, serial_alert_behavior, 4);
LUMI_FIELD(IpmiSolActivation, test_mode, 8);

LUMI_RECORD(IpmiSolStatus, 17);
LUMI_FIELD(IpmiSolStatus, instance_capacity, 0);
LUMI_FIELD(IpmiSolStatus, active, 1);

LUMI_RECORD(IpmiIsolStatus, 2);
LUMI_FIELD(IpmiIsolStatus, flag, 0);
LUMI_FIELD(IpmiIsolStatus, value, 1);

LUMI_RECORD(IpmiIsolRequest, 3);
LUMI_FIELD(IpmiIsolRequest, high, 0);
LUMI_FIELD(IpmiIsolRequest, low, 1);
LUMI_FIELD(IpmiIsolRequest, value, 2);

LUMI_RECORD(IpmiIsolResult, 12);
LUMI_FIELD(IpmiIsolResult, flag, 0);
LUMI_FIELD(IpmiIsolResult, code, 4);
LUMI_FIELD(IpmiIsolResult, nibble, 8);
LUMI_FIELD(IpmiIsolResult, values, 9);

LUMI_RECORD(IPMIServiceInfo, 16);
LUMI_FIELD(IPMIServiceInfo, unitTagSize, 8);
LUMI_RECORD(IPMISystemInfo, 64);
LUMI_FIELD(IPMISystemInfo, systemInfoString, 16);
LUMI_FIELD(IPMISystemInfo, systemInfoStringSize, 24);
LUMI_FIELD(IPMISystemInfo, unitTag, 32);
LUMI_FIELD(IPMISystemInfo, unitTagSize, 40);
LUMI_FIELD(IPMISystemInfo, assetTag, 48);
LUMI_FIELD(IPMISystemInfo, assetTagSize, 56);
LUMI_FIELD(IPMISystemInfo, oemInfoByte, 57);
LUMI_RECORD(IPMIBMCInfo, 32);
LUMI_FIELD(IPMIBMCInfo, ipmiVersionSize, 8);
LUMI_FIELD(IPMIBMCInfo, firmwareVersion, 16);
LUMI_FIELD(IPMIBMCInfo, firmwareVersionSize, 24);

LUMI_RECORD(IPMILanConfig, 24);
LUMI_FIELD(IPMILanConfig, ipSource, 0);
LUMI_FIELD(IPMILanConfig, ipAddress, 1);
LUMI_FIELD(IPMILanConfig, subnetMask, 5);
LUMI_FIELD(IPMILanConfig, defaultGateway, 9);
LUMI_FIELD(IPMILanConfig, macAddress, 13);
LUMI_FIELD(IPMILanConfig, vlanEnable, 19);
LUMI_FIELD(IPMILanConfig, vlanId, 20);
LUMI_FIELD(IPMILanConfig, vlanPriority, 22);
LUMI_RECORD(IPMIMacAddress, 6);

LUMI_RECORD(IPMIEventFilterEntry, 20);
LUMI_RECORD(IPMISecurityKey, 20);
LUMI_RECORD(IPMISensorThresholds, 7);
LUMI_RECORD(IPMISensorEventEnable, 5);
LUMI_FIELD(IPMISensorEventEnable, flags, 0);
LUMI_FIELD(IPMISensorEventEnable, eventMask, 1);
LUMI_RECORD(IPMISensorReadingSet, 6);
LUMI_FIELD(IPMISensorReadingSet, operation, 0);
LUMI_FIELD(IPMISensorReadingSet, reading, 1);
LUMI_FIELD(IPMISensorReadingSet, eventBits, 2);

LUMI_RECORD(IPMISerialConnectionMode, 4);
LUMI_FIELD(IPMISerialConnectionMode, basicMode, 0);
LUMI_FIELD(IPMISerialConnectionMode, directConnect, 1);
LUMI_FIELD(IPMISerialConnectionMode, terminalMode, 2);
LUMI_FIELD(IPMISerialConnectionMode, pppMode, 3);
LUMI_RECORD(IPMISerialConfig, 12);
LUMI_FIELD(IPMISerialConfig, portAssociation, 0);
LUMI_FIELD(IPMISerialConfig, bitRate, 1);
LUMI_FIELD(IPMISerialConfig, flowControl, 2);
LUMI_FIELD(IPMISerialConfig, directConnect, 3);
LUMI_FIELD(IPMISerialConfig, terminalMode, 4);
LUMI_FIELD(IPMISerialConfig, pppMode, 5);
LUMI_FIELD(IPMISerialConfig, lineEditing, 6);
LUMI_FIELD(IPMISerialConfig, deleteControl, 7);
LUMI_FIELD(IPMISerialConfig, echo, 8);
LUMI_FIELD(IPMISerialConfig, handshake, 9);
LUMI_FIELD(IPMISerialConfig, outputNewline, 10);
LUMI_FIELD(IPMISerialConfig, inputNewline, 11);
LUMI_RECORD(IPMISolConfig, 3);
LUMI_FIELD(IPMISolConfig, solBitRate, 0);
LUMI_FIELD(IPMISolConfig, accumulateSettings, 1);

LUMI_RECORD(IPMIWatchdogConfig, 20);
LUMI_FIELD(IPMIWatchdogConfig, timerUse, 0);
LUMI_FIELD(IPMIWatchdogConfig, preTimeoutInterrupt, 4);
LUMI_FIELD(IPMIWatchdogConfig, timeoutAction, 8);
LUMI_FIELD(IPMIWatchdogConfig, expirationFlags, 12);
LUMI_FIELD(IPMIWatchdogConfig, initialCountdown, 14);
LUMI_FIELD(IPMIWatchdogConfig, presentCountdown, 16);

LUMI_RECORD(IpmiKestFruRecords, 413);
LUMI_FIELD(IpmiKestFruRecords, biosBlocks, 0);
LUMI_FIELD(IpmiKestFruRecords, osName, 256);
LUMI_FIELD(IpmiKestFruRecords, cpldCount, 320);
LUMI_FIELD(IpmiKestFruRecords, cpldRevisions, 321);
LUMI_FIELD(IpmiKestFruRecords, systemMac, 385);
LUMI_FIELD(IpmiKestFruRecords, pcbaTest, 397);
LUMI_FIELD(IpmiKestFruRecords, boardSpecific, 401);
LUMI_FIELD(IpmiKestFruInfo, records, sizeof(IpmiFruInfo));

LUMI_RECORD(IpmiHwText, 64);
LUMI_FIELD(IpmiHwText, length, 0);
LUMI_FIELD(IpmiHwText, text, 1);
LUMI_RECORD(IpmiHwSolConfig, 8);
LUMI_FIELD(IpmiHwSolConfig, enabled, 0);
LUMI_FIELD(IpmiHwSolConfig, bitRate, 1);
LUMI_FIELD(IpmiHwSolConfig, privilege, 4);
