#include "lumipmi/utility.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <cerrno>
#include <climits>
#include <string>
#include <vector>

#include "lumipmi/status.h"
#include "support/fake_libc.hpp"
#include "support/guarded_bytes.hpp"
#include "support/temp_dir.hpp"

namespace {

using lumi::test::FakeLibc;
using lumi::test::GuardedBytes;
using lumi::test::TempDir;

using Bytes = std::vector<uint8_t>;

TEST(byte_order, loads_counted_numbers) {
  const struct {
    Bytes bytes;
    int32_t count;
    uint32_t host;
    uint32_t network;
  } cases[] = {
      {{0x78, 0x56, 0x34, 0x12}, 4, 0x12345678, 0x78563412},
      {{0x78, 0x56, 0x34}, 3, 0x345678, 0x785634},
      {{0x78, 0x56}, 2, 0x5678, 0x7856},
      {{0xF8}, 1, 0xF8, 0xF8},
      {{0xFF, 0xFE, 0xFD, 0xFC}, 4, 0xFCFDFEFF, 0xFFFEFDFC},
      {{0x01, 0x02, 0x03, 0x04, 0x05}, 5, 0x04030201, 0x02030405},  // the first four; the last four
      {{0x01, 0x02, 0x03, 0x04, 0x05, 0x06, 0x07, 0x08, 0x09}, 9, 0x04030201, 0x06070809},
      {{}, 0, 0, 0},
      {{}, -1, 0, 0},
      {{}, INT32_MIN, 0, 0},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.count);
    GuardedBytes bytes(c.bytes);
    EXPECT_EQ(host_bytes_to_uint32(bytes.data(), c.count), c.host);
    EXPECT_EQ(network_bytes_to_uint32(bytes.data(), c.count), c.network);
  }
}

TEST(byte_order, stores_counted_numbers) {
  const struct {
    int32_t count;
    Bytes host;
    Bytes network;
  } cases[] = {
      {INT32_MIN, {}, {}},
      {0, {}, {}},
      {1, {0x84}, {0x84}},
      {2, {0x84, 0xA3}, {0xA3, 0x84}},
      {3, {0x84, 0xA3, 0xC2}, {0xC2, 0xA3, 0x84}},
      {4, {0x84, 0xA3, 0xC2, 0xE1}, {0xE1, 0xC2, 0xA3, 0x84}},
      {5, {0x84, 0xA3, 0xC2, 0xE1}, {0xE1, 0xC2, 0xA3, 0x84}},
      {INT32_MAX, {0x84, 0xA3, 0xC2, 0xE1}, {0xE1, 0xC2, 0xA3, 0x84}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.count);
    GuardedBytes host(c.host.size());
    uint32_to_host_bytes(0xE1C2A384, c.count, host.data());
    EXPECT_EQ(Bytes(host.data(), host.data() + host.size()), c.host);
    GuardedBytes network(c.network.size());
    uint32_to_network_bytes(0xE1C2A384, c.count, network.data());
    EXPECT_EQ(Bytes(network.data(), network.data() + network.size()), c.network);
  }
}

TEST(byte_order, converts_16_bit_numbers) {
  GuardedBytes bytes(2);
  uint16_to_host_bytes(0xF1E2, bytes.data());
  EXPECT_EQ(bytes.content(), "\xE2\xF1");
  EXPECT_EQ(host_bytes_to_uint16(bytes.data()), 0xF1E2);
  EXPECT_EQ(network_bytes_to_uint16(bytes.data()), 0xE2F1);
  uint16_to_network_bytes(0xF1E2, bytes.data());
  EXPECT_EQ(bytes.content(), "\xF1\xE2");
}

TEST(checksum, sums_and_complements) {
  const struct {
    Bytes bytes;
    uint8_t initial;
    uint8_t sum;
    uint8_t checksum;
  } cases[] = {
      {{0x20, 0x18}, 0x00, 0x38, 0xC8},
      {{0x20, 0x18, 0xC8}, 0x00, 0x00, 0x00},  // a whole area, its checksum included
      {{0xFF, 0xFF, 0x03}, 0xFE, 0xFF, 0xFF},  // carries are dropped
      {Bytes(300, 0x01), 0x05, 0x31, 0xD4},    // length of more than a byte
      {{}, 0x5A, 0x5A, 0x00},
  };
  for (const auto& c : cases) {
    GuardedBytes bytes(c.bytes);
    const size_t length = bytes.size();
    EXPECT_EQ(get_check_sum(static_cast<uint16_t>(length), bytes.data(), c.initial), c.sum);
    uint8_t checksum = 0xEE;
    EXPECT_EQ(rmcp_checksum(bytes.data(), static_cast<uint32_t>(length), &checksum), 0u);
    EXPECT_EQ(checksum, c.checksum);
  }
}

