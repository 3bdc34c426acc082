/** @file pef.h
 *  Platform event filtering of NetFn Sensor/Event (IPMI v2.0 rev 1.1, 30), and the LAN parameters of alerting:
 * community string and destinations.
 *
 *  Common to all: a null pointer, or a channel above 15 of a LAN parameter, gives IPMI_STATUS_APP_INVALID_PARAMETER and
 *  nothing is sent; any other failure is that of ipmi_send_request(), with the completion codes of
 *  ipmi_se_get_pef_config() and ipmi_se_set_pef_config(), or for LAN parameters those of
 *  ipmi_transport_get_lan_config() and ipmi_transport_set_lan_config(), mapped. Outputs are untouched on failure unless
 *  the call says otherwise. */
#ifndef LUMIPMI_PEF_H
#define LUMIPMI_PEF_H

#include <stdint.h>

#include "lumipmi/connection.h"
#include "lumipmi/export.h"

/** PEF parameter selectors with accessors of their own, table 30-6. */
enum {
  IPMI_PEF_EVENT_FILTER_COUNT = 5,
  IPMI_PEF_EVENT_FILTER = 6,
  IPMI_PEF_ALERT_POLICY_COUNT = 8,
  IPMI_PEF_ALERT_POLICY = 9
};

/** An entry of the event filter table, parameter 6. */
typedef struct IpmiEventFilter {
  uint8_t filter_number; /**< names the entry, also when it is read */
  uint8_t enable;        /**< flag */
  uint8_t filter_type;   /**< 2 bits: 0 configurable by software, 2 set by the manufacturer */
  uint8_t action;        /**< bit 0 alert, 1 power off, 2 reset, 3 power cycle, 4 OEM, 5 interrupt, 6 group control */
  uint8_t group_control; /**< 3 bits; read only: writing an entry always sets 0 */
  uint8_t policy_number; /**< 4 bits */
  uint32_t severity;     /**< 6 bits: 0x01 monitor, 0x02 information, 0x04 OK, 0x08 warning, 0x10 critical, .. */
  uint8_t source[4];     /**< generator ID 1 and 2, sensor type, sensor number */
  uint8_t criteria[12];  /**< event trigger, event data 1 offset mask (2), AND mask and two compares for data 1, 2, 3 */
} IpmiEventFilter;

/** An entry of the alert policy table, parameter 9. */
typedef struct IpmiAlertPolicy {
  uint8_t entry;           /**< names the entry, also when it is read */
  uint8_t policy_number;   /**< 4 bits */
  uint8_t enabled;         /**< flag */
  uint32_t policy_type;    /**< 3 bits */
  uint8_t channel;         /**< 4 bits */
  uint8_t destination;     /**< 4 bits */
  uint8_t fixed_string;    /**< flag: 1 one string for all events, 0 strings specific to the event */
  uint8_t string_selector; /**< 7 bits */
} IpmiAlertPolicy;

/** An alert destination of a LAN channel, LAN parameters 18 and 19. */
typedef struct IpmiLanDestination {
  uint8_t selector;            /**< names the destination, also when it is read; 0 is the volatile one */
  uint8_t acknowledge;         /**< flag: the alert must be acknowledged */
  uint32_t type;               /**< 3 bits when read, 2 when written: 0 PET, 6 and 7 OEM */
  uint8_t ack_timeout;         /**< seconds */
  uint8_t retries;             /**< 0 to 7 */
  uint32_t address_format;     /**< 4 bits: 0 IPv4 and MAC address, below */
  uint8_t use_default_gateway; /**< flag; 0 is the backup gateway */
  uint8_t ip_address[4];       /**< in the order of the wire */
  uint8_t mac_address[6];      /**< in the order of the wire */
} IpmiLanDestination;

/** Operations of an immediate alert. */
enum { IPMI_ALERT_INITIATE = 0, IPMI_ALERT_STATUS = 1, IPMI_ALERT_CLEAR_STATUS = 2 };

/** A request of Alert Immediate. */
typedef struct IpmiAlertImmediate {
  uint8_t channel;         /**< sent as given */
  uint32_t operation;      /**< IPMI_ALERT_*; 2 bits count */
  uint8_t destination;     /**< 4 bits count */
  uint8_t send_string;     /**< bit 0: send the alert string */
  uint8_t string_selector; /**< sent when send_string is set */
} IpmiAlertImmediate;

