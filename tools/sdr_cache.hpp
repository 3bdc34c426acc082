// SDR repositories kept from one run to the next: a file for each BMC in the user's cache folder.
//
// A file only saves time, so it is never trusted: it counts when it is the user's own, whole, and of the same BMC in
// the same state. Anything else is as good as no file, and the next one replaces it.
#pragma once

#include <cstdint>
#include <ctime>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace tool {

/// What a file holds.
struct SdrImage {
  struct Entry {
    uint16_t id = 0;
    std::vector<uint8_t> raw;  // as long as its header says

    bool operator==(const Entry&) const = default;
  };

  std::vector<uint8_t> key;    // the BMC, at most 64 bytes; in hex the name of the file
  std::vector<uint8_t> state;  // of its repository, at most 64 bytes: the file counts while these are the same
  std::vector<Entry> records;  // in the order of the repository

  bool operator==(const SdrImage&) const = default;
};

/// The bytes of a file; empty when the image has no records or something in it is too long.
std::vector<uint8_t> pack(const SdrImage& image);
/// The image, if pack() made all of these bytes.
std::optional<SdrImage> unpack(std::span<const uint8_t> bytes);

/// $XDG_CACHE_HOME/lumipmi or ~/.cache/lumipmi. Everything that fails here leaves a reason in problem() and is
/// harmless.
class SdrCache {
 public:
  enum class Folder { None, Existing, Create };
  explicit SdrCache(Folder folder);
  ~SdrCache();
  SdrCache(const SdrCache&) = delete;
  SdrCache& operator=(const SdrCache&) = delete;

  bool usable() const { return fd_ >= 0; }
  const std::string& problem() const { return problem_; }

  struct File {
    std::string name;
    std::string path;
    size_t size = 0;
    std::time_t written = 0;
  };
  /// Ours, also those that a process left behind half written; by name.
  std::vector<File> files() const;

  std::optional<SdrImage> read(const std::string& name);
  /// What the file of this BMC holds, if it counts.
  std::optional<SdrImage> find(const std::vector<uint8_t>& key, const std::vector<uint8_t>& state);
  /// Replaces the file of the BMC; other processes see the old one or the new one.
  bool store(const SdrImage& image);
  bool remove(const std::string& name);

 private:
  void open_folder(Folder folder);
  bool fail(const std::string& what);  // with the reason in errno

  std::string path_;
  int fd_ = -1;
  std::string problem_;
};

}  // namespace tool
