/** @file hardware.h
 *  The hardware layer: functions of the BMC through the controller's command broker (broker.h), without the IPMI driver
 *  and without a handle.
 *
 *  Results are no statuses. Common to all: 0 success; IPMI_HW_INVALID for a null pointer or more than 16 bytes of data,
 *  nothing is then sent; otherwise the broker's own result, except where IPMI_HW_FAILED and IPMI_HW_SHORT are told.
 *  Channel 1 is the LAN channel throughout.
 *
 *  Most functions that hand out a response take an area and a length. The length is the area's size in bytes before the
 *  call, and afterwards the bytes that the broker counted, also after a failure; no more than the area holds is written,
 *  and nothing after a failure. The bytes are the response data of the IPMI command without its completion code. */
#ifndef LUMIPMI_HARDWARE_H
#define LUMIPMI_HARDWARE_H

#include <stdint.h>

#include "lumipmi/export.h"

/** Results of the layer itself. */
enum { IPMI_HW_OK = 0, IPMI_HW_FAILED = 1, IPMI_HW_SHORT = 2, IPMI_HW_INVALID = 4 };

/** A text with its length. 64 bytes. */
typedef struct IpmiHwText {
  uint8_t length; /**< as the BMC tells it */
  char text[63];  /**< NUL-terminated, at most 62 bytes */
} IpmiHwText;

/** Settings of serial over LAN. 8 bytes. */
typedef struct IpmiHwSolConfig {
  uint8_t enabled;    /**< flag */
  uint8_t bitRate;    /**< IPMI_BIT_RATE_* */
  uint32_t privilege; /**< 2 User to 5 OEM */
} IpmiHwSolConfig;

/** Boot device codes: 0 to 15 are the selectors of IPMI v2.0 rev 1.1, table 28-14, these the ones behind them. */
enum {
  IPMI_HW_BOOT_SELECTOR_15 = 16, /**< selector 15, instance 0x1F */
  IPMI_HW_BOOT_SELECTOR_6 = 17,  /**< 17 to 20: selector 6, instance 1 to 4 */
  IPMI_HW_BOOT_SELECTOR_11 = 21  /**< 21 and 22: selector 11, instance 0 and 1 */
};

LUMI_BEGIN_DECLS

/* Primitives: a group of the broker's functions each. */

/** Does nothing. @returns 0. */
LUMI_API uint32_t _DEBUG_HW_CMDS(void);

/**
 * Sends a frame to the broker.
 * @param[in]     frame     36 bytes, an IpmiHighwayFrame.
 * @param[out]    response  As told above.
 * @param[in,out] length    As told above.
 * @returns as told above.
 */
LUMI_API uint32_t ipmi_send_highway_request(const uint8_t *frame, void *response, uint32_t *length);

/**
 * Reads a system information parameter: Get System Info Parameters (22.14b).
 * @param[in]     data        Request data of the command.
 * @param[in]     dataLength  Bytes at data, at most 16.
 * @param[out]    response    As told above.
 * @param[in,out] length      As told above.
 * @returns as told above.
 */