/** The event that an immediate alert tells of. */
typedef struct IpmiAlertEvent {
  uint8_t source[4];       /**< generator ID, event message format, sensor type, sensor number */
  uint8_t event_dir;       /**< bit 0: 1 deassertion */
  uint8_t event_type;      /**< event/reading type code, 7 bits count */
  uint8_t event_data12[2]; /**< event data 1 and 2 */
  uint8_t event_data3;
} IpmiAlertEvent;

LUMI_BEGIN_DECLS

/**
 * Reads a parameter: Get PEF Configuration Parameters (30.4).
 * @param[in]     handle          Open connection.
 * @param[in]     selector        7 bits count.
 * @param[in]     set_selector    Entry of a table, else 0.
 * @param[in]     block_selector  0 unless the parameter has blocks.
 * @param[out]    revision        Parameter revision, BCD halves; written also when the data do not fit.
 * @param[in,out] length          In: room at data; out: bytes there; untouched on failure.
 * @param[out]    data            Cleared first, all of length, and so on failure; then the bytes behind the revision.
 * @returns
 * - 0: revision, length and data are filled.
 * - IPMI_STATUS_BMC_GET_CONFIG_PARAMETER_80: the BMC does not have the parameter (completion code 0x80).
 * - IPMI_STATUS_BMC_RESPOSE_UNAVAILABE: a response below 2 bytes: no data.
 * - IPMI_STATUS_APP_INSUFFICIENT_BUFFER: more data than room.
 */
LUMI_API uint32_t ipmi_se_get_pef_config(IpmiHandle *handle, uint8_t selector, uint8_t set_selector,
                                         uint8_t block_selector, uint8_t *revision, uint16_t *length, uint8_t *data);

/**
 * Writes a parameter: Set PEF Configuration Parameters (30.3).
 * @param[in] handle    Open connection.
 * @param[in] selector  7 bits count.
 * @param[in] length    Bytes at data, at most 249.
 * @param[in] data      The bytes behind the selector.
 * @returns
 * - 0: written.
 * - IPMI_STATUS_APP_INSUFFICIENT_BUFFER: length is above 249; nothing was sent.
 * - IPMI_STATUS_BMC_SET_CONFIG_PARAMETER_80, _81, _82: completion codes 0x80 (no such parameter), 0x81 (set in
 *   progress) and 0x82 (read only).
 */
LUMI_API uint32_t ipmi_se_set_pef_config(IpmiHandle *handle, uint8_t selector, uint16_t length, const void *data);

/**
 * Sends an alert, or asks how that goes: Alert Immediate (30.7).
 * @param[in]  handle   Open connection.
 * @param[in]  request
 * @param[in]  event    May be null: the alert then tells of no event.
 * @param[out] status   For IPMI_ALERT_STATUS the alert's status; otherwise unused and may be null.
 * @returns 0; for IPMI_ALERT_STATUS, an empty response gives IPMI_STATUS_BMC_RESPOSE_UNAVAILABE. Other operations do
 * not look at the response.
 */
LUMI_API uint32_t ipmi_se_alert_immediate(IpmiHandle *handle, const IpmiAlertImmediate *request,
                                          const IpmiAlertEvent *event, uint32_t *status);

/**
 * Reads the size of the event filter table: PEF parameter 5.
 * @param[in]  handle  Open connection.
 * @param[out] count   7 bits.
 * @returns the statuses of ipmi_se_get_pef_config().
 */
LUMI_API uint32_t ipmi_get_event_filter_count(IpmiHandle *handle, uint8_t *count);

/**
 * Reads an entry of the event filter table: PEF parameter 6.
 * @param[in]     handle  Open connection.
 * @param[in,out] filter  In: filter_number; out: all else. What the BMC does not send of the entry reads as zero.
 * @returns the statuses of ipmi_se_get_pef_config().
 */
LUMI_API uint32_t ipmi_get_event_filter(IpmiHandle *handle, IpmiEventFilter *filter);

/**
 * Writes an entry of the event filter table: PEF parameter 6. Nothing is read back first.
 * @param[in] handle  Open connection.
 * @param[in] filter  group_control is not sent: the entry gets 0. Of enable bit 0 counts, of the other fields as many
 *                    bits as they have; of filter_number 7.
 * @returns the statuses of ipmi_se_set_pef_config().
 */
