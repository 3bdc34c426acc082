// What a command has to say, once; and its three renderings.
#pragma once

#include <cstdint>
#include <cstdio>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "tools/exit.hpp"

namespace tool {

enum class Format { Table, Json, Csv };

using Json = nlohmann::ordered_json;  // behind Format: gcc takes Format::Json for a shadow otherwise

/// Colours a cell on a terminal.
enum class Severity { None, Ok, Warning, Critical, Faint };

/// One value: for programs in `value`, for people in `text` (valid UTF-8 in both). CSV shows numbers and booleans as
/// `value`, everything else (strings, null, arrays, objects) as `text`. A newline in `text` continues the value on a
/// line of its own, in records only.
struct Cell {
  std::string text;
  Json value;
  Severity severity = Severity::None;

  Cell() = default;  // absent: empty text, JSON null
  Cell(std::string shown) : text(shown), value(std::move(shown)) {}
  Cell(const char* shown) : Cell(std::string(shown)) {}
  Cell(std::string shown, Json machine, Severity level = Severity::None)
      : text(std::move(shown)), value(std::move(machine)), severity(level) {}
};

/// A named value of a record.
struct Field {
  std::string key;    // JSON key and CSV field, snake_case
  std::string label;  // for people; empty: not shown in the table form, only in JSON and CSV
  Cell cell;
};

/// Named values, one below the other.
struct Record {
  std::string key;    // JSON key
  std::string title;  // heading for people; may be empty
  std::vector<Field> fields;

  void add(std::string field_key, std::string label, Cell cell) {
    fields.push_back({std::move(field_key), std::move(label), std::move(cell)});
  }
};

struct Column {
  std::string key;      // JSON key and CSV heading, snake_case
  std::string heading;  // for people; empty: not shown in the table, only in JSON and CSV
  bool right = false;   // aligned to the right
};

/// Rows of cells under headings.
struct Table {
  std::string key;
  std::string title;
  std::vector<Column> columns;
  std::vector<std::vector<Cell>> rows;
};

using Section = std::variant<Record, Table>;

/// Something that failed while the rest went on.
struct Problem {
  std::string where;    // "SDR record 0x0012", "FRU 5", "sensor 26 (Imon Nonlin)"
  std::string message;  // with the status and its meaning
};

/// What a command shows. JSON: one object with a key per section (a record is an object, a table an array of objects)
/// and "problems" when there are any. CSV: a document of one table is that table; otherwise rows of
/// section,item,field,value. Table: sections with their titles; problems go to standard error.
struct Document {
  std::vector<Section> sections;
  std::vector<Problem> problems;
  std::string raw;  // bytes for standard output as they are, in place of all sections

  void problem(std::string where, std::string message) { problems.push_back({std::move(where), std::move(message)}); }
  Exit exit() const { return problems.empty() ? Exit::Ok : Exit::Partial; }
};

struct Style {
  Format format = Format::Table;
  bool colour = false;
};

/// Renders the document; no problem lines in the table and CSV forms.
std::string render(const Document& document, const Style& style);

/// The standard output that the command was started with. liblumipmi prints on standard output by itself when the
/// driver fails; from the first of these on, that goes nowhere.
class StandardOutput {
 public:
  StandardOutput();
  ~StandardOutput();
  StandardOutput(const StandardOutput&) = delete;
  StandardOutput& operator=(const StandardOutput&) = delete;

  bool is_terminal() const;
  /// Writes all of it; Failure(Internal) when that is impossible, without a text when the reader has gone.
  void write(std::string_view text) const;

 private:
  int fd_;
};

}  // namespace tool
