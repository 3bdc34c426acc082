#include "tools/sdr_cache.hpp"

#include <dirent.h>
#include <fcntl.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include "tools/text.hpp"

namespace tool {

namespace {

using Bytes = std::vector<uint8_t>;

constexpr std::string_view kMagic = "lumipmi SDR cache\n";
constexpr uint16_t kFormatVersion = 1;
constexpr size_t kHeader = 5;    // of a record; its last byte is the length of the rest
constexpr size_t kLongest = 64;  // key and state
constexpr size_t kMostRecords = 0xFFFE;
constexpr size_t kGreatestFile = 256 + kMostRecords * (2 + kHeader + 0xFF);

constexpr std::string_view kSuffix = ".sdr";
constexpr std::string_view kTemporarySuffix = ".tmp";

/// The CRC-32 of Ethernet and zlib.
uint32_t crc32(std::span<const uint8_t> bytes) {
  uint32_t crc = 0xFFFFFFFF;
  for (const uint8_t byte : bytes) {
    crc ^= byte;
    for (int bit = 0; bit < 8; ++bit) crc = crc >> 1 ^ (crc & 1 ? 0xEDB88320 : 0);
  }
  return ~crc;
}

void put(Bytes& out, uint32_t value, size_t size) {
  for (size_t i = 0; i < size; ++i) out.push_back(static_cast<uint8_t>(value >> 8 * i));
}

void put_counted(Bytes& out, const Bytes& bytes) {
  put(out, static_cast<uint32_t>(bytes.size()), 1);
  out.insert(out.end(), bytes.begin(), bytes.end());
}

/// Bytes taken front to back; from the first that are not there on, nothing is good any more.
class Taker {
 public:
  explicit Taker(std::span<const uint8_t> bytes) : left_(bytes) {}

  std::span<const uint8_t> take(size_t count) {
    good_ = good_ && count <= left_.size();
    if (!good_) return {};
    const std::span<const uint8_t> taken = left_.first(count);
    left_ = left_.subspan(count);
    return taken;
  }
  uint32_t number(size_t size) {
    uint32_t value = 0;
    const std::span<const uint8_t> bytes = take(size);
    for (size_t i = 0; i < bytes.size(); ++i) value |= static_cast<uint32_t>(bytes[i]) << 8 * i;
    return value;
  }
  Bytes counted() {
    const size_t count = number(1);
    good_ = good_ && count <= kLongest;
    const std::span<const uint8_t> bytes = take(count);
    return Bytes(bytes.begin(), bytes.end());
  }
  bool good() const { return good_; }
  size_t left() const { return left_.size(); }

 private:
  std::span<const uint8_t> left_;
  bool good_ = true;
};

bool is_hex(std::string_view text) {
  return !text.empty() && text.find_first_not_of("0123456789abcdef") == text.npos;
}

std::string name_of(const Bytes& key) {
  return hex_bytes(key, "") + std::string(kSuffix);
}

std::string temporary_name() {
  uint8_t random[8] = {};
  if (getrandom(random, sizeof random, 0) != sizeof random) return "";
  return "." + hex_bytes(random, "") + std::string(kTemporarySuffix);
}

/// The names that this file gives: others in the folder are somebody else's.
bool is_our_name(std::string_view name) {
  if (name.ends_with(kSuffix)) return is_hex(name.substr(0, name.size() - kSuffix.size()));
  return name.starts_with('.') && name.ends_with(kTemporarySuffix) &&
         is_hex(name.substr(1, name.size() - 1 - kTemporarySuffix.size()));
}

/// Nobody else can have put something there.
bool is_private(const struct stat& info) {
  return info.st_uid == geteuid() && (info.st_mode & (S_IWGRP | S_IWOTH)) == 0;
}

bool is_own_folder(const std::string& path) {
  struct stat info = {};
  return stat(path.c_str(), &info) == 0 && info.st_uid == geteuid();
}

bool write_all(int fd, std::span<const uint8_t> bytes) {
  while (!bytes.empty()) {
    const ssize_t count = write(fd, bytes.data(), bytes.size());
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) return false;
    bytes = bytes.subspan(static_cast<size_t>(count));
  }
  return true;
}

/// At most one byte more than a file of ours can have.
bool read_all(int fd, Bytes& bytes) {
  uint8_t buffer[16384];
  while (bytes.size() <= kGreatestFile) {
    const ssize_t count = ::read(fd, buffer, sizeof buffer);
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) return count == 0;
    bytes.insert(bytes.end(), buffer, buffer + count);
  }
  return true;
}