LUMI_API uint32_t ipmi_set_event_filter(IpmiHandle *handle, const IpmiEventFilter *filter);

/**
 * Reads the size of the alert policy table: PEF parameter 8.
 * @param[in]  handle  Open connection.
 * @param[out] count   7 bits.
 * @returns the statuses of ipmi_se_get_pef_config().
 */
LUMI_API uint32_t ipmi_get_policy_count(IpmiHandle *handle, uint8_t *count);

/**
 * Reads an entry of the alert policy table: PEF parameter 9.
 * @param[in]     handle  Open connection.
 * @param[in,out] policy  In: entry; out: all else. What the BMC does not send of the entry reads as zero.
 * @returns the statuses of ipmi_se_get_pef_config().
 */
LUMI_API uint32_t ipmi_get_policy(IpmiHandle *handle, IpmiAlertPolicy *policy);

/**
 * Writes an entry of the alert policy table: PEF parameter 9.
 * @param[in] handle  Open connection.
 * @param[in] policy  As many bits count as a field has, of entry 7. enabled: any value but 0 enables. fixed_string: bit
 *                    0 counts; when it is 0 the whole string_selector is sent.
 * @returns the statuses of ipmi_se_set_pef_config().
 */
LUMI_API uint32_t ipmi_set_policy(IpmiHandle *handle, const IpmiAlertPolicy *policy);

/**
 * Reads the community string of a LAN channel: LAN parameter 16.
 * @param[in]  handle   Open connection.
 * @param[in]  channel  0 to 15.
 * @param[out] text     24 bytes, cleared unless a pointer is null, and so on failure: at most 18 as received and zeros,
 *                      so that the text always has a terminator.
 * @returns the statuses of ipmi_transport_get_lan_config(); above 18 bytes IPMI_STATUS_APP_INSUFFICIENT_BUFFER.
 */
LUMI_API uint32_t ipmi_get_community_string(IpmiHandle *handle, uint8_t channel, uint8_t text[24]);

/**
 * Writes the community string of a LAN channel: LAN parameter 16.
 * @param[in] handle   Open connection.
 * @param[in] channel  0 to 15.
 * @param[in] text     Terminated; at most 17 characters are sent, and zeros up to 18 bytes.
 * @returns the statuses of ipmi_transport_set_lan_config().
 */
LUMI_API uint32_t ipmi_set_community_string(IpmiHandle *handle, uint8_t channel, const char *text);

/**
 * Reads how many alert destinations a LAN channel has, the volatile one not counted: LAN parameter 17.
 * @param[in]  handle   Open connection.
 * @param[in]  channel  0 to 15.
 * @param[out] count    4 bits; 0 when the response holds the revision alone.
 * @returns the statuses of ipmi_transport_get_lan_config().
 */
LUMI_API uint32_t ipmi_get_lan_destination_count(IpmiHandle *handle, uint8_t channel, uint8_t *count);

/**
 * Reads an alert destination: LAN parameters 18 and 19.
 * @param[in]     handle       Open connection.
 * @param[in]     channel      0 to 15.
 * @param[in,out] destination  In: selector; out: all else, but the gateway and the addresses keep their content unless
 *                             address_format is 0.
 * @returns the statuses of ipmi_transport_get_lan_config(); IPMI_STATUS_BMC_RESPOSE_UNAVAILABE when parameter 18 has
 *          fewer than 4 bytes or parameter 19 fewer than 13.
 */
LUMI_API uint32_t ipmi_get_lan_destination(IpmiHandle *handle, uint8_t channel, IpmiLanDestination *destination);

/**
 * Writes an alert destination: LAN parameters 18 and 19.
 * @param[in] handle       Open connection.
 * @param[in] channel      0 to 15.
 * @param[in] destination  Of selector and address_format 4 bits count, of type 2, of retries 3, of flags bit 0. Gateway
 *                         and addresses are sent only with address_format 0, else zeros.
 * @returns the statuses of ipmi_transport_set_lan_config(); parameter 18 stays written when 19 fails.
 */
LUMI_API uint32_t ipmi_set_lan_destination(IpmiHandle *handle, uint8_t channel, const IpmiLanDestination *destination);

LUMI_END_DECLS

#endif
