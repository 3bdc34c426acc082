// The dev transport against a scripted kernel.
#include <errno.h>
#include <fcntl.h>
#include <linux/ipmi.h>
#include <poll.h>
#include <string.h>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <condition_variable>
#include <deque>
#include <functional>
#include <map>
#include <mutex>
#include <thread>

#include "drivers/system.hpp"
#include "tests/driver/exchange.hpp"

namespace {

/// A message in the queue of an open file.
struct Message {
  int type = IPMI_RESPONSE_RECV_TYPE;
  long id = 0;
  Bytes bytes = {};
};

/// A request as the kernel got it.
struct Sent {
  int fd;
  long id;
  Request request;
};

/// Plays /dev/ipmi0: queues per open file, and errors on demand. Without other orders it answers every request with
/// completion code 00 and the request's own data.
class FakeKernel {
 public:
  FakeKernel() {
    current_ = this;
    lumi::driver::system_calls = &kCalls;
  }
  ~FakeKernel() {
    lumipmi_driver_close();
    EXPECT_EQ(opened, closed) << "files left open";
    EXPECT_EQ(problem, "");
    lumi::driver::system_calls = before_;
  }
  FakeKernel(const FakeKernel&) = delete;
  FakeKernel& operator=(const FakeKernel&) = delete;

  // Orders, to be given before the exchange. Errors are used up from the front; 0 lets a call through.
  std::deque<int> open_errors = {}, send_errors = {}, poll_errors = {}, receive_errors = {}, look_errors = {};
  std::function<void(const Sent&)> on_send = [this](const Sent& request) { answer(request); };
  short ready = POLLIN;

  // Records.
  std::vector<std::string> paths = {};
  std::vector<Sent> sent = {};
  int opened = 0;
  std::atomic<int> closed = 0;
  std::string problem = {};

  // For on_send, which runs with the kernel locked.
  void queue(int fd, const Message& message) {
    queues_[fd].push_back(message);
    arrived_.notify_all();
  }
  void answer(const Sent& to) {
    Bytes bytes = {0x00};
    bytes.insert(bytes.end(), to.request.data.begin(), to.request.data.end());
    queue(to.fd, {.id = to.id, .bytes = bytes});
  }

 private:
  using Lock = std::unique_lock<std::mutex>;

  /// Takes the next ordered error into errno; false lets the call through.
  static bool fails(std::deque<int>& errors) {
    if (errors.empty()) return false;
    const int error = errors.front();
    if (errors.size() > 1 || error >= 0) errors.pop_front();
    errno = error < 0 ? -error : error;  // a negative one at the end stays for good
    return error != 0;
  }

  static int open(const char* path, int flags) {
    FakeKernel& kernel = *current_;
    const Lock lock(kernel.mutex_);
    kernel.paths.push_back(path);
    if (flags != (O_RDWR | O_CLOEXEC)) kernel.problem = "opened with other flags";
    if (fails(kernel.open_errors)) return -1;
    return 1000 + kernel.opened++;
  }

  static int close(int) {
    const Lock lock(current_->mutex_);
    ++current_->closed;
    return 0;
  }

  static int poll(pollfd* fds, nfds_t count, int timeout_ms) {
    if (count == 0) return ::poll(nullptr, 0, timeout_ms);
    FakeKernel& kernel = *current_;
    Lock lock(kernel.mutex_);
    if (fails(kernel.poll_errors)) return -1;
    const bool arrived = kernel.arrived_.wait_for(lock, std::chrono::milliseconds(timeout_ms),
                                                  [&] { return !kernel.queues_[fds->fd].empty(); });
    fds->revents = arrived ? kernel.ready : short{0};
    return arrived ? 1 : 0;
  }

  static int ioctl(int fd, unsigned long request, void* argument) {
    const Lock lock(current_->mutex_);
    if (request == IPMICTL_SEND_COMMAND) return current_->send(fd, *static_cast<ipmi_req*>(argument));
    if (request == IPMICTL_RECEIVE_MSG_TRUNC) return current_->receive(fd, *static_cast<ipmi_recv*>(argument));
    if (request == IPMICTL_GET_MY_ADDRESS_CMD) return fails(current_->look_errors) ? -1 : 0;
    current_->problem = "unknown ioctl";
    errno = ENOTTY;
    return -1;
  }

  int send(int fd, const ipmi_req& req) {
    if (fails(send_errors)) return -1;
    ipmi_system_interface_addr to = {};
    if (req.addr_len == sizeof to) memcpy(&to, req.addr, sizeof to);
    if (to.addr_type != IPMI_SYSTEM_INTERFACE_ADDR_TYPE || to.channel != IPMI_BMC_CHANNEL) problem = "wrong address";
    const Bytes data(req.msg.data, req.msg.data + req.msg.data_len);
    sent.push_back({fd, req.msgid, {req.msg.netfn, req.msg.cmd, data, to.lun}});
    on_send(Sent(sent.back()));
    return 0;
  }

