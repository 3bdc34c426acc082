// Arguments, and what every host has: tests/net has the rest.
#include "lumipmi/ethernet.h"

#include <arpa/inet.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "lumipmi/status.h"

namespace {

TEST(ethernet, list_needs_a_count_and_room) {
  uint32_t needed = 0;
  IpmiEthernetInterface one = {};
  EXPECT_EQ(GetEthernetInterface(&one, nullptr), IPMI_STATUS_APP_INVALID_PARAMETER);
  ASSERT_EQ(GetEthernetInterface(nullptr, &needed), IPMI_STATUS_APP_INSUFFICIENT_BUFFER);
  ASSERT_GE(needed, 1u) << "the loopback interface";
  uint32_t count = needed;
  EXPECT_EQ(GetEthernetInterface(nullptr, &count), IPMI_STATUS_APP_INVALID_PARAMETER);
  EXPECT_EQ(count, needed);

  std::vector<IpmiEthernetInterface> list(needed + 1);
  list[0].index = list[needed].index = 0xEEEE;
  count = needed - 1;
  EXPECT_EQ(GetEthernetInterface(list.data(), &count), IPMI_STATUS_APP_INSUFFICIENT_BUFFER);
  EXPECT_EQ(count, needed);
  EXPECT_EQ(list[0].index, 0xEEEEu);
  for (const uint32_t room : {needed, needed + 1}) {
    count = room;
    EXPECT_EQ(GetEthernetInterface(list.data(), &count), 0u);
    EXPECT_EQ(count, needed);
    EXPECT_EQ(list[needed].index, 0xEEEEu);
  }
}

TEST(ethernet, arp_arguments) {
  const struct {
    const char* destination;
    const char* source;
    uint32_t length;
    uint32_t status;
    uint32_t length_after;
  } cases[] = {
      {"127.0.0.1", "0.0.0.0", 5, IPMI_STATUS_APP_INSUFFICIENT_BUFFER, 6},
      {"0.0.0.0", "0.0.0.0", 0, IPMI_STATUS_APP_INSUFFICIENT_BUFFER, 6},
      {"0.0.0.0", "0.0.0.0", 8, IPMI_STATUS_APP_INVALID_IP_ADDRESS, 8},
      {"255.255.255.255", "0.0.0.0", 8, IPMI_STATUS_APP_INVALID_IP_ADDRESS, 8},
      {"224.0.0.1", "0.0.0.0", 8, IPMI_STATUS_APP_INVALID_IP_ADDRESS, 8},
      {"239.255.255.255", "0.0.0.0", 8, IPMI_STATUS_APP_INVALID_IP_ADDRESS, 8},
      {"127.0.0.1", "192.0.2.1", 8, IPMI_STATUS_APP_INVALID_IP_ADDRESS, 8},  // nobody's address
      {"127.0.0.1", "0.0.0.0", 8, 0, 6},
      {"127.9.9.9", "0.0.0.0", 6, 0, 6},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(std::string(c.destination) + " from " + c.source + ", " + std::to_string(c.length));
    const std::string untouched(8, '\xEE');
    std::string mac = untouched;
    uint32_t length = c.length;
    EXPECT_EQ(SendARP(inet_addr(c.destination), inet_addr(c.source), mac.data(), &length), c.status);
    EXPECT_EQ(length, c.length_after);
    EXPECT_EQ(mac, c.status == 0 ? std::string(6, '\0') + "\xEE\xEE" : untouched);
  }
  uint8_t mac[6] = {};
  uint32_t length = 6;
  EXPECT_EQ(SendARP(inet_addr("127.0.0.1"), 0, nullptr, &length), IPMI_STATUS_APP_INVALID_PARAMETER);
  EXPECT_EQ(SendARP(inet_addr("127.0.0.1"), 0, mac, nullptr), IPMI_STATUS_APP_INVALID_PARAMETER);
}

}  // namespace
