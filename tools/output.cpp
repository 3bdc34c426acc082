#include "tools/output.hpp"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "tools/text.hpp"

namespace tool {

namespace {

const char* escape_of(Severity severity) {
  switch (severity) {
    case Severity::Ok:
      return "\033[32m";
    case Severity::Warning:
      return "\033[33m";
    case Severity::Critical:
      return "\033[1;31m";
    case Severity::Faint:
      return "\033[2m";
    case Severity::None:
      break;
  }
  return "";
}

constexpr char kTitle[] = "\033[1m";
constexpr char kPlain[] = "\033[0m";

/// Text for people: aligned, coloured.
class TableWriter {
 public:
  explicit TableWriter(bool colour) : colour_(colour) {}

  void operator()(const Record& record) {
    title(record.title);
    size_t width = 0;
    for (const Field& field : record.fields) width = std::max(width, display_width(field.label));
    for (const Field& field : record.fields) {
      if (field.label.empty()) continue;
      text_ += field.label + ":";
      text_.append(width - display_width(field.label) + 1, ' ');
      value_lines(field.cell, width + 2);
    }
  }

  void operator()(const Table& table) {
    title(table.title);
    std::vector<size_t> widths;
    std::vector<Cell> headings;
    for (size_t column = 0; column < table.columns.size(); ++column) {
      size_t width = display_width(table.columns[column].heading);
      if (width != 0)
        for (const std::vector<Cell>& row : table.rows) width = std::max(width, display_width(row.at(column).text));
      widths.push_back(width);
      headings.push_back(Cell(table.columns[column].heading, nullptr, Severity::Faint));
    }
    line(table, widths, headings);
    for (const std::vector<Cell>& row : table.rows) line(table, widths, row);
  }

  std::string take() { return std::move(text_); }

 private:
  void title(const std::string& title) {
    if (!text_.empty()) text_ += '\n';
    if (!title.empty()) text_ += (colour_ ? kTitle + title + kPlain : title) + '\n';
  }

  void coloured(const std::string& text, Severity severity) {
    const bool colour = colour_ && severity != Severity::None && !text.empty();
    if (colour) text_ += escape_of(severity);
    text_ += text;
    if (colour) text_ += kPlain;
  }

  void value_lines(const Cell& cell, size_t indent) {
    size_t begin = 0;
    for (;;) {
      const size_t end = std::min(cell.text.find('\n', begin), cell.text.size());
      coloured(cell.text.substr(begin, end - begin), cell.severity);
      end_line();
      if (end == cell.text.size()) return;
      begin = end + 1;
      text_.append(indent, ' ');
    }
  }

  void line(const Table& table, const std::vector<size_t>& widths, const std::vector<Cell>& row) {
    bool first = true;
    for (size_t column = 0; column < widths.size(); ++column) {
      if (table.columns[column].heading.empty()) continue;
      if (!first) text_ += "  ";
      first = false;
      const Cell& cell = row.at(column);
      const size_t padding = widths[column] - display_width(cell.text);
      if (table.columns[column].right) text_.append(padding, ' ');
      coloured(cell.text, cell.severity);
      if (!table.columns[column].right) text_.append(padding, ' ');
    }
    end_line();
  }

  void end_line() {
    text_.erase(text_.find_last_not_of(' ') + 1);
    text_ += '\n';
  }

  bool colour_;
  std::string text_;
};

Json json_of(const Record& record) {
  Json object = Json::object();
  for (const Field& field : record.fields) object[field.key] = field.cell.value;
  return object;
}

Json json_of(const Table& table) {
  Json rows = Json::array();
  for (const std::vector<Cell>& row : table.rows) {
    Json object = Json::object();
    for (size_t column = 0; column < table.columns.size(); ++column)
      object[table.columns[column].key] = row.at(column).value;
    rows.push_back(std::move(object));
  }
  return rows;
}

std::string render_json(const Document& document) {
  Json root = Json::object();
  for (const Section& section : document.sections)
    std::visit([&](const auto& part) { root[part.key] = json_of(part); }, section);
  for (const Problem& problem : document.problems)
    root["problems"].push_back({{"where", problem.where}, {"message", problem.message}});
  return root.dump(2, ' ', false, Json::error_handler_t::replace) + '\n';
}

/// RFC 4180, but with a newline alone at the end of each line.
class CsvWriter {
 public:
  void operator()(const Record& record) {
    for (const Field& field : record.fields) line({record.key, "", field.key, shown(field.cell)});
  }

  void operator()(const Table& table) {
    size_t item = 0;
    for (const std::vector<Cell>& row : table.rows) {
      ++item;
      for (size_t column = 0; column < table.columns.size(); ++column)
        line({table.key, std::to_string(item), table.columns[column].key, shown(row.at(column))});
    }
  }

  void whole(const Table& table) {
    std::vector<std::string> keys;
    for (const Column& column : table.columns) keys.push_back(column.key);
    line(keys);
    for (const std::vector<Cell>& row : table.rows) {
      std::vector<std::string> values;
      for (const Cell& cell : row) values.push_back(shown(cell));
      line(values);
    }
  }

  void line(const std::vector<std::string>& values) {
    for (size_t i = 0; i < values.size(); ++i) {
      if (i != 0) text_ += ',';
      text_ += quoted(values[i]);
    }
    text_ += '\n';
  }

  std::string take() { return std::move(text_); }

 private:
  static std::string shown(const Cell& cell) {
    return cell.value.is_number() || cell.value.is_boolean() ? cell.value.dump() : cell.text;
  }

  static std::string quoted(const std::string& value) {
    if (value.find_first_of(",\"\r\n") == std::string::npos) return value;
    std::string result = "\"";
    for (const char character : value) {
      if (character == '"') result += '"';
      result += character;
    }
    return result + '"';
  }

  std::string text_;
};

std::string render_csv(const Document& document) {
  CsvWriter csv;
  if (document.sections.size() == 1 && std::holds_alternative<Table>(document.sections[0])) {
    csv.whole(std::get<Table>(document.sections[0]));
  } else {
    csv.line({"section", "item", "field", "value"});
    for (const Section& section : document.sections) std::visit(csv, section);
  }
  return csv.take();
}

}  // namespace

std::string render(const Document& document, const Style& style) {
  if (!document.raw.empty()) return document.raw;
  if (style.format == Format::Json) return render_json(document);
  if (style.format == Format::Csv) return render_csv(document);
  TableWriter table(style.colour);
  for (const Section& section : document.sections) std::visit(table, section);
  return table.take();
}

StandardOutput::StandardOutput() : fd_(fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1)) {
  const int null = open("/dev/null", O_WRONLY | O_CLOEXEC);
  if (null >= 0 && null != STDOUT_FILENO) {
    dup2(null, STDOUT_FILENO);
    close(null);
  }
}

StandardOutput::~StandardOutput() {
  if (fd_ >= 0) close(fd_);
}

bool StandardOutput::is_terminal() const {
  return fd_ >= 0 && isatty(fd_) == 1;
}

void StandardOutput::write(std::string_view text) const {
  while (!text.empty()) {
    const ssize_t written = ::write(fd_, text.data(), text.size());
    if (written >= 0) {
      text.remove_prefix(static_cast<size_t>(written));
    } else if (errno == EAGAIN) {
      pollfd writable = {.fd = fd_, .events = POLLOUT, .revents = 0};
      poll(&writable, 1, -1);
    } else if (errno == EPIPE) {
      throw Failure(Exit::Internal, "");
    } else if (errno != EINTR) {
      throw Failure(Exit::Internal, std::string("standard output: ") + std::strerror(errno));
    }
  }
}

}  // namespace tool
