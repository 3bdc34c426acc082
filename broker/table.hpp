// Which IPMI command each (function, operation) pair of the broker stands for.
#pragma once

#include <cstddef>
#include <cstdint>

namespace lumi::broker {

constexpr uint32_t kGet = 0;
constexpr uint32_t kSet = 1;

// Network functions of requests (IPMI v2.0 rev 1.1, 5.1).
constexpr uint8_t kChassis = 0x00;
constexpr uint8_t kSensor = 0x04;
constexpr uint8_t kApp = 0x06;
constexpr uint8_t kStorage = 0x0A;
constexpr uint8_t kTransport = 0x0C;

/// As many request bytes as the frame tells.
constexpr uint8_t kAsFramed = 0xFF;

struct Mapping {
  uint32_t function;
  uint32_t operation;
  uint8_t net_fn;
  uint8_t cmd;
  uint8_t size = kAsFramed;  // request bytes, for frames whose length field says nothing
};

/// The first row of a pair counts, so a table given at build time can also replace one of ours.
constexpr Mapping kMappings[] = {
#ifdef LUMIPMI_BROKER_TABLE
#include LUMIPMI_BROKER_TABLE
#endif
    {1, kGet, kApp, 0x41},        // Get Channel Access
    {1, kSet, kApp, 0x40},        // Set Channel Access
    {2, kGet, kApp, 0x59},        // Get System Info Parameters
    {2, kSet, kApp, 0x58},        // Set System Info Parameters
    {3, kGet, kChassis, 0x09},    // Get System Boot Options
    {3, kSet, kChassis, 0x08},    // Set System Boot Options
    {5, kGet, kTransport, 0x02},  // Get LAN Configuration Parameters: the community string
    {6, kGet, kChassis, 0x01},    // Get Chassis Status
    {6, kSet, kChassis, 0x02},    // Chassis Control
    {7, kGet, kTransport, 0x11},  // Get Serial/Modem Configuration
    {7, kSet, kTransport, 0x10},  // Set Serial/Modem Configuration
    {8, kGet, kTransport, 0x22},  // Get SOL Configuration Parameters
    {10, kGet, kStorage, 0x40},   // Get SEL Info
    {11, kGet, kStorage, 0x48},   // Get SEL Time
    {11, kSet, kStorage, 0x49},   // Set SEL Time
    {12, kGet, kStorage, 0x43},   // Get SEL Entry
    {12, kSet, kStorage, 0x44},   // Add SEL Entry
    {13, kGet, kStorage, 0x42},   // Reserve SEL
    {14, kSet, kStorage, 0x47},   // Clear SEL
    {15, kGet, kStorage, 0x22},   // Reserve SDR Repository
    {16, kGet, kStorage, 0x23},   // Get SDR
    {17, kGet, kStorage, 0x11},   // Read FRU Data
    {18, kGet, kSensor, 0x2D},    // Get Sensor Reading
};

/// Server power and the controller's status register: no IPMI command has their meaning.
constexpr bool is_controllers_own(uint32_t function) {
  return function == 0 || function == 9;
}

constexpr bool well_formed(size_t data_size) {
  for (const Mapping& row : kMappings)
    if (row.net_fn % 2 != 0 || row.net_fn > 0x3E || (row.size != kAsFramed && row.size > data_size)) return false;
  return true;
}

}  // namespace lumi::broker