TEST(checksum, checks_pointers) {
  const uint8_t bytes[] = {1};
  uint8_t out = 0xEE;
  EXPECT_EQ(get_check_sum(4, nullptr, 0x42), 0x42);
  EXPECT_EQ(rmcp_checksum(nullptr, 0, &out), IPMI_STATUS_APP_INVALID_PARAMETER);
  EXPECT_EQ(rmcp_checksum(bytes, 1, nullptr), IPMI_STATUS_APP_INVALID_PARAMETER);
  EXPECT_EQ(out, 0xEE);
}

// What a decoder must leave in a buffer of `size` bytes that was filled with 0xEE.
std::string buffer_with(const std::string& written, size_t size) {
  return written + std::string(size - written.size(), '\xEE');
}

TEST(bcd_plus, decodes_high_nibble_first) {
  const struct {
    Bytes in;
    std::string text;
  } cases[] = {
      {{0x12, 0xAF}, "12 _"},
      {{0x01, 0x23, 0x45, 0x67, 0x89, 0xAB, 0xCD, 0xEF}, "0123456789 -.:,_"},
      {{0xFE}, "_,"},
      {{}, ""},
  };
  for (const auto& c : cases) {
    GuardedBytes in(c.in);
    for (uint16_t size = 0; size <= 20; ++size) {
      SCOPED_TRACE(c.text + " into " + std::to_string(size));
      const bool fits = c.text.size() < size;
      GuardedBytes out(size, 0xEE);
      EXPECT_EQ(decode_bcd_plus(out.text(), size, in.data(), static_cast<uint16_t>(in.size())), fits ? 0 : -1);
      EXPECT_EQ(out.content(), buffer_with(fits ? c.text + '\0' : "", size));
    }
  }
}

TEST(bcd_plus, refuses_lengths_whose_double_is_beyond_16_bits) {
  GuardedBytes in(0x8000);
  GuardedBytes out(16, 0xEE);
  EXPECT_EQ(decode_bcd_plus(out.text(), 16, in.data(), 0x8000), -1);
  EXPECT_EQ(out.content(), buffer_with("", 16));
}

TEST(six_bit_ascii, decodes_known_texts) {
  const struct {
    Bytes in;
    uint16_t out_size;
    int32_t result;
    std::string written;
  } cases[] = {
      {{0xA1, 0x38, 0x92}, 4, 0, std::string("ABCD\0", 5)},  // the terminator stands behind outSize characters
      {{0xA1, 0x38, 0x92}, 3, -1, "ABC"},
      {{0x29, 0xDC, 0xA6}, 9, 0, std::string("IPMI\0", 5)},
      {{0x00, 0xF0, 0xFF}, 9, 0, std::string("  __\0", 5)},
      {{}, 0, 0, std::string("\0", 1)},
      {{0x21}, 0, -1, ""},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.written);
    GuardedBytes in(c.in);
    GuardedBytes out(c.out_size + 1u, 0xEE);
    EXPECT_EQ(decode_6bit_ascii(out.text(), c.out_size, in.data(), static_cast<uint16_t>(in.size())), c.result);
    EXPECT_EQ(out.content(), buffer_with(c.written, out.size()));
  }
}

// Character k is made of the bits 6k to 6k + 5 of the input, counted from the low bit of the first byte.
std::string six_bit_reference(const Bytes& in) {
  std::string text;
  for (size_t first = 0; first + 6 <= in.size() * 8; first += 6) {
    int value = 0;
    for (size_t bit = 0; bit < 6; ++bit) value |= (in[(first + bit) / 8] >> (first + bit) % 8 & 1) << bit;
    text += static_cast<char>(0x20 + value);
  }
  return text;
}