LUMI_API uint32_t get_sys_info(const uint8_t *data, uint32_t dataLength, void *response, uint32_t *length);
/** Set System Info Parameters (22.14a). As get_sys_info(). */
LUMI_API uint32_t set_sys_info(const uint8_t *data, uint32_t dataLength, void *response, uint32_t *length);
/** Get System Boot Options (28.13). As get_sys_info(). */
LUMI_API uint32_t get_boot_options(const uint8_t *data, uint32_t dataLength, void *response, uint32_t *length);
/** Set System Boot Options (28.12). As get_sys_info(), without a response. */
LUMI_API uint32_t set_boot_options(const uint8_t *data, uint32_t dataLength);
/** Get LAN Configuration Parameters (23.2), for the community string. As get_sys_info(). */
LUMI_API uint32_t get_community_string(const uint8_t *data, int32_t dataLength, void *response, uint32_t *length);
/** Get Serial/Modem Configuration (25.2). As get_sys_info(). */
LUMI_API uint32_t get_serial_modem_conf(const uint8_t *data, int32_t dataLength, void *response, uint32_t *length);
/** Get SOL Configuration Parameters (26.3). As get_sys_info(). */
LUMI_API uint32_t get_sol_config(const uint8_t *data, int32_t dataLength, void *response, uint32_t *length);
/** Get Chassis Status (28.2). As get_sys_info(), without data. */
LUMI_API uint32_t get_chassis_status(void *response, uint32_t *length);
/** Reserve SEL (31.4). As get_sys_info(), without data. */
LUMI_API uint32_t get_sel_reservation_id(void *response, uint32_t *length);
/** Reserve SDR Repository (33.11). As get_sys_info(), without data. */
LUMI_API uint32_t get_sdr_reservation_id(void *response, uint32_t *length);
/** Chassis Control (28.3): the byte at control. dataLength is sent as the number of data bytes. As get_sys_info(). */
LUMI_API uint32_t set_chassis_control(const uint8_t *control, int32_t dataLength, void *response, uint32_t *length);

/**
 * Reads the access settings of channel 1: Get Channel Access (22.23).
 * @param[in]  active     0 the stored settings, else the active ones.
 * @param[out] access     First response byte; written on success only.
 * @param[out] privilege  Second response byte; written on success only.
 * @returns as told above.
 */
LUMI_API uint32_t get_channel_access(int32_t active, uint8_t *access, uint8_t *privilege);

/**
 * Sets the access mode of channel 1 to "always available" or "disabled": Get and Set Channel Access (22.22, 22.23). The
 * other settings are written as the active ones are, without PEF alerting, per-message and user-level authentication
 * switches other than bit 3.
 * @param[in] enable
 * @param[in] active  0 the stored settings, else the active ones.
 * @returns as told above.
 */
LUMI_API uint32_t set_channel_access(int8_t enable, int32_t active);

/* Operations with request data of the caller's: the data of the IPMI command, at most 16 bytes. */

/** Set Serial/Modem Configuration (25.1). As get_sys_info(). */
LUMI_API uint32_t IPMISetSerialModemConf_HW(const uint8_t *data, int32_t dataLength, void *response, uint32_t *length);
/** Sets the controller's status register; what it means is the controller's. As get_sys_info(). */
LUMI_API uint32_t IPMISetIMCStatusRegister_HW(const uint8_t *data, int32_t dataLength, void *response,
                                              uint32_t *length);
/** Set SEL Time (31.11). As get_sys_info(). */
LUMI_API uint32_t IPMISELSetSELTime_HW(const uint8_t *data, int32_t dataLength, void *response, uint32_t *length);
/** Get SEL Entry (31.5). As get_sys_info(). */
LUMI_API uint32_t IPMISELGetSELEntry_HW(const uint8_t *data, int32_t dataLength, void *response, uint32_t *length);
/** Add SEL Entry (31.6). As get_sys_info(). */
LUMI_API uint32_t IPMISELAddEntry_HW(const uint8_t *data, int32_t dataLength, void *response, uint32_t *length);
/** Get SDR (33.12). As get_sys_info(). */
LUMI_API uint32_t IPMISDRGetSDR_HW(const uint8_t *data, int32_t dataLength, void *response, uint32_t *length);
/** Read FRU Data (34.2). As get_sys_info(). */
LUMI_API uint32_t IPMIFRUGetData_HW(const uint8_t *data, int32_t dataLength, void *response, uint32_t *length);
/** Get Sensor Reading (35.14). As get_sys_info(). */
LUMI_API uint32_t IPMIGetSensorReading_HW(const uint8_t *data, int32_t dataLength, void *response, uint32_t *length);

/* Operations without request data. */