/// Where caches are kept; empty when the environment does not tell (XDG Base Directory: relative paths do not count).
std::string base_folder() {
  const char* cache = secure_getenv("XDG_CACHE_HOME");
  if (cache != nullptr && cache[0] == '/') return cache;
  const char* home = secure_getenv("HOME");
  return home != nullptr && home[0] == '/' ? std::string(home) + "/.cache" : "";
}

std::string parent_of(const std::string& path) {
  const size_t slash = path.find_last_of('/', path.find_last_not_of('/'));
  return slash == 0 || slash == path.npos ? "/" : path.substr(0, slash);
}

/// Makes a folder where the one above is the user's: root does not leave its own in the home of somebody else.
void make_folder(const std::string& path) {
  struct stat info = {};
  if (stat(path.c_str(), &info) != 0 && is_own_folder(parent_of(path))) (void)mkdir(path.c_str(), 0700);
}

}  // namespace

Bytes pack(const SdrImage& image) {
  const auto good = [](const SdrImage::Entry& entry) {
    return entry.raw.size() >= kHeader && entry.raw.size() == kHeader + entry.raw[4];
  };
  if (image.key.empty() || image.key.size() > kLongest || image.state.size() > kLongest || image.records.empty() ||
      image.records.size() > kMostRecords || !std::all_of(image.records.begin(), image.records.end(), good))
    return {};
  Bytes out(kMagic.begin(), kMagic.end());
  put(out, kFormatVersion, 2);
  put_counted(out, image.key);
  put_counted(out, image.state);
  put(out, static_cast<uint32_t>(image.records.size()), 2);
  for (const SdrImage::Entry& entry : image.records) {
    put(out, entry.id, 2);
    out.insert(out.end(), entry.raw.begin(), entry.raw.end());
  }
  put(out, crc32(out), 4);
  return out;
}

std::optional<SdrImage> unpack(std::span<const uint8_t> bytes) {
  constexpr size_t kChecksum = 4;
  if (bytes.size() < kChecksum || bytes.size() > kGreatestFile) return std::nullopt;
  const std::span<const uint8_t> body = bytes.first(bytes.size() - kChecksum);
  if (Taker(bytes.last(kChecksum)).number(kChecksum) != crc32(body)) return std::nullopt;

  Taker in(body);
  const std::span<const uint8_t> magic = in.take(kMagic.size());
  if (!std::equal(magic.begin(), magic.end(), kMagic.begin(), kMagic.end()) || in.number(2) != kFormatVersion)
    return std::nullopt;
  SdrImage image;
  image.key = in.counted();
  image.state = in.counted();
  const size_t count = in.number(2);
  if (!in.good() || image.key.empty() || count == 0 || count > kMostRecords) return std::nullopt;
  while (image.records.size() < count) {
    SdrImage::Entry entry;
    entry.id = static_cast<uint16_t>(in.number(2));
    const std::span<const uint8_t> header = in.take(kHeader);
    if (!in.good()) return std::nullopt;
    const std::span<const uint8_t> rest = in.take(header[4]);
    if (!in.good()) return std::nullopt;
    entry.raw.assign(header.begin(), header.end());
    entry.raw.insert(entry.raw.end(), rest.begin(), rest.end());
    image.records.push_back(std::move(entry));
  }
  if (in.left() != 0) return std::nullopt;
  return image;
}

SdrCache::SdrCache(Folder folder) {
  if (folder != Folder::None) open_folder(folder);
}