TEST(six_bit_ascii, follows_the_bits_at_every_length_and_size) {
  const Bytes source = {0x93, 0x6C, 0xE5, 0x1A, 0xFF, 0x38, 0xC7, 0x00, 0x5D, 0xB2};
  for (size_t length = 0; length <= source.size(); ++length) {
    const Bytes bytes(source.begin(), source.begin() + static_cast<ptrdiff_t>(length));
    const std::string text = six_bit_reference(bytes);
    GuardedBytes in(bytes);
    for (uint16_t size = 0; size <= 15; ++size) {
      SCOPED_TRACE(std::to_string(length) + " bytes into " + std::to_string(size));
      const bool fits = text.size() <= size;
      GuardedBytes out(size + 1u, 0xEE);
      EXPECT_EQ(decode_6bit_ascii(out.text(), size, in.data(), static_cast<uint16_t>(length)), fits ? 0 : -1);
      EXPECT_EQ(out.content(), buffer_with(fits ? text + '\0' : text.substr(0, size), out.size()));
    }
  }
}

TEST(six_bit_ascii, keeps_to_the_buffer_at_the_greatest_lengths) {
  for (const uint16_t length : {uint16_t{49151}, uint16_t{49152}, uint16_t{UINT16_MAX}}) {
    SCOPED_TRACE(length);
    GuardedBytes in(length);
    GuardedBytes out(UINT16_MAX + 1u, 0xEE);
    const bool fits = length == 49151;  // 65534 characters
    EXPECT_EQ(decode_6bit_ascii(out.text(), UINT16_MAX, in.data(), length), fits ? 0 : -1);
    EXPECT_EQ(out.content(), buffer_with(fits ? std::string(65534, ' ') + '\0' : std::string(65535, ' '), out.size()));
  }
}

class LockFile : public testing::Test {
 protected:
  ~LockFile() override { umask(old_umask_); }

  static bool is_open(int fd) { return fcntl(fd, F_GETFD) != -1; }

  const mode_t old_umask_ = umask(0);
  TempDir dir_;
  const std::string path_ = dir_.file("lock");
};

TEST_F(LockFile, keeps_a_second_holder_out_until_unlocked) {
  FakeLibc libc;
  const int first = lock_file(path_.c_str());
  ASSERT_GE(first, 0);
  struct stat info = {};
  ASSERT_EQ(fstat(first, &info), 0);
  EXPECT_EQ(info.st_mode & 07777u, 0660u);
  EXPECT_EQ(fcntl(first, F_GETFL) & O_ACCMODE, O_WRONLY);
  ASSERT_EQ(libc.flocks.size(), 1u);
  EXPECT_EQ(libc.flocks[0].fd, first);
  EXPECT_EQ(libc.flocks[0].operation, LOCK_EX | LOCK_NB);

  errno = 0;
  EXPECT_EQ(lock_file(path_.c_str()), -1);
  EXPECT_EQ(errno, EEXIST);
  EXPECT_EQ(unlock_file(path_.c_str(), -1), -1);
  EXPECT_EQ(access(path_.c_str(), F_OK), 0) << "a failed unlock keeps the file";

  EXPECT_EQ(unlock_file(path_.c_str(), first), 0);
  EXPECT_FALSE(is_open(first));
  EXPECT_NE(access(path_.c_str(), F_OK), 0);
  const int second = lock_file(path_.c_str());
  EXPECT_GE(second, 0);
  EXPECT_EQ(unlock_file(dir_.file("missing").c_str(), second), 0) << "what unlink returns does not matter";
}

TEST_F(LockFile, returns_the_descriptor_of_a_file_that_somebody_else_locked) {
  const int holder = open(dir_.write("lock", "").c_str(), O_RDWR);
  ASSERT_EQ(flock(holder, LOCK_EX | LOCK_NB), 0);
  const int other = open_excl(path_.c_str(), O_WRONLY);
  EXPECT_GE(other, 0);
  EXPECT_EQ(close_file(other), 0);
  EXPECT_EQ(close_file(holder), 0);
}