  int receive(int fd, ipmi_recv& recv) {
    if (fails(receive_errors)) return -1;
    std::deque<Message>& queue = queues_[fd];
    if (queue.empty()) {
      errno = EAGAIN;
      return -1;
    }
    const Message message = queue.front();
    queue.pop_front();
    if (recv.addr_len < sizeof(ipmi_system_interface_addr)) problem = "no room for the address";
    recv.recv_type = message.type;
    recv.msgid = message.id;
    const bool cut = message.bytes.size() > recv.msg.data_len;
    if (!cut) recv.msg.data_len = static_cast<unsigned short>(message.bytes.size());
    if (recv.msg.data_len > 0) memcpy(recv.msg.data, message.bytes.data(), recv.msg.data_len);
    errno = EMSGSIZE;
    return cut ? -1 : 0;
  }

  static constexpr lumi::driver::SystemCalls kCalls = {open, ioctl, poll, close};
  static inline FakeKernel* current_ = nullptr;
  const lumi::driver::SystemCalls* before_ = lumi::driver::system_calls;
  std::mutex mutex_;
  std::condition_variable arrived_;
  std::map<int, std::deque<Message>> queues_;
};

class DevTest : public DriverTest {};

/// The answers to the first request of an exchange, numbers relative to it.
std::function<void(const Sent&)> deliver(FakeKernel& kernel, std::vector<Message> messages) {
  return [&kernel, messages](const Sent& sent) {
    for (Message message : messages) {
      message.id += sent.id;
      kernel.queue(sent.fd, message);
    }
  };
}

TEST_F(DevTest, OneExchange) {
  const Bytes data = hex("11 22");
  const Bytes echo = hex("00 11 22");
  using Orders = void (*)(FakeKernel&);
  const struct {
    const char* name;
    Orders orders;
    Bytes answer;
  } cases[] = {
      {"plain", [](FakeKernel&) {}, echo},
      {"the kernel's own time-out is an answer",
       [](FakeKernel& k) { k.on_send = deliver(k, {{.bytes = {0xC3}}}); },
       {0xC3}},
      {"late answers, events and commands come first",
       [](FakeKernel& k) {
         k.on_send = deliver(k, {{.id = -1, .bytes = {0x00, 0x01}},
                                 {.type = IPMI_ASYNC_EVENT_RECV_TYPE, .bytes = {0x00, 0x02}},
                                 {.type = IPMI_CMD_RECV_TYPE, .bytes = {0x00, 0x03}},
                                 {.id = 1, .bytes = Bytes(300, 0x04)},
                                 {.bytes = {0x00, 0x11, 0x22}}});
       },
       echo},
      {"255 bytes", [](FakeKernel& k) { k.on_send = deliver(k, {{.bytes = Bytes(255, 0)}}); }, Bytes(255, 0)},
      {"cut to 255 bytes", [](FakeKernel& k) { k.on_send = deliver(k, {{.bytes = Bytes(272, 0)}}); }, Bytes(255, 0)},
      {"interrupted everywhere",
       [](FakeKernel& k) {
         k.open_errors = k.send_errors = k.poll_errors = k.receive_errors = {EINTR, EINTR};
       },
       echo},
      {"woken for nothing",
       [](FakeKernel& k) {
         k.receive_errors = {EAGAIN, EAGAIN};
       },
       echo},
      {"busy for a moment",
       [](FakeKernel& k) {
         k.open_errors = k.send_errors = {EBUSY, EBUSY};
       },
       echo},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    FakeKernel kernel;
    c.orders(kernel);
    expect_answer(exchange({.net_fn = 0x0A, .cmd = 0x43, .data = data, .lun = 2}), c.answer);
    ASSERT_EQ(kernel.sent.size(), 1u);
    const Request& request = kernel.sent[0].request;
    EXPECT_EQ(request.net_fn, 0x0A);
    EXPECT_EQ(request.cmd, 0x43);
    EXPECT_EQ(request.data, data);
    EXPECT_EQ(request.lun, 2);
    EXPECT_STREQ(lumipmi_driver_transport(), "dev:/dev/ipmi0");
  }
}

TEST_F(DevTest, Failures) {
  const auto silence = [](const Sent&) {};
  const struct {
    const char* name;
    std::function<void(FakeKernel&)> orders;
    int32_t cause;
    const char* words;
    uint32_t timeout_ms = kAmple;
    int files = 1;  // opened by the failure and the success that follows
  } cases[] = {
      {"absent", [](FakeKernel& k) { k.open_errors = {-ENOENT}; }, LUMIPMI_CAUSE_NO_DEVICE,
       "/dev/ipmi0, /dev/ipmi/0, /dev/ipmidev/0: no such device; load the kernel modules ipmi_devintf"},
      {"without an interface", [](FakeKernel& k) { k.open_errors = {ENXIO}; }, LUMIPMI_CAUSE_NO_DEVICE,
       "/dev/ipmi0: no such"},
      {"interface removed", [](FakeKernel& k) { k.open_errors = {ENODEV}; }, LUMIPMI_CAUSE_NO_DEVICE,
       "/dev/ipmi0: no such"},
      {"forbidden",
       [](FakeKernel& k) {
         k.open_errors = {ENOENT, EACCES};
       },
       LUMIPMI_CAUSE_PERMISSION, "/dev/ipmi/0: permission denied; run as root"},
      {"busy", [](FakeKernel& k) { k.open_errors = {-EBUSY}; }, LUMIPMI_CAUSE_BUSY, "/dev/ipmi0: device busy", kShort},
      {"no files left", [](FakeKernel& k) { k.open_errors = {EMFILE}; }, LUMIPMI_CAUSE_IO,
       "cannot open it: Too many open"},
      {"refused by the kernel", [](FakeKernel& k) { k.send_errors = {EINVAL}; }, LUMIPMI_CAUSE_BAD_ARGUMENT,
       "keeps netFn 0x06 command 0x01 to itself"},
      {"too long", [](FakeKernel& k) { k.send_errors = {EMSGSIZE}; }, LUMIPMI_CAUSE_BAD_ARGUMENT,
       "more than the kernel"},
      {"queue full", [](FakeKernel& k) { k.send_errors = {-EBUSY}; }, LUMIPMI_CAUSE_BUSY, "device busy", kShort, 2},
      {"gone at send", [](FakeKernel& k) { k.send_errors = {ENODEV}; }, LUMIPMI_CAUSE_NO_DEVICE, "no such device",
       kAmple, 2},
      {"another kind of device", [](FakeKernel& k) { k.send_errors = {ENOTTY}; }, LUMIPMI_CAUSE_BAD_TRANSPORT,
       "not an IPMI", kAmple, 2},
      {"poll fails", [](FakeKernel& k) { k.poll_errors = {ENOMEM}; }, LUMIPMI_CAUSE_IO, "cannot wait for the answer",
       kAmple, 2},
      {"gone while waiting", [](FakeKernel& k) { k.ready = POLLERR | POLLHUP; }, LUMIPMI_CAUSE_NO_DEVICE,
       "no such device", kAmple, 2},
      {"gone without a word",
       [&](FakeKernel& k) {
         k.on_send = silence;
         k.look_errors = {ENODEV};
       },
       LUMIPMI_CAUSE_NO_DEVICE, "no such device", kAmple, 2},
      {"receive fails", [](FakeKernel& k) { k.receive_errors = {EIO}; }, LUMIPMI_CAUSE_IO, "cannot receive", kAmple, 2},
      {"empty answer", [](FakeKernel& k) { k.on_send = deliver(k, {{.bytes = {}}}); }, LUMIPMI_CAUSE_IO,
       "without a completion code"},
      {"silence", [&](FakeKernel& k) { k.on_send = silence; }, LUMIPMI_CAUSE_TIMEOUT,
       "no answer to netFn 0x06 command 0x01 within 80 ms", kShort},
      {"interrupted all the time",
       [&](FakeKernel& k) {
         k.on_send = silence;
         k.poll_errors = {-EINTR};
       },
       LUMIPMI_CAUSE_TIMEOUT, "within 80 ms", kShort},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    FakeKernel kernel;
    c.orders(kernel);
    lumipmi_driver_set_timeout(c.timeout_ms);
    const Outcome outcome = exchange();
    expect_failure(outcome, c.cause, c.words);
    if (c.timeout_ms == kShort) {
      EXPECT_GE(outcome.took.count(), kShort);
    }

    // Once the cause is gone the next exchange works.
    kernel.open_errors = kernel.send_errors = kernel.poll_errors = kernel.receive_errors = kernel.look_errors = {};
    kernel.ready = POLLIN;
    kernel.on_send = [&kernel](const Sent& sent) { kernel.answer(sent); };
    lumipmi_driver_set_timeout(kAmple);
    expect_answer(exchange({.data = {0x09}}), {0x00, 0x09});
    EXPECT_EQ(kernel.opened, c.files);
  }
}

TEST_F(DevTest, LooksForTheDevice) {
  {
    FakeKernel kernel;
    kernel.open_errors = {ENOENT, ENOENT};
    expect_answer(exchange(), {0x00});
    EXPECT_EQ(kernel.paths, (std::vector<std::string>{"/dev/ipmi0", "/dev/ipmi/0", "/dev/ipmidev/0"}));
    EXPECT_STREQ(lumipmi_driver_transport(), "dev:/dev/ipmidev/0");
  }
  FakeKernel kernel;
  ASSERT_EQ(lumipmi_driver_select("dev:/dev/ipmi7"), 0);
  kernel.open_errors = {ENOENT};
  expect_failure(exchange(), LUMIPMI_CAUSE_NO_DEVICE, "/dev/ipmi7: no such device");
  EXPECT_EQ(kernel.paths, std::vector<std::string>{"/dev/ipmi7"});
}

TEST_F(DevTest, LateAnswerIsNotTheNextOne) {
  FakeKernel kernel;
  kernel.on_send = [&kernel](const Sent& sent) {
    if (kernel.sent.size() == 1) return;
    kernel.answer(kernel.sent[0]);  // to the request given up on, same file
    kernel.answer(sent);
  };
  lumipmi_driver_set_timeout(kShort);
  expect_failure(exchange({.data = {0x01}}), LUMIPMI_CAUSE_TIMEOUT, "timed out");
  lumipmi_driver_set_timeout(kAmple);
  expect_answer(exchange({.data = {0x02}}), {0x00, 0x02});
  EXPECT_EQ(kernel.opened, 1);
}

TEST_F(DevTest, AnswersInTheOtherOrder) {
  FakeKernel kernel;
  kernel.on_send = [&kernel](const Sent& sent) {
    if (kernel.sent.size() < 2) return;
    kernel.answer(sent);
    kernel.answer(Sent(kernel.sent[0]));
  };
  Outcome first, second;
  std::thread one([&first] { first = exchange({.data = {0x01}}); });
  std::thread two([&second] { second = exchange({.data = {0x02}}); });
  one.join();
  two.join();
  expect_answer(first, {0x00, 0x01});
  expect_answer(second, {0x00, 0x02});
}

TEST_F(DevTest, EveryThreadGetsItsOwnAnswer) {
  constexpr uint8_t kThreads = 16;
  constexpr uint8_t kRounds = 200;
  FakeKernel kernel;
  std::atomic<unsigned> good = 0;
  std::vector<std::thread> threads;
  for (uint8_t t = 0; t < kThreads; ++t) {
    threads.emplace_back([t, &good] {
      for (uint8_t i = 0; i < kRounds; ++i) {
        const Outcome outcome = exchange({.data = {t, i}});
        good += outcome.kept_contract && outcome.answer == Bytes{0x00, t, i};
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(good, unsigned{kThreads} * kRounds);
  EXPECT_LE(kernel.opened, 4);
}

TEST_F(DevTest, WaitingForATurnEndsAtTheDeadline) {
  constexpr unsigned kThreads = 12;  // three for each file
  FakeKernel kernel;
  kernel.on_send = [](const Sent&) {};
  lumipmi_driver_set_timeout(150);
  std::vector<Outcome> outcomes(kThreads);
  std::vector<std::thread> threads;
  for (Outcome& outcome : outcomes) threads.emplace_back([&outcome] { outcome = exchange(); });
  for (std::thread& thread : threads) thread.join();
  for (const Outcome& outcome : outcomes) {
    expect_failure(outcome, LUMIPMI_CAUSE_TIMEOUT, "within 150 ms");
    EXPECT_LT(outcome.took.count(), 400) << "one after the other would take 450 ms";
  }
}

TEST_F(DevTest, CloseDoesNotWaitForAnExchangeUnderWay) {
  FakeKernel kernel;
  std::atomic<bool> sent = false;
  kernel.on_send = [&sent](const Sent&) { sent = true; };
  lumipmi_driver_set_timeout(200);
  Outcome outcome;
  std::thread thread([&outcome] { outcome = exchange(); });
  while (!sent) usleep(1000);
  lumipmi_driver_close();
  EXPECT_EQ(kernel.closed, 0);
  thread.join();
  expect_failure(outcome, LUMIPMI_CAUSE_TIMEOUT, "within 200 ms");
  EXPECT_EQ(kernel.closed, 1) << "the exchange closes what it used";
}

TEST_F(DevTest, CancelledThreadGivesItsLinkBack) {
  FakeKernel kernel;
  kernel.on_send = [](const Sent&) {};
  lumipmi_driver_set_timeout(40);
  for (int i = 0; i < 5; ++i) {
    pthread_t thread;
    ASSERT_EQ(pthread_create(
                  &thread, nullptr, [](void*) -> void* { return exchange(), nullptr; }, nullptr),
              0);
    usleep(5'000);
    pthread_cancel(thread);
    pthread_join(thread, nullptr);
  }
  kernel.on_send = [&kernel](const Sent& sent) { kernel.answer(sent); };
  lumipmi_driver_set_timeout(kAmple);
  expect_answer(exchange(), {0x00});
}

}  // namespace
