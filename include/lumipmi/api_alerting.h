/** @file api_alerting.h
 *  Management calls: event filters, alert policies and destinations, and alerts.
 *
 *  What is common to all management calls stands in api_identity.h. A set call reads the whole entry, changes one field
 *  and writes the entry back; nothing keeps another application from writing in between. Channel kinds are
 *  IPMI_CHANNEL_KIND_*; without a channel of the kind: IPMI_STATUS_APP_NOT_FOUND. */
#ifndef LUMIPMI_API_ALERTING_H
#define LUMIPMI_API_ALERTING_H

#include <stdint.h>

#include "lumipmi/connection.h"
#include "lumipmi/export.h"

/** One entry of the event filter table as the BMC sends it behind the set selector (IPMI v2.0 rev 1.1, table 17-2). */
typedef struct IPMIEventFilterEntry {
  uint8_t data[20]; /**< bytes that the BMC did not send are 0 */
} IPMIEventFilterEntry;

LUMI_BEGIN_DECLS

/**
 * Tells whether an event filter is enabled: PEF configuration parameter 6 (30.4).
 * @param[in]  filterNumber  From 1 on; 7 bits.
 * @param[out] enabled       0 or 1.
 * @returns the statuses of ipmi_get_event_filter().
 */
LUMI_API uint32_t IPMIGetEnableEventFilters(uint8_t filterNumber, uint8_t *enabled);
/** Enables (1) or disables (0) an event filter; bit 0 counts. The filter's group control selector becomes 0.
 *  @returns the statuses of ipmi_get_event_filter() and ipmi_set_event_filter(). */
LUMI_API uint32_t IPMISetEnableEventFilters(uint8_t filterNumber, uint8_t enable);

/**
 * Reads an event filter undecoded.
 * @param[in]  filterNumber  From 1 on.
 * @param[out] entry         Written on success only.
 * @returns the statuses of ipmi_se_get_pef_config(); above 40 bytes IPMI_STATUS_APP_INSUFFICIENT_BUFFER.
 */
LUMI_API uint32_t IPMIGetEventFilterEntry(uint8_t filterNumber, IPMIEventFilterEntry *entry);

/**
 * Reads what an event filter does.
 * @param[in]  filterNumber  From 1 on.
 * @param[out] actions       Bits of IpmiEventFilter::action.
 * @returns the statuses of ipmi_get_event_filter().
 */
LUMI_API uint32_t IPMIGetEventActions(uint8_t filterNumber, uint8_t *actions);
/** Sets what an event filter does; bits 6..0 count. As IPMISetEnableEventFilters(). */
LUMI_API uint32_t IPMISetEventActions(uint8_t filterNumber, uint8_t actions);

/**
 * Tells whether an alert policy is enabled: PEF configuration parameter 9.
 * @param[in]  policyEntry  From 1 on; 7 bits.
 * @param[out] enabled      0 or 1.
 * @returns the statuses of ipmi_get_policy().
 */
LUMI_API uint32_t IPMIGetAlertPolicyEnable(uint8_t policyEntry, uint8_t *enabled);
/** Enables (any value but 0) or disables (0) an alert policy.
 *  @returns the statuses of ipmi_get_policy() and ipmi_set_policy(). */
LUMI_API uint32_t IPMISetAlertPolicyEnable(uint8_t policyEntry, uint8_t enable);

/**
 * Reads the IPv4 address of the destination that an alert policy names: LAN configuration parameters 18 and 19.
 * @param[in]  policyEntry  From 1 on.
 * @param[in]  capacity     Room at text in bytes, 16 for every address; below 7 IPMI_STATUS_APP_INSUFFICIENT_BUFFER.
 * @param[out] text         "192.0.2.1", cut to capacity; cleared, all of capacity, unless capacity is too small, and
 *                          empty when the destination has no IPv4 address.
 * @returns 0; the statuses of ipmi_get_policy() and ipmi_get_lan_destination().
 */
LUMI_API uint32_t IPMIGetAlertDestinationIPAddr(uint8_t policyEntry, uint8_t capacity, char *text);

/**
 * Changes that address; all else of the destination stays.
 * @param[in] policyEntry  From 1 on.
 * @param[in] text         As inet_addr() takes it: "192.0.2.1"; other texts give IPMI_STATUS_APP_INVALID_PARAMETER.
 * @returns 0; IPMI_STATUS_BMC_RESPOSE_UNAVAILABE when the destination has no IPv4 address; the statuses of
 *          ipmi_get_policy(), ipmi_get_lan_destination() and ipmi_set_lan_destination().
 */
LUMI_API uint32_t IPMISetAlertDestinationIPAddr(uint8_t policyEntry, const char *text);

/**
 * Reads the community string of PET alerts: LAN configuration parameter 16.
 * @param[in]  channelKind
 * @param[in]  capacity     Room at text in bytes, 19 at least; less gives IPMI_STATUS_APP_INVALID_PARAMETER.
 * @param[out] text         Cleared first, all of capacity; at most 17 characters: the 18th is cut.
 * @returns the statuses of ipmi_get_community_string().
 */
LUMI_API uint32_t IPMIGetPETCommunityName(uint32_t channelKind, uint8_t capacity, uint8_t *text);

/**
 * Writes the community string.
 * @param[in] channelKind
 * @param[in] text         At most 18 characters, of which 17 are sent; more give IPMI_STATUS_APP_INVALID_PARAMETER.
 * @returns the statuses of ipmi_set_community_string().
 */
LUMI_API uint32_t IPMISetPETCommunityName(uint32_t channelKind, const char *text);

/**
 * Tells whether the LAN channel sends PEF alerts, by its active settings: Get Channel Access (22.23).
 * @param[out] enabled  0 or 1.
 * @returns the statuses of ipmi_app_get_channel_access_info().
 */
LUMI_API uint32_t IPMIGetAlertEnable(uint8_t *enabled);

/**
 * Lets the LAN channel send PEF alerts or not: the active settings, then the stored ones (22.22).
 * @param[in] enable  0 or 1.
 * @returns 0; the first failure. The active settings stay changed when the stored ones fail.
 */
LUMI_API uint32_t IPMISetAlertEnable(uint8_t enable);

/**
 * Sends an alert and waits for its outcome: Alert Immediate (30.7).
 * @param[in]  channelKind
 * @param[in]  destination     Destination selector; 4 bits.
 * @param[in]  sendString      Bit 0: with the alert string.
 * @param[in]  stringSelector  Alert string; 7 bits.
 * @param[in]  timeoutSeconds  How long to wait: 20 questions a second and one more. 0 or less: not at all.
 * @param[out] alertStatus     What the BMC says once it is neither 0x00, no status, nor 0xFF, in progress. May be null
 *                             when timeoutSeconds is 0 or less.
 * @returns 0; IPMI_STATUS_APP_ALERT_TIMEOUT, alertStatus untouched. Failed questions are repeated, not reported.
 */
LUMI_API uint32_t IPMIImmediateAlert(uint32_t channelKind, uint8_t destination, uint8_t sendString,
                                     uint8_t stringSelector, int8_t timeoutSeconds, uint32_t *alertStatus);

LUMI_END_DECLS

#endif