TEST_F(LockFile, gives_up_only_when_flock_returns_11) {
  for (const int result : {-1, 1, 10, 11, 12}) {
    SCOPED_TRACE(result);
    FakeLibc libc;
    libc.flock_result = result;
    errno = 0;
    const int fd = open_excl(path_.c_str(), O_RDWR | O_CREAT);
    ASSERT_EQ(libc.flocks.size(), 1u);
    const int opened = libc.flocks[0].fd;
    if (result == 11) {
      EXPECT_EQ(fd, -1);
      EXPECT_EQ(errno, EACCES);
      EXPECT_FALSE(is_open(opened));
    } else {
      EXPECT_EQ(fd, opened);
      EXPECT_EQ(close_file(fd), 0);
    }
  }
}

TEST_F(LockFile, reports_what_cannot_be_opened_or_closed) {
  EXPECT_EQ(open_excl(nullptr, O_RDONLY), 2);
  EXPECT_EQ(lock_file(nullptr), 2);
  errno = 0;
  EXPECT_EQ(open_excl(path_.c_str(), O_WRONLY), -1);
  EXPECT_EQ(errno, ENOENT);
  errno = 0;
  EXPECT_EQ(close_file(-1), -1);
  EXPECT_EQ(errno, EBADF);

  const int fd = open("/dev/null", O_RDONLY | O_CLOEXEC);
  EXPECT_EQ(close_file(fd), 0);
  EXPECT_EQ(close_file(fd), -1) << "the result of close";
}

TEST(time, reads_the_real_time_clock_in_microseconds) {
  FakeLibc libc;
  for (const int64_t nanoseconds : {0, 999, 1000, 123'456'789, 999'999'999}) {
    libc.now = std::chrono::seconds(1'712'345'678) + std::chrono::nanoseconds(nanoseconds);
    IpmiTimeval now = {};
    EXPECT_EQ(get_current_time(&now), 0u);
    EXPECT_EQ(now.seconds, 1'712'345'678);
    EXPECT_EQ(now.microseconds, nanoseconds / 1000);
  }
  EXPECT_EQ(get_current_time(nullptr), IPMI_STATUS_APP_INVALID_PARAMETER);
}

TEST(time, subtracts) {
  constexpr IpmiTimeval kUntouched = {-7, -7};
  const struct {
    IpmiTimeval later;
    IpmiTimeval earlier;
    uint32_t status;
    IpmiTimeval difference;
  } cases[] = {
      {{5, 100}, {3, 200}, 0, {1, 999900}},  // borrows
      {{5, 200}, {3, 100}, 0, {2, 100}},
      {{5, 200}, {3, 200}, 0, {2, 0}},
      {{5, 0}, {4, 999999}, 0, {0, 1}},
      {{5, 200}, {5, 200}, 0, {0, 0}},
      {{5, 201}, {5, 200}, 0, {0, 1}},
      {{1, 0}, {-1, 0}, 0, {2, 0}},  // the seconds are signed
      {{5, 199}, {5, 200}, IPMI_STATUS_APP_INVALID_PARAMETER, kUntouched},
      {{4, 999999}, {5, 0}, IPMI_STATUS_APP_INVALID_PARAMETER, kUntouched},
      {{-1, 0}, {1, 0}, IPMI_STATUS_APP_INVALID_PARAMETER, kUntouched},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(std::to_string(c.later.seconds) + "." + std::to_string(c.later.microseconds) + " - " +
                 std::to_string(c.earlier.seconds) + "." + std::to_string(c.earlier.microseconds));
    IpmiTimeval out = kUntouched;
    EXPECT_EQ(diff_time(&c.later, &c.earlier, &out), c.status);
    EXPECT_EQ(out.seconds, c.difference.seconds);
    EXPECT_EQ(out.microseconds, c.difference.microseconds);
  }
  const IpmiTimeval time = {1, 2};
  IpmiTimeval out = kUntouched;
  EXPECT_EQ(diff_time(nullptr, &time, &out), IPMI_STATUS_APP_INVALID_PARAMETER);
  EXPECT_EQ(diff_time(&time, nullptr, &out), IPMI_STATUS_APP_INVALID_PARAMETER);
  EXPECT_EQ(diff_time(&time, &time, nullptr), IPMI_STATUS_APP_INVALID_PARAMETER);
  EXPECT_EQ(out.seconds, kUntouched.seconds);
}

}  // namespace
