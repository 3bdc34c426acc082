// lumipmi cache: the SDR repositories kept in the user's cache folder.
#include <algorithm>
#include <ctime>

#include "tools/command.hpp"
#include "tools/sdr_cache.hpp"
#include "tools/settings.hpp"
#include "tools/text.hpp"

namespace tool {

namespace {

/// The BMC of a key as read_repository() makes them: by its GUID, else by its model.
Cell bmc_cell(const Bytes& key) {
  constexpr size_t kGuid = 16;
  if (key.size() == 1 + kGuid && key[0] == 'G') return Cell(guid_text(std::span<const uint8_t, kGuid>(&key[1], kGuid)));
  if (key.size() < 8 || key[0] != 'D') return Cell("unknown", nullptr, Severity::Faint);
  return Cell("device " + hex_number(key[1]) + " of manufacturer " +
              std::to_string(key[3] | key[4] << 8 | key[5] << 16) + ", product " +
              hex_number(static_cast<uint16_t>(key[6] | key[7] << 8), 4));
}

Cell age_cell(std::time_t written) {
  const int64_t seconds = std::max<int64_t>(0, std::time(nullptr) - written);
  constexpr struct {
    int64_t seconds;
    const char* unit;
  } kUnits[] = {{86400, " d"}, {3600, " h"}, {60, " min"}, {1, " s"}};
  for (const auto& unit : kUnits)
    if (seconds >= 2 * unit.seconds) return Cell(std::to_string(seconds / unit.seconds) + unit.unit, seconds);
  return Cell(std::to_string(seconds) + " s", seconds);
}

std::vector<Cell> row_of(SdrCache& cache, const SdrCache::File& file) {
  const std::optional<SdrImage> image = cache.read(file.name);
  return {image ? bmc_cell(image->key) : Cell("not usable", nullptr, Severity::Faint),
          image ? count_cell(image->records.size()) : Cell(), Cell(std::to_string(file.size) + " B", file.size),
          age_cell(file.written), to_utf8(std::string_view(file.path))};
}

Table empty_table(const char* key, const char* title) {
  return Table{
      key,
      title,
      {{"bmc", "BMC"}, {"records", "Records", true}, {"size", "Size", true}, {"age", "Age", true}, {"path", "File"}},
      {}};
}

void list(Document& document) {
  SdrCache cache(SdrCache::Folder::Existing);
  Table table = empty_table("cache", "");
  if (!cache.problem().empty()) document.problem("cache", cache.problem());
  for (const SdrCache::File& file : cache.files()) table.rows.push_back(row_of(cache, file));
  document.sections.push_back(std::move(table));
}

void clear(Document& document) {
  SdrCache cache(SdrCache::Folder::Existing);
  Table table = empty_table("removed", "Removed");
  if (!cache.problem().empty()) document.problem("cache", cache.problem());
  for (const SdrCache::File& file : cache.files()) {
    std::vector<Cell> row = row_of(cache, file);
    if (cache.remove(file.name))
      table.rows.push_back(std::move(row));
    else
      document.problem("cache", cache.problem());
  }
  document.sections.push_back(std::move(table));
}

}  // namespace

void add_cache(CLI::App& app, Context& context) {
  CLI::App* cache = app.add_subcommand("cache", "The sensor data records (SDR) that are kept from run to run");
  cache->require_subcommand(0, 1);
  runs(context, cache, list);
  runs(context, cache->add_subcommand("list", "List the files, one for each BMC (the default)"), list);
  runs(context, cache->add_subcommand("clear", "Remove them; the records are read again when they are needed"), clear);
}

}  // namespace tool