/** Get SEL Info (31.2). As get_sys_info(), without data. */
LUMI_API uint32_t IPMISELGetSELInfo_HW(void *response, uint32_t *length);
/** Get SEL Time (31.10). As get_sys_info(), without data. */
LUMI_API uint32_t IPMISELGetSELTime_HW(void *response, uint32_t *length);
/** As get_sel_reservation_id(). */
LUMI_API uint32_t IPMISELGetReservationID_HW(void *response, uint32_t *length);
/** As get_sdr_reservation_id(). */
LUMI_API uint32_t IPMISDRGetReservationID_HW(void *response, uint32_t *length);
/** As get_chassis_status(), but the area holds 4 bytes, whatever length says, and every failure of the broker gives
 *  IPMI_HW_FAILED. */
LUMI_API uint32_t IPMIGetChassisStatus_HW(void *response, uint32_t *length);

/**
 * Clears the log, or asks how that goes: Reserve SEL and Clear SEL (31.4, 31.9).
 * @param[in]     action      One byte: 0xAA begins the erasure, 0x00 asks; others give IPMI_HW_INVALID.
 * @param[in]     dataLength  At most 16; not used otherwise.
 * @param[out]    response    As told above.
 * @param[in,out] length      As told above; untouched when the reservation fails.
 * @returns as told above.
 */
LUMI_API uint32_t IPMISELClear_HW(const uint8_t *action, int32_t dataLength, void *response, uint32_t *length);

/* Settings. Outputs are written on success only. */

/** Reads the active access settings of channel 1.
 *  @param[out] enabled    0 when the access mode is "disabled", else 1.
 *  @param[out] privilege  Privilege limit, 4 bits.
 *  @returns as told above. */
LUMI_API uint32_t IPMIGetIPMIOverLANAccess_HW(uint8_t *enabled, uint8_t *privilege);
/** Sets the access mode, the active one, then the stored one; see set_channel_access(). @returns the first failure. */
LUMI_API uint32_t IPMISetIPMIOverLANAccess_HW(uint8_t enable);

/** Tells whether the server's own video output is on: system information parameter 0xD6.
 *  @param[out] enabled  0 or 1; untouched unless the response has 5 bytes.
 *  @returns as told above. */
LUMI_API uint32_t IPMIGetLocalServerVideo_HW(uint8_t *enabled);
/** Switches the video output on (1) or off (all else). @returns as told above. */
LUMI_API uint32_t IPMISetLocalServerVideo_HW(uint8_t enable);

/** Counts the network ports: system information parameter 0xCE, bits 3..0 of its second byte.
 *  @param[out] count  0 to 4; untouched unless the response has 4 bytes.
 *  @returns as told above. */
LUMI_API uint32_t IPMIGetNicCapabilities(uint8_t *count);

/** Reads the unit tag: system information parameter 0xC5, at most 8 bytes.
 *  @param[out] tag  text holds one byte less than length says. Of an empty tag only the terminator is written.
 *  @returns 0; IPMI_HW_FAILED; IPMI_HW_SHORT for a response that does not hold the tag. */
LUMI_API uint32_t IPMIGetOEMUnitTag_HW(IpmiHwText *tag);
/** Reads the system name: system information parameter 2, at most 62 bytes.
 *  @param[out] name  length is not cut to 62. Written as far as it was read when a later block fails.
 *  @returns 0; IPMI_HW_FAILED; IPMI_HW_SHORT for a block that is shorter than it should be. */
LUMI_API uint32_t IPMIGetOEMHostName_HW(IpmiHwText *name);

/** Reads the server's power record; what it means is the controller's.
 *  @param[out] record  28 bytes; cleared first.
 *  @returns as told above. */
LUMI_API uint32_t IPMIGetServerPower_HW(uint8_t record[28]);
/** Writes the server's power: value16 at byte 0, value32 at byte 4 of the frame's data, little-endian, with a data
 *  length of 0. @returns as told above. */
LUMI_API uint32_t IPMISetServerPower_HW(uint16_t value16, uint32_t value32);