SdrCache::~SdrCache() {
  if (fd_ >= 0) (void)close(fd_);
}

bool SdrCache::fail(const std::string& what) {
  problem_ = what + ": " + std::strerror(errno);
  return false;
}

void SdrCache::open_folder(Folder folder) {
  const std::string base = base_folder();
  if (base.empty()) {
    problem_ = "neither XDG_CACHE_HOME nor HOME tells where to keep it";
    return;
  }
  path_ = base + "/lumipmi";
  if (folder == Folder::Create) {
    make_folder(base);
    make_folder(path_);
  }
  const int fd = open(path_.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
  if (fd < 0) {
    if (folder == Folder::Create || errno != ENOENT) fail(path_);
    return;
  }
  struct stat info = {};
  if (fstat(fd, &info) == 0 && is_private(info)) {
    fd_ = fd;
    return;
  }
  problem_ = path_ + ": belongs to another user, or others may write there";
  (void)close(fd);
}

std::vector<SdrCache::File> SdrCache::files() const {
  std::vector<File> files;
  const int fd = usable() ? openat(fd_, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC) : -1;
  DIR* folder = fd >= 0 ? fdopendir(fd) : nullptr;
  if (folder == nullptr) {
    if (fd >= 0) (void)close(fd);
    return files;
  }
  while (const dirent* entry = readdir(folder)) {
    struct stat info = {};
    if (!is_our_name(entry->d_name) || fstatat(fd_, entry->d_name, &info, AT_SYMLINK_NOFOLLOW) != 0) continue;
    files.push_back({entry->d_name, path_ + "/" + entry->d_name, static_cast<size_t>(info.st_size), info.st_mtime});
  }
  (void)closedir(folder);
  std::sort(files.begin(), files.end(), [](const File& a, const File& b) { return a.name < b.name; });
  return files;
}

std::optional<SdrImage> SdrCache::read(const std::string& name) {
  // Not blocking: a pipe is no file of ours, and must not keep the tool waiting.
  const int fd = usable() ? openat(fd_, name.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC) : -1;
  if (fd < 0) {
    if (usable() && errno != ENOENT) fail(path_ + "/" + name);
    return std::nullopt;
  }
  struct stat info = {};
  Bytes bytes;
  std::optional<SdrImage> image;
  if (fstat(fd, &info) != 0 || !S_ISREG(info.st_mode) || !is_private(info))
    problem_ = path_ + "/" + name + ": no file of the user alone";
  else if (!read_all(fd, bytes))
    fail(path_ + "/" + name);
  else {
    image = unpack(bytes);
    if (image && name_of(image->key) != name) image.reset();
    if (!image) problem_ = path_ + "/" + name + ": damaged, or of another version or BMC";
  }
  (void)close(fd);
  return image;
}

std::optional<SdrImage> SdrCache::find(const Bytes& key, const Bytes& state) {
  std::optional<SdrImage> image = read(name_of(key));
  if (image && image->state != state) {
    problem_ = path_ + "/" + name_of(key) + ": the repository has changed";
    image.reset();
  }
  return image;
}

bool SdrCache::store(const SdrImage& image) {
  const Bytes bytes = pack(image);
  if (!usable() || bytes.empty()) return false;
  const std::string temporary = temporary_name();
  const int fd = temporary.empty()
                     ? -1
                     : openat(fd_, temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600);
  if (fd < 0) return fail(path_);
  bool good = write_all(fd, bytes);
  good = close(fd) == 0 && good;
  if (good && renameat(fd_, temporary.c_str(), fd_, name_of(image.key).c_str()) == 0) return true;
  fail(path_ + "/" + name_of(image.key));
  (void)unlinkat(fd_, temporary.c_str(), 0);
  return false;
}

bool SdrCache::remove(const std::string& name) {
  return (usable() && unlinkat(fd_, name.c_str(), 0) == 0) || fail(path_ + "/" + name);
}

}  // namespace tool
