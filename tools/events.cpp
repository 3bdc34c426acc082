#include "tools/events.hpp"

#include <algorithm>
#include <initializer_list>

#include "tools/sdr_walk.hpp"
#include "tools/text.hpp"

namespace tool {

namespace {

constexpr Severity kGood = Severity::Ok;
constexpr Severity kWarn = Severity::Warning;
constexpr Severity kCrit = Severity::Critical;

constexpr uint8_t kThreshold = 0x01;
constexpr uint8_t kSeverityType = 0x07;
constexpr uint8_t kSensorSpecific = 0x6F;

/// A state: `type` is the event/reading type code of a generic state and the sensor type of a sensor-specific one.
struct StateRow {
  uint8_t type;
  uint8_t offset;
  Severity severity;
  const char* text;
};

/// Table 42-2.
constexpr StateRow kGeneric[] = {
    {0x01, 0x0, kWarn, "lower non-critical going low"},
    {0x01, 0x1, kWarn, "lower non-critical going high"},
    {0x01, 0x2, kCrit, "lower critical going low"},
    {0x01, 0x3, kCrit, "lower critical going high"},
    {0x01, 0x4, kCrit, "lower non-recoverable going low"},
    {0x01, 0x5, kCrit, "lower non-recoverable going high"},
    {0x01, 0x6, kWarn, "upper non-critical going low"},
    {0x01, 0x7, kWarn, "upper non-critical going high"},
    {0x01, 0x8, kCrit, "upper critical going low"},
    {0x01, 0x9, kCrit, "upper critical going high"},
    {0x01, 0xA, kCrit, "upper non-recoverable going low"},
    {0x01, 0xB, kCrit, "upper non-recoverable going high"},

    {0x02, 0x0, kGood, "idle"},
    {0x02, 0x1, kGood, "active"},
    {0x02, 0x2, kGood, "busy"},

    {0x03, 0x0, kGood, "state deasserted"},
    {0x03, 0x1, kGood, "state asserted"},

    {0x04, 0x0, kGood, "predictive failure deasserted"},
    {0x04, 0x1, kWarn, "predictive failure asserted"},

    {0x05, 0x0, kGood, "limit not exceeded"},
    {0x05, 0x1, kWarn, "limit exceeded"},

    {0x06, 0x0, kGood, "performance met"},
    {0x06, 0x1, kWarn, "performance lags"},

    {0x07, 0x0, kGood, "transition to OK"},
    {0x07, 0x1, kWarn, "transition to non-critical from OK"},
    {0x07, 0x2, kCrit, "transition to critical from less severe"},
    {0x07, 0x3, kCrit, "transition to non-recoverable from less severe"},
    {0x07, 0x4, kWarn, "transition to non-critical from more severe"},
    {0x07, 0x5, kCrit, "transition to critical from non-recoverable"},
    {0x07, 0x6, kCrit, "transition to non-recoverable"},
    {0x07, 0x7, kGood, "monitor"},
    {0x07, 0x8, kGood, "informational"},

    {0x08, 0x0, kGood, "device absent"},
    {0x08, 0x1, kGood, "device present"},

    {0x09, 0x0, kGood, "device disabled"},
    {0x09, 0x1, kGood, "device enabled"},

    {0x0A, 0x0, kGood, "running"},
    {0x0A, 0x1, kGood, "in test"},
    {0x0A, 0x2, kGood, "power off"},
    {0x0A, 0x3, kGood, "on line"},
    {0x0A, 0x4, kWarn, "off line"},
    {0x0A, 0x5, kGood, "off duty"},
    {0x0A, 0x6, kWarn, "degraded"},
    {0x0A, 0x7, kGood, "power save"},
    {0x0A, 0x8, kCrit, "install error"},

    {0x0B, 0x0, kGood, "fully redundant"},
    {0x0B, 0x1, kWarn, "redundancy lost"},
    {0x0B, 0x2, kWarn, "redundancy degraded"},
    {0x0B, 0x3, kWarn, "non-redundant: sufficient resources from redundant"},
    {0x0B, 0x4, kWarn, "non-redundant: sufficient resources from insufficient resources"},
    {0x0B, 0x5, kCrit, "non-redundant: insufficient resources"},
    {0x0B, 0x6, kWarn, "redundancy degraded from fully redundant"},
    {0x0B, 0x7, kWarn, "redundancy degraded from non-redundant"},

    {0x0C, 0x0, kGood, "D0 power state"},
    {0x0C, 0x1, kGood, "D1 power state"},
    {0x0C, 0x2, kGood, "D2 power state"},
    {0x0C, 0x3, kGood, "D3 power state"},
};

/// Table 42-3.
constexpr StateRow kSpecific[] = {
    // physical security
    {0x05, 0x0, kCrit, "general chassis intrusion"},
    {0x05, 0x1, kCrit, "drive bay intrusion"},
    {0x05, 0x2, kCrit, "I/O card area intrusion"},
    {0x05, 0x3, kCrit, "processor area intrusion"},
    {0x05, 0x4, kWarn, "LAN leash lost"},
    {0x05, 0x5, kWarn, "unauthorized dock"},
    {0x05, 0x6, kCrit, "fan area intrusion"},
    // platform security violation attempt
    {0x06, 0x0, kWarn, "secure mode violation attempt"},
    {0x06, 0x1, kWarn, "pre-boot user password violation"},
    {0x06, 0x2, kWarn, "pre-boot setup password violation"},
    {0x06, 0x3, kWarn, "pre-boot network boot password violation"},
    {0x06, 0x4, kWarn, "other pre-boot password violation"},
    {0x06, 0x5, kWarn, "out-of-band access password violation"},
    // processor
    {0x07, 0x0, kCrit, "IERR"},
    {0x07, 0x1, kCrit, "thermal trip"},
    {0x07, 0x2, kCrit, "FRB1/BIST failure"},
    {0x07, 0x3, kCrit, "FRB2/hang in POST failure"},
    {0x07, 0x4, kCrit, "FRB3/processor startup failure"},
    {0x07, 0x5, kCrit, "configuration error"},
    {0x07, 0x6, kCrit, "SM BIOS uncorrectable CPU-complex error"},
    {0x07, 0x7, kGood, "processor presence detected"},
    {0x07, 0x8, kWarn, "processor disabled"},
    {0x07, 0x9, kGood, "terminator presence detected"},
    {0x07, 0xA, kWarn, "processor automatically throttled"},
    {0x07, 0xB, kCrit, "uncorrectable machine check exception"},
    {0x07, 0xC, kWarn, "correctable machine check error"},
    // power supply
    {0x08, 0x0, kGood, "presence detected"},
    {0x08, 0x1, kCrit, "power supply failure detected"},
    {0x08, 0x2, kWarn, "predictive failure"},
    {0x08, 0x3, kCrit, "power supply input lost"},
    {0x08, 0x4, kCrit, "power supply input lost or out of range"},
    {0x08, 0x5, kWarn, "power supply input out of range, but present"},
    {0x08, 0x6, kCrit, "configuration error"},
    {0x08, 0x7, kGood, "power supply inactive"},
    // power unit
    {0x09, 0x0, kGood, "power off"},
    {0x09, 0x1, kGood, "power cycle"},
    {0x09, 0x2, kCrit, "240VA power down"},
    {0x09, 0x3, kCrit, "interlock power down"},
    {0x09, 0x4, kCrit, "power input lost"},
    {0x09, 0x5, kCrit, "soft power control failure"},
    {0x09, 0x6, kCrit, "power unit failure detected"},
    {0x09, 0x7, kWarn, "predictive failure"},
    // memory
    {0x0C, 0x0, kWarn, "correctable memory error"},
    {0x0C, 0x1, kCrit, "uncorrectable memory error"},
    {0x0C, 0x2, kCrit, "parity error"},
    {0x0C, 0x3, kCrit, "memory scrub failed"},
    {0x0C, 0x4, kWarn, "memory device disabled"},
    {0x0C, 0x5, kWarn, "correctable memory error logging limit reached"},
    {0x0C, 0x6, kGood, "presence detected"},
    {0x0C, 0x7, kCrit, "configuration error"},
    {0x0C, 0x8, kGood, "spare"},
    {0x0C, 0x9, kWarn, "memory automatically throttled"},
    {0x0C, 0xA, kCrit, "critical overtemperature"},
    // drive slot
    {0x0D, 0x0, kGood, "drive present"},
    {0x0D, 0x1, kCrit, "drive fault"},
    {0x0D, 0x2, kWarn, "predictive failure"},
    {0x0D, 0x3, kGood, "hot spare"},
    {0x0D, 0x4, kGood, "consistency check in progress"},
    {0x0D, 0x5, kWarn, "in critical array"},
    {0x0D, 0x6, kCrit, "in failed array"},
    {0x0D, 0x7, kWarn, "rebuild in progress"},
    {0x0D, 0x8, kCrit, "rebuild aborted"},
    // system firmware progress
    {0x0F, 0x0, kCrit, "system firmware error"},
    {0x0F, 0x1, kCrit, "system firmware hang"},
    {0x0F, 0x2, kGood, "system firmware progress"},
    // event logging disabled
    {0x10, 0x0, kWarn, "correctable memory error logging disabled"},
    {0x10, 0x1, kWarn, "event type logging disabled"},
    {0x10, 0x2, kGood, "log area reset/cleared"},
    {0x10, 0x3, kWarn, "all event logging disabled"},
    {0x10, 0x4, kWarn, "SEL full"},
    {0x10, 0x5, kWarn, "SEL almost full"},
    {0x10, 0x6, kWarn, "correctable machine check error logging disabled"},
    // watchdog 1
    {0x11, 0x0, kCrit, "BIOS watchdog reset"},
    {0x11, 0x1, kCrit, "OS watchdog reset"},
    {0x11, 0x2, kCrit, "OS watchdog shut down"},
    {0x11, 0x3, kCrit, "OS watchdog power down"},
    {0x11, 0x4, kCrit, "OS watchdog power cycle"},
    {0x11, 0x5, kCrit, "OS watchdog NMI/diagnostic interrupt"},
    {0x11, 0x6, kWarn, "OS watchdog expired, status only"},
    {0x11, 0x7, kWarn, "OS watchdog pre-timeout interrupt, non-NMI"},
    // system event
    {0x12, 0x0, kGood, "system reconfigured"},
    {0x12, 0x1, kGood, "OEM system boot event"},
    {0x12, 0x2, kCrit, "undetermined system hardware failure"},
    {0x12, 0x3, kGood, "entry added to auxiliary log"},
    {0x12, 0x4, kGood, "PEF action"},
    {0x12, 0x5, kGood, "timestamp clock synch"},
    // critical interrupt
    {0x13, 0x0, kCrit, "front panel NMI/diagnostic interrupt"},
    {0x13, 0x1, kCrit, "bus timeout"},
    {0x13, 0x2, kCrit, "I/O channel check NMI"},
    {0x13, 0x3, kCrit, "software NMI"},
    {0x13, 0x4, kCrit, "PCI PERR"},
    {0x13, 0x5, kCrit, "PCI SERR"},
    {0x13, 0x6, kCrit, "EISA fail safe timeout"},
    {0x13, 0x7, kWarn, "bus correctable error"},
    {0x13, 0x8, kCrit, "bus uncorrectable error"},
    {0x13, 0x9, kCrit, "fatal NMI"},
    {0x13, 0xA, kCrit, "bus fatal error"},
    {0x13, 0xB, kWarn, "bus degraded"},
    // button/switch
    {0x14, 0x0, kGood, "power button pressed"},
    {0x14, 0x1, kGood, "sleep button pressed"},
    {0x14, 0x2, kGood, "reset button pressed"},
    {0x14, 0x3, kGood, "FRU latch open"},
    {0x14, 0x4, kGood, "FRU service request button pressed"},
    // chip set
    {0x19, 0x0, kCrit, "soft power control failure"},
    {0x19, 0x1, kCrit, "thermal trip"},
    // cable/interconnect
    {0x1B, 0x0, kGood, "cable/interconnect connected"},
    {0x1B, 0x1, kCrit, "configuration error: incorrect cable connected"},
    // system boot/restart initiated
    {0x1D, 0x0, kGood, "initiated by power up"},
    {0x1D, 0x1, kGood, "initiated by hard reset"},
    {0x1D, 0x2, kGood, "initiated by warm reset"},
    {0x1D, 0x3, kGood, "user requested PXE boot"},
    {0x1D, 0x4, kGood, "automatic boot to diagnostic"},
    {0x1D, 0x5, kGood, "OS/run-time software initiated hard reset"},
    {0x1D, 0x6, kGood, "OS/run-time software initiated warm reset"},
    {0x1D, 0x7, kGood, "system restart"},
    // boot error
    {0x1E, 0x0, kCrit, "no bootable media"},
    {0x1E, 0x1, kCrit, "non-bootable diskette left in drive"},
    {0x1E, 0x2, kCrit, "PXE server not found"},
    {0x1E, 0x3, kCrit, "invalid boot sector"},
    {0x1E, 0x4, kWarn, "timeout waiting for user selection of boot source"},
    // base OS boot/installation status
    {0x1F, 0x0, kGood, "A: boot completed"},
    {0x1F, 0x1, kGood, "C: boot completed"},
    {0x1F, 0x2, kGood, "PXE boot completed"},
    {0x1F, 0x3, kGood, "diagnostic boot completed"},
    {0x1F, 0x4, kGood, "CD-ROM boot completed"},
    {0x1F, 0x5, kGood, "ROM boot completed"},
    {0x1F, 0x6, kGood, "boot completed, device not specified"},
    {0x1F, 0x7, kGood, "base OS/hypervisor installation started"},
    {0x1F, 0x8, kGood, "base OS/hypervisor installation completed"},
    {0x1F, 0x9, kWarn, "base OS/hypervisor installation aborted"},
    {0x1F, 0xA, kCrit, "base OS/hypervisor installation failed"},
    // OS stop/shutdown
    {0x20, 0x0, kCrit, "critical stop during OS load/initialization"},
    {0x20, 0x1, kCrit, "run-time critical stop"},
    {0x20, 0x2, kGood, "OS graceful stop"},
    {0x20, 0x3, kGood, "OS graceful shutdown"},
    {0x20, 0x4, kGood, "soft shutdown initiated by PEF"},
    {0x20, 0x5, kWarn, "agent not responding"},
    // slot/connector
    {0x21, 0x0, kCrit, "fault status asserted"},
    {0x21, 0x1, kGood, "identify status asserted"},
    {0x21, 0x2, kGood, "slot/connector device installed"},
    {0x21, 0x3, kGood, "slot/connector ready for device installation"},
    {0x21, 0x4, kGood, "slot/connector ready for device removal"},
    {0x21, 0x5, kGood, "slot power is off"},
    {0x21, 0x6, kGood, "slot/connector device removal request"},
    {0x21, 0x7, kWarn, "interlock asserted"},
    {0x21, 0x8, kGood, "slot is disabled"},
    {0x21, 0x9, kGood, "slot holds spare device"},
    // system ACPI power state
    {0x22, 0x0, kGood, "S0/G0 working"},
    {0x22, 0x1, kGood, "S1 sleeping, system and processor context maintained"},
    {0x22, 0x2, kGood, "S2 sleeping, processor context lost"},
    {0x22, 0x3, kGood, "S3 sleeping, memory retained"},
    {0x22, 0x4, kGood, "S4 suspend to disk"},
    {0x22, 0x5, kGood, "S5/G2 soft off"},
    {0x22, 0x6, kGood, "S4/S5 soft off"},
    {0x22, 0x7, kGood, "G3 mechanical off"},
    {0x22, 0x8, kGood, "sleeping in S1, S2 or S3"},
    {0x22, 0x9, kGood, "G1 sleeping"},
    {0x22, 0xA, kGood, "S5 entered by override"},
    {0x22, 0xB, kGood, "legacy ON"},
    {0x22, 0xC, kGood, "legacy OFF"},
    {0x22, 0xE, kWarn, "unknown"},
    // watchdog 2
    {0x23, 0x0, kWarn, "timer expired, status only"},
    {0x23, 0x1, kCrit, "hard reset"},
    {0x23, 0x2, kCrit, "power down"},
    {0x23, 0x3, kCrit, "power cycle"},
    {0x23, 0x8, kWarn, "timer interrupt"},
    // platform alert
    {0x24, 0x0, kGood, "platform generated page"},
    {0x24, 0x1, kGood, "platform generated LAN alert"},
    {0x24, 0x2, kGood, "platform event trap generated"},
    {0x24, 0x3, kGood, "platform generated SNMP trap, OEM format"},
    // entity presence
    {0x25, 0x0, kGood, "entity present"},
    {0x25, 0x1, kGood, "entity absent"},
    {0x25, 0x2, kGood, "entity disabled"},
    // LAN
    {0x27, 0x0, kWarn, "LAN heartbeat lost"},
    {0x27, 0x1, kGood, "LAN heartbeat"},
    // management subsystem health
    {0x28, 0x0, kWarn, "sensor access degraded or unavailable"},
    {0x28, 0x1, kWarn, "controller access degraded or unavailable"},
    {0x28, 0x2, kCrit, "management controller off-line"},
    {0x28, 0x3, kCrit, "management controller unavailable"},
    {0x28, 0x4, kWarn, "sensor failure"},
    {0x28, 0x5, kWarn, "FRU failure"},
    // battery
    {0x29, 0x0, kWarn, "battery low"},
    {0x29, 0x1, kCrit, "battery failed"},
    {0x29, 0x2, kGood, "battery presence detected"},
    // session audit
    {0x2A, 0x0, kGood, "session activated"},
    {0x2A, 0x1, kGood, "session deactivated"},
    {0x2A, 0x2, kWarn, "invalid user name or password"},
    {0x2A, 0x3, kWarn, "invalid password disable"},
    // version change
    {0x2B, 0x0, kGood, "hardware change detected"},
    {0x2B, 0x1, kGood, "firmware or software change detected"},
    {0x2B, 0x2, kCrit, "hardware incompatibility detected"},
    {0x2B, 0x3, kCrit, "firmware or software incompatibility detected"},
    {0x2B, 0x4, kCrit, "invalid or unsupported hardware version"},
    {0x2B, 0x5, kCrit, "invalid or unsupported firmware or software version"},
    {0x2B, 0x6, kGood, "hardware change successful"},
    {0x2B, 0x7, kGood, "firmware or software change successful"},
    // FRU state
    {0x2C, 0x0, kGood, "FRU not installed"},
    {0x2C, 0x1, kGood, "FRU inactive"},
    {0x2C, 0x2, kGood, "FRU activation requested"},
    {0x2C, 0x3, kGood, "FRU activation in progress"},
    {0x2C, 0x4, kGood, "FRU active"},
    {0x2C, 0x5, kGood, "FRU deactivation requested"},
    {0x2C, 0x6, kGood, "FRU deactivation in progress"},
    {0x2C, 0x7, kCrit, "FRU communication lost"},
};

const StateRow* find_state(uint8_t sensor_type, uint8_t event_type, uint8_t offset) {
  const bool specific = event_type == kSensorSpecific;
  const uint8_t type = specific ? sensor_type : event_type;
  const auto fits = [&](const StateRow& row) { return row.type == type && row.offset == offset; };
  const StateRow* begin = specific ? std::begin(kSpecific) : std::begin(kGeneric);
  const StateRow* end = specific ? std::end(kSpecific) : std::end(kGeneric);
  const StateRow* row = std::find_if(begin, end, fits);
  return row == end ? nullptr : row;
}

// Event data bytes 2 and 3 of sensor-specific events (table 42-3).

using Names = std::initializer_list<const char*>;

constexpr Names kFirmwareErrors = {
    "unspecified",
    "no system memory installed",
    "no usable system memory",
    "unrecoverable hard-disk/ATAPI/IDE device failure",
    "unrecoverable system-board failure",
    "unrecoverable diskette subsystem failure",
    "unrecoverable hard-disk controller failure",
    "unrecoverable keyboard failure",
    "removable boot media not found",
    "unrecoverable video controller failure",
    "no video device detected",
    "firmware ROM corruption detected",
    "CPU voltage mismatch",
    "CPU speed matching failure",
};
constexpr Names kFirmwareProgress = {
    "unspecified",
    "memory initialization",
    "hard-disk initialization",
    "secondary processor initialization",
    "user authentication",
    "user-initiated system setup",
    "USB resource configuration",
    "PCI resource configuration",
    "option ROM initialization",
    "video initialization",
    "cache initialization",
    "SMBus initialization",
    "keyboard controller initialization",
    "management controller initialization",
    "docking station attachment",
    "enabling docking station",
    "docking station ejection",
    "disabling docking station",
    "calling operating system wake-up vector",
    "starting operating system boot process",
    "baseboard initialization",
    nullptr,
    "floppy initialization",
    "keyboard test",
    "pointing device test",
    "primary processor initialization",
};
constexpr Names kConfigurationErrors = {"vendor mismatch", "revision mismatch", "processor missing",
                                        "power supply rating mismatch", "voltage rating mismatch"};
constexpr Names kLogActions = {"entry added",
                               "entry added because the event is no standard one",
                               "entry added along with SEL entries",
                               "log cleared",
                               "log disabled",
                               "log enabled"};
constexpr Names kLogTypes = {"MCA log", "OEM log 1", "OEM log 2"};
constexpr Names kPefActions = {"alert", "power off", "reset", "power cycle", "OEM action", "diagnostic interrupt"};
constexpr Names kClockPairs = {"first of pair", "second of pair"};
constexpr Names kClocks = {"SEL clock", "SDR clock"};
constexpr Names kPowerStates = {"S0/G0",
                                "S1",
                                "S2",
                                "S3",
                                "S4",
                                "S5/G2",
                                "S4/S5 soft off",
                                "G3 mechanical off",
                                "sleeping in S1, S2 or S3",
                                "G1 sleeping",
                                "S5 by override",
                                "legacy ON",
                                "legacy OFF",
                                "unknown"};
constexpr Names kRestartCauses = {"unknown",
                                  "Chassis Control command",
                                  "reset button",
                                  "power button",
                                  "watchdog expiration",
                                  "OEM",
                                  "automatic power-up, always restore",
                                  "automatic power-up, restore previous state",
                                  "reset by PEF",
                                  "power cycle by PEF",
                                  "soft reset",
                                  "power-up by real-time clock"};
constexpr Names kSlotTypes = {"PCI",
                              "drive array",
                              "external peripheral connector",
                              "docking",
                              "other standard internal expansion slot",
                              "slot of the sensor's entity",
                              "AdvancedTCA",
                              "memory device",
                              "fan",
                              "PCI Express",
                              "SCSI",
                              "SATA/SAS",
                              "USB"};
constexpr Names kWatchdogInterrupts = {"none",  "SMI",   "NMI",   "messaging interrupt",
                                       nullptr, nullptr, nullptr, nullptr,
                                       nullptr, nullptr, nullptr, nullptr,
                                       nullptr, nullptr, nullptr, "unspecified"};
constexpr Names kWatchdogUses = {nullptr, "BIOS FRB2", "BIOS/POST", "OS load",    "SMS/OS", "OEM",
                                 nullptr, nullptr,     nullptr,     nullptr,      nullptr,  nullptr,
                                 nullptr, nullptr,     nullptr,     "unspecified"};
constexpr Names kDeactivationCauses = {"unspecified", "Close Session command", "timeout", "configuration change"};
constexpr Names kVersionChanges = {
    "unspecified",
    "management controller device ID",
    "management controller firmware revision",
    "management controller device revision",
    "management controller manufacturer ID",
    "management controller IPMI version",
    "management controller auxiliary firmware ID",
    "management controller firmware boot block",
    "other management controller firmware",
    "system firmware",
    "SMBIOS",
    "operating system",
    "operating system loader",
    "service or diagnostic partition",
    "management software agent",
    "management software application",
    "management software middleware",
    "programmable hardware",
    "board/FRU module",
    "board/FRU component",
    "board/FRU replaced with equivalent version",
    "board/FRU replaced with newer version",
    "board/FRU replaced with older version",
    "board/FRU hardware configuration",
};
constexpr Names kFruCauses = {"normal state change",
                              "commanded by software external to the FRU",
                              "operator changed a handle latch",
                              "operator pressed the hot swap button",
                              "FRU programmatic action",
                              "communication lost",
                              "communication lost due to local failure",
                              "unexpected extraction",
                              "operator intervention/update",
                              "IPMB address could not be computed",
                              "unexpected deactivation",
                              nullptr,
                              nullptr,
                              nullptr,
                              nullptr,
                              "unknown"};

enum class Kind {
  Choice,  // one of the names
  Flags,   // a name for each set bit
  Number,  // decimal
  Hex,
  State,  // an offset of the sensor's own states
};

constexpr uint16_t kAny = 0xFFFF;
constexpr uint16_t at(unsigned offset) {
  return static_cast<uint16_t>(1u << offset);
}

/// What a field of event data byte 2 or 3 says when event data 1 marks the byte as a sensor-specific extension.
struct Extension {
  uint8_t sensor_type;
  uint16_t offsets;  // bit per event offset
  uint8_t byte;      // 2 or 3
  uint8_t high, low;
  Kind kind;
  const char* label;
  const Names* names = nullptr;
  int unspecified = -1;  // a value that says nothing
};

constexpr Extension kExtensions[] = {
    {0x05, at(4), 2, 7, 0, Kind::Number, "network controller"},
    {0x08, at(6), 3, 3, 0, Kind::Choice, "error", &kConfigurationErrors},
    {0x0C, kAny, 3, 7, 0, Kind::Number, "memory module"},
    {0x0F, at(0), 2, 7, 0, Kind::Choice, "error", &kFirmwareErrors},
    {0x0F, at(1) | at(2), 2, 7, 0, Kind::Choice, "at", &kFirmwareProgress},
    {0x10, at(0), 2, 7, 0, Kind::Number, "memory module"},
    {0x10, at(1), 2, 7, 0, Kind::Hex, "event type"},
    {0x10, at(1), 3, 3, 0, Kind::Number, "offset"},
    {0x10, at(5), 3, 7, 0, Kind::Number, "percent full"},
    {0x10, at(6), 2, 7, 0, Kind::Number, "processor", nullptr, 0xFF},
    {0x12, at(3), 2, 7, 4, Kind::Choice, "action", &kLogActions},
    {0x12, at(3), 2, 3, 0, Kind::Choice, "log", &kLogTypes},
    {0x12, at(4), 2, 5, 0, Kind::Flags, "action", &kPefActions},
    {0x12, at(5), 2, 7, 7, Kind::Choice, "event", &kClockPairs},
    {0x12, at(5), 2, 3, 0, Kind::Choice, "clock", &kClocks},
    {0x19, at(0), 2, 7, 0, Kind::Choice, "requested power state", &kPowerStates},
    {0x19, at(0), 3, 7, 0, Kind::Choice, "power state", &kPowerStates},
    {0x1D, at(7), 2, 3, 0, Kind::Choice, "cause", &kRestartCauses},
    {0x1D, at(7), 3, 7, 0, Kind::Number, "channel"},
    {0x21, kAny, 2, 6, 0, Kind::Choice, "slot type", &kSlotTypes},
    {0x21, kAny, 3, 7, 0, Kind::Number, "slot"},
    {0x23, kAny, 2, 3, 0, Kind::Choice, "timer use", &kWatchdogUses},
    {0x23, kAny, 2, 7, 4, Kind::Choice, "interrupt", &kWatchdogInterrupts},
    {0x28, at(4), 2, 7, 0, Kind::Hex, "sensor"},
    {0x28, at(5), 3, 7, 0, Kind::Number, "FRU"},
    {0x2A, kAny, 2, 5, 0, Kind::Number, "user", nullptr, 0},
    {0x2A, kAny, 3, 3, 0, Kind::Number, "channel"},
    {0x2A, at(1), 3, 5, 4, Kind::Choice, "cause", &kDeactivationCauses, 0},
    {0x2B, kAny, 2, 7, 0, Kind::Choice, "change", &kVersionChanges, 0},
    {0x2C, kAny, 2, 7, 4, Kind::Choice, "cause", &kFruCauses},
    {0x2C, kAny, 2, 3, 0, Kind::State, "previous state"},
};

/// Joins what is to be said.
class Sentence {
 public:
  void add(const std::string& part) {
    if (!text_.empty()) text_ += "; ";
    text_ += part;
  }
  const std::string& text() const { return text_; }