/** Tells whether the power is on: Get Chassis Status.
 *  @param[out] count    Bytes that the broker counted.
 *  @param[in]  unused1  Not used.
 *  @param[in]  unused2  Not used.
 *  @param[out] powerOn  0 or 1.
 *  @returns 0; IPMI_HW_FAILED. */
LUMI_API uint32_t IPMIGetPowerState_HW(uint32_t *count, void *unused1, void *unused2, uint8_t *powerOn);
/** Switches the power: Chassis Control (28.3).
 *  @param[in,out] count    In: 1, all else gives IPMI_HW_INVALID; out: 0.
 *  @param[in]     unused   Not used.
 *  @param[in]     control  Control codes of chassis.h.
 *  @param[out]    out      0.
 *  @returns 0; IPMI_HW_FAILED; IPMI_HW_SHORT when the broker counts other than one byte. */
LUMI_API uint32_t IPMISetPowerState_HW(uint32_t *count, void *unused, const uint8_t *control, uint8_t *out);

/** Reads the community string: LAN configuration parameter 16.
 *  @param[out] community  20 bytes: at most 18, then zeros.
 *  @returns 0; IPMI_HW_FAILED. */
LUMI_API uint32_t IPMIGetCommunityString_HW(uint8_t community[20]);

/** Reads serial/modem configuration parameter 51 of channel 2.
 *  @param[out] response  5 bytes: the response with its revision; bytes that did not come are untouched.
 *  @returns as told above. */
LUMI_API uint32_t IPMIGetSerialModemConf_HW(uint8_t response[5]);

/** Reads SOL parameters 1, 5 and 2.
 *  @param[out] config  Written as far as it was read.
 *  @returns 0; IPMI_HW_FAILED. */
LUMI_API uint32_t IPMIGetSOLConfig_HW(IpmiHwSolConfig *config);

/* Boot options: Get and Set System Boot Options (28.12, 28.13). */

/** Reads a parameter.
 *  @param[in]  parameter
 *  @param[out] response   10 bytes: the response with version and parameter; bytes that did not come are untouched.
 *  @returns as told above. */
LUMI_API uint32_t IPMIGetBootOptions_HW(uint8_t parameter, uint8_t response[10]);

/** Writes parameter 5, boot flags, or 3, what clears their valid flag.
 *  @param[in] parameter  Others give 0, nothing is sent.
 *  @param[in] flags      First byte of the parameter.
 *  @param[in] device     For parameter 5 a boot device code, at most 22; more give IPMI_HW_INVALID.
 *  @returns as told above. */
LUMI_API uint32_t IPMISetBootOptions_HW(int8_t parameter, uint8_t flags, uint8_t device);

/** Writes parameter 3: 0x08 to enable, 0 to disable. @returns as told above. */
LUMI_API uint32_t IPMIBootFlagEnable_HW(int8_t enable);

/** Reads the boot device.
 *  @param[out] device  Code 16 to 20; untouched for every other device.
 *  @returns as told above. */
LUMI_API uint32_t IPMIGetBootDevice_HW(uint8_t *device);
/** Sets the boot device: for the next boot, or for all when the flags were valid for all before. 0 for none.
 *  @param[in] device  A code, at most 22; more give IPMI_HW_INVALID once the flags were read.
 *  @returns the first failure. */
LUMI_API uint32_t IPMISetBootDevice_HW(uint8_t device);

/** Tells whether the boot flags are valid for the next boot only.
 *  @param[out] enabled  0 or 1.
 *  @returns as told above. */
LUMI_API uint32_t IPMIGetBootOnceEnable_HW(uint8_t *enabled);
/** Makes the boot device valid for the next boot only (not 0), or for all (0). With 1 and no device set, the flags
 *  become invalid. @returns the first failure. */
LUMI_API uint32_t IPMISetBootOnceEnable_HW(uint8_t enable);

LUMI_END_DECLS

#endif
