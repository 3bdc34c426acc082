// The only way to the BMC: one exchange with the driver, repeated while the BMC is busy.
#include <fcntl.h>
#include <pthread.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstring>

#include "core/exchange.hpp"
#include "core/handle.hpp"
#include "lumipmi/driver.h"
#include "platform/clock.hpp"

namespace lumi {
namespace {

constexpr uint8_t kNodeBusy = 0xC0;
constexpr int64_t kRetryPeriodSeconds = 10;
constexpr int kDefaultRetryPeriods = 5;

class LockGuard {
 public:
  explicit LockGuard(pthread_mutex_t* mutex) : mutex_(mutex) { pthread_mutex_lock(mutex_); }
  ~LockGuard() { pthread_mutex_unlock(mutex_); }
  LockGuard(const LockGuard&) = delete;
  LockGuard& operator=(const LockGuard&) = delete;

 private:
  pthread_mutex_t* mutex_;
};

// Sleeps base milliseconds plus a random span of up to a second; not at all when there is no randomness to be had.
void random_pause(uint32_t base) {
  const int random = open("/dev/urandom", O_RDONLY | O_CLOEXEC);
  if (random < 0) return;
  uint32_t r = 0;
  (void)!read(random, &r, sizeof r);  // a short read leaves the rest zero, which is as good a pause as any
  close(random);
  sleep_ms(static_cast<uint32_t>(uint64_t{r} * 500 / 2147483647) + base);
}

// Fills the answer, or returns why there is none. The answer keeps its first content when no retry period is allowed.
Status exchange(const IpmiRequest& request, int retry_count, Answer& answer) {
  const int periods = retry_count == -1 ? kDefaultRetryPeriods : retry_count + 1;
  for (int period = 0; period < periods; ++period) {
    const int64_t start = seconds_now();
    while (seconds_now() - start <= kRetryPeriodSeconds) {
      const int32_t failure =
          IPMI_DoIPMICmd(request.netFn, request.cmd, request.data, request.dataLength, answer.bytes, &answer.length);
      if (failure != 0) {
        std::printf("\nZEPH:Error Code : %d", failure);
        return IPMI_STATUS_DRIVER_ERROR;
      }
      if (answer.length == 0 || answer.length > sizeof answer.bytes) return IPMI_STATUS_DRIVER_ERROR;
      if (answer.bytes[0] != kNodeBusy) return kOk;
      random_pause(500);
    }
    random_pause(0);
  }
  return periods > 0 ? IPMI_STATUS_NODE_BUSY_TIMEOUT : kOk;
}

}  // namespace

Status transact(const IpmiRequest& request, Answer& answer, IpmiHandle& handle) {
  std::memset(answer.bytes, 0, sizeof answer.bytes);  // an answer shorter than it says must not show what lay here
  answer.length = sizeof answer.bytes;
  LockGuard lock(request_lock(handle));
  return exchange(request, handle.params.retryCount, answer);
}

}  // namespace lumi
