// Selecting, time-outs, arguments: what holds for every transport.
#include <string>

#include "tests/driver/fake_vm.hpp"

namespace {

class SelectTest : public DriverTest {};

TEST_F(SelectTest, Names) {
  const struct {
    std::string name;
    const char* words;  // nullptr: accepted
  } cases[] = {
      {"dev", nullptr},
      {"dev:/dev/ipmi1", nullptr},
      {"vm:127.0.0.1:9002", nullptr},
      {"vm:bmc.example:1", nullptr},
      {"vm:[fe80::1%eth0]:65535", nullptr},
      {"replay:some file", nullptr},
      {"replay-any:" + std::string(255, 'f'), nullptr},
      {"replay:" + std::string(256, 'f'), "the path is too long"},
      {"replay:", "the file is missing"},
      {"replay-any", "unknown kind"},
      {"", "it is empty"},
      {"lan:127.0.0.1", "unknown kind"},
      {"DEV", "unknown kind"},
      {"device", "unknown kind"},
      {"vm", "unknown kind"},
      {"dev:", "not an absolute path"},
      {"dev:ipmi0", "not an absolute path"},
      {"dev:/" + std::string(254, 'x'), nullptr},
      {"dev:/" + std::string(255, 'x'), "the path is too long"},
      {"vm:" + std::string(255, 'h') + ":9", nullptr},
      {"vm:" + std::string(256, 'h') + ":9", "the host name is too long"},
      {"vm:" + std::string(9000, 'h') + ":9", "it is too long"},
      {"vm:", "the port is missing"},
      {"vm:localhost", "the port is missing"},
      {"vm:localhost:", "the port is not a number"},
      {"vm:localhost:0", "the port is not a number"},
      {"vm:localhost:65536", "the port is not a number"},
      {"vm:localhost:004294967297", "the port is not a number"},
      {"vm:localhost:90x", "the port is not a number"},
      {"vm:localhost:-1", "the port is not a number"},
      {"vm::9002", "the host is missing"},
      {"vm:[]:9002", "the host is missing"},
      {"vm:::1:9002", "needs square brackets"},
      {"vm:[::1:9002", "closing bracket"},
      {"vm:[::1]", "the port is missing"},
      {"vm:[::1]9002", "the port is missing"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name.substr(0, 40));
    ASSERT_EQ(lumipmi_driver_select("dev:/before"), 0);
    const int32_t result = lumipmi_driver_select(c.name.c_str());
    const std::string error = lumipmi_driver_last_error();
    if (c.words == nullptr) {
      EXPECT_EQ(result, 0) << error;
      EXPECT_EQ(error, "");
      EXPECT_EQ(lumipmi_driver_last_cause(), LUMIPMI_CAUSE_NONE);
      EXPECT_EQ(lumipmi_driver_transport(), c.name);
    } else {
      EXPECT_EQ(result, 1);
      EXPECT_EQ(lumipmi_driver_last_cause(), LUMIPMI_CAUSE_BAD_TRANSPORT);
      EXPECT_NE(error.find(c.words), std::string::npos) << error;
      EXPECT_NE(error.find("\"" + c.name.substr(0, 200)), std::string::npos) << error;
      EXPECT_NE(error.find("accepted are"), std::string::npos) << error;
      EXPECT_STREQ(lumipmi_driver_transport(), "dev:/before") << "a refused name changes nothing";
    }
  }
}

TEST_F(SelectTest, Environment) {
  setenv("LUMIPMI_DRIVER", "vm:127.0.0.1:9", 1);
  EXPECT_STREQ(lumipmi_driver_transport(), "dev") << "read only when asked to";
  ASSERT_EQ(lumipmi_driver_select(nullptr), 0);
  EXPECT_STREQ(lumipmi_driver_transport(), "vm:127.0.0.1:9");

  setenv("LUMIPMI_DRIVER", "telepathy", 1);
  EXPECT_EQ(lumipmi_driver_select(nullptr), 1);
  EXPECT_EQ(lumipmi_driver_last_cause(), LUMIPMI_CAUSE_BAD_TRANSPORT);
  EXPECT_STREQ(lumipmi_driver_transport(), "vm:127.0.0.1:9");

  setenv("LUMIPMI_DRIVER", "", 1);
  ASSERT_EQ(lumipmi_driver_select(nullptr), 0);
  EXPECT_STREQ(lumipmi_driver_transport(), "dev");
}

TEST_F(SelectTest, TimeoutFromTheEnvironment) {
  const struct {
    const char* value;
    bool good;
  } cases[] = {{"1", true},        {"3600000", true}, {"", true},     {"0", false},
               {"3600001", false}, {"-1", false},     {"5s", false},  {"18446744073709551617", false},
               {" 5", false},      {"0x10", false},   {"1.5", false}, {"five", false}};
  ASSERT_EQ(lumipmi_driver_select(("vm:127.0.0.1:" + std::to_string(unused_port())).c_str()), 0);
  for (const auto& c : cases) {
    SCOPED_TRACE(c.value);
    setenv("LUMIPMI_TIMEOUT_MS", c.value, 1);
    lumipmi_driver_set_timeout(0);
    if (c.good)
      EXPECT_NE(exchange().cause, LUMIPMI_CAUSE_BAD_ARGUMENT);
    else
      expect_failure(exchange(), LUMIPMI_CAUSE_BAD_ARGUMENT, std::string("LUMIPMI_TIMEOUT_MS=\"") + c.value + "\"");
  }
  lumipmi_driver_set_timeout(kShort);  // set by the program: the environment does not matter
  EXPECT_EQ(exchange().cause, LUMIPMI_CAUSE_REFUSED);

  const FakeVm bmc({kMute});
  setenv("LUMIPMI_TIMEOUT_MS", "90", 1);
  lumipmi_driver_set_timeout(0);
  ASSERT_EQ(lumipmi_driver_select(bmc.name().c_str()), 0);
  expect_failure(exchange(), LUMIPMI_CAUSE_TIMEOUT, "within 90 ms");
}

TEST_F(SelectTest, Arguments) {
  const FakeVm bmc({{serve()}});
  ASSERT_EQ(lumipmi_driver_select(bmc.name().c_str()), 0);
  const struct {
    Request request;
    const char* words;  // nullptr: accepted
  } cases[] = {
      {{.net_fn = 0x3E, .cmd = 0xFF, .lun = 3}, nullptr},
      {{.net_fn = 0x00, .cmd = 0x00}, nullptr},
      {{.net_fn = 0x07}, "netFn 0x07"},
      {{.net_fn = 0x40}, "netFn 0x40"},
      {{.net_fn = 0xFE}, "netFn 0xFE"},
      {{.lun = 4}, "LUN 4"},
  };
  for (const auto& c : cases) {
    const Outcome outcome = exchange(c.request);
    if (c.words == nullptr)
      expect_answer(outcome, {0x00});
    else
      expect_failure(outcome, LUMIPMI_CAUSE_BAD_ARGUMENT, c.words);
  }

  uint8_t response[LUMIPMI_DRIVER_MAX_RESPONSE];
  uint32_t length = 7;
  EXPECT_EQ(IPMI_DoIPMICmd(0x06, 0x01, nullptr, 1, response, &length), 1);
  EXPECT_STREQ(lumipmi_driver_last_error(), "data is null but dataLength is 1");
  EXPECT_EQ(IPMI_DoIPMICmd(0x06, 0x01, nullptr, 0, nullptr, &length), 1);
  EXPECT_EQ(IPMI_DoIPMICmd(0x06, 0x01, nullptr, 0, response, nullptr), 1);
  EXPECT_EQ(length, 7u);

  const uint8_t data[] = {1, 2, 3};
  for (uint32_t before : {0u, 1u, 0xFFFFFFFFu}) {  // output only, never a capacity
    length = before;
    EXPECT_EQ(IPMI_DoIPMICmd(0x06, 0x01, data, sizeof data, response, &length), 0);
    EXPECT_EQ(length, 4u);
  }
}

TEST_F(SelectTest, FailuresBelongToTheirThread) {
  ASSERT_EQ(lumipmi_driver_select("nonsense"), 1);
  std::thread([] {
    EXPECT_STREQ(lumipmi_driver_last_error(), "");
    EXPECT_EQ(lumipmi_driver_last_cause(), LUMIPMI_CAUSE_NONE);
    EXPECT_STREQ(lumipmi_driver_transport(), "dev");
  }).join();
  EXPECT_EQ(lumipmi_driver_last_cause(), LUMIPMI_CAUSE_BAD_TRANSPORT);
}

}  // namespace