 private:
  std::string text_;
};

std::string field_text(const Extension& field, uint8_t sensor_type, unsigned value) {
  const std::string label = std::string(field.label) + " ";
  switch (field.kind) {
    case Kind::Number:
      return label + std::to_string(value);
    case Kind::Hex:
      return label + hex_number(value);
    case Kind::State:
      return label + state_text(sensor_type, kSensorSpecific, static_cast<uint8_t>(value)).text;
    case Kind::Choice: {
      const char* name = value < field.names->size() ? field.names->begin()[value] : nullptr;
      return label + (name != nullptr ? name : hex_number(value));
    }
    case Kind::Flags:
      break;
  }
  std::string text = label;
  const char* between = "";
  for (unsigned bit = 0; bit < field.names->size(); ++bit) {
    if ((value >> bit & 1) == 0) continue;
    text += between;
    text += field.names->begin()[bit];
    between = ", ";
  }
  return value == 0 ? label + "none" : text;
}

/// The fields of a byte that is a sensor-specific extension.
void add_extension(Sentence& sentence, uint8_t sensor_type, uint8_t event_type, unsigned offset, uint8_t byte,
                   uint8_t data) {
  bool known = false;
  for (const Extension& field : kExtensions) {
    if (event_type != kSensorSpecific || field.sensor_type != sensor_type || field.byte != byte ||
        (field.offsets >> offset & 1) == 0)
      continue;
    known = true;
    const unsigned value = data >> field.low & ((1u << (field.high - field.low + 1)) - 1);
    if (static_cast<int>(value) != field.unspecified) sentence.add(field_text(field, sensor_type, value));
  }
  if (!known) sentence.add("event data " + std::to_string(byte) + " " + hex_number(data));
}

/// Previous state and severity in event data 2 of discrete events.
void add_previous(Sentence& sentence, uint8_t sensor_type, uint8_t event_type, uint8_t data) {
  const uint8_t severity = data >> 4;
  const uint8_t previous = data & 0x0F;
  if (severity != 0x0F) sentence.add("severity " + state_text(sensor_type, kSeverityType, severity).text);
  if (previous != 0x0F) sentence.add("previous state " + state_text(sensor_type, event_type, previous).text);
}

/// A reading or threshold byte as far as the sensor is known.
std::string value_text(const Sensor* sensor, uint8_t raw) {
  if (sensor != nullptr)
    if (const auto text = sensor->value_text(raw)) return *text;
  return "raw " + hex_number(raw);
}

}  // namespace

StateText state_text(uint8_t sensor_type, uint8_t event_type, uint8_t offset) {
  if (const StateRow* row = find_state(sensor_type, event_type, offset)) return {row->text, row->severity};
  const bool oem = (event_type >= 0x70 && event_type <= 0x7F) || (event_type == kSensorSpecific && sensor_type >= 0xC0);
  return {(oem ? "OEM state " : "state ") + std::to_string(offset), Severity::None};
}

std::vector<StateText> states_of(uint8_t sensor_type, uint8_t event_type, uint16_t bits) {
  std::vector<StateText> states;
  for (uint8_t offset = 0; offset < 15; ++offset)
    if (bits >> offset & 1) states.push_back(state_text(sensor_type, event_type, offset));
  return states;
}

const char* threshold_name(unsigned index) {
  static constexpr const char* kNames[] = {"lower non-critical", "lower critical", "lower non-recoverable",
                                           "upper non-critical", "upper critical", "upper non-recoverable"};
  return kNames[index];
}

const char* threshold_key(unsigned index) {
  static constexpr const char* kKeys[] = {"lnc", "lc", "lnr", "unc", "uc", "unr"};
  return kKeys[index];
}

std::vector<StateText> threshold_states_of(uint8_t bits) {
  std::vector<StateText> states;
  for (const unsigned index : {5u, 2u, 4u, 1u, 3u, 0u})
    if (bits >> index & 1) states.push_back({threshold_name(index), index % 3 == 0 ? kWarn : kCrit});
  return states;
}

Severity worst(Severity a, Severity b) {
  const auto rank = [](Severity severity) {
    switch (severity) {
      case Severity::Critical:
        return 3;
      case Severity::Warning:
        return 2;
      case Severity::Ok:
        return 1;
      default:
        return 0;
    }
  };
  return rank(a) < rank(b) ? b : a;
}

Severity worst(const std::vector<StateText>& states) {
  Severity severity = Severity::None;
  for (const StateText& state : states) severity = worst(severity, state.severity);
  return severity;
}

Json severity_json(Severity severity) {
  switch (severity) {
    case Severity::Ok:
      return "ok";
    case Severity::Warning:
      return "warning";
    case Severity::Critical:
      return "critical";
    default:
      return nullptr;
  }
}

EventText describe_event(uint8_t sensor_type, uint8_t event_type, uint8_t direction, const uint8_t data[3],
                         const Sensor* sensor) {
  const uint8_t offset = data[0] & 0x0F;
  const StateText state = state_text(sensor_type, event_type, offset);
  const bool threshold = event_type == kThreshold;

  // What bytes 2 and 3 hold stands in event data 1, bits 7..6 and 5..4 (table 29-6).
  Sentence detail;
  for (const uint8_t byte : {uint8_t{2}, uint8_t{3}}) {
    const uint8_t value = data[byte - 1];
    switch (data[0] >> (byte == 2 ? 6 : 4) & 3) {
      case 1:
        if (threshold)
          detail.add((byte == 2 ? "reading " : "threshold ") + value_text(sensor, value));
        else if (byte == 2)
          add_previous(detail, sensor_type, event_type, value);
        else
          detail.add("event data 3 " + hex_number(value));
        break;
      case 2:
        detail.add("OEM data " + hex_number(value));
        break;
      case 3:
        add_extension(detail, sensor_type, event_type, offset, byte, value);
        break;
      default:
        break;
    }
  }
  return {state.text, detail.text(), direction == 0 ? state.severity : Severity::Ok};
}

}  // namespace tool
