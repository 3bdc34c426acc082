#include "lumipmi/profile.h"

#include <unistd.h>

#include <gtest/gtest.h>

#include <climits>
#include <string>

#include "support/guarded_bytes.hpp"
#include "support/temp_dir.hpp"

namespace {

using lumi::test::GuardedBytes;
using lumi::test::TempDir;

std::string text_of(const char* text) {
  return text == nullptr ? "(null)" : text;
}

/// Reads a value into a buffer of exactly `size` bytes and checks the result against the text left there.
std::string read_value(const char* section, const char* key, const char* default_value, int32_t size,
                       const char* path) {
  GuardedBytes out(static_cast<size_t>(size), 0xEE);
  const uint32_t length = GetPrivateProfileString(section, key, default_value, out.text(), size, path);
  const size_t end = out.content().find('\0');
  EXPECT_NE(end, std::string::npos) << "not terminated";
  EXPECT_EQ(length, end);
  return out.content().substr(0, end);
}

TEST(profile, finds_values) {
  const std::string file =
      "top=before any section\n"
      "[Lan]\n"
      "; comment=1\n"
      "#comment=2\n"
      "address=10.0.0.1\n"
      "blank = spaced \n"
      " indented=yes\n"
      "equals=a=b\n"
      "empty=\n"
      "=nameless\n"
      "no equals sign\n"
      "twice=first\n"
      "twice=second\n"
      "crlf=value\r\n"
      "[Broken\n"
      "[Broken]\n"
      "[Serial] baud=1\n"
      "baud=115200\n"
      "[Lan]\n"
      "late=too late\n"
      "[]\n"
      "anonymous=here\n"
      "[ Padded ]\n"
      "padded=yes\n"
      "last=unterminated";
  TempDir dir;
  const std::string path = dir.write("settings.ini", file);
  const struct {
    const char* section;
    const char* key;
    const char* text;
  } cases[] = {
      {"Lan", "address", "10.0.0.1"},
      {"lan", "address", "?"},  // case counts
      {"Lan", "Address", "?"},
      {"Lan", "blank", "?"},  // blanks count, on both sides
      {"Lan", "blank ", " spaced "},
      {"Lan", "indented", "?"},
      {"Lan", " indented", "yes"},
      {"Lan", "equals", "a=b"},  // the first '=' divides
      {"Lan", "equals=a", "?"},
      {"Lan", "empty", ""},
      {"Lan", "", "nameless"},
      {"Lan", "no equals sign", "?"},
      {"Lan", "; comment", "?"},
      {"Lan", "#comment", "?"},
      {"Lan", "twice", "first"},
      {"Lan", "crlf", "value\r"},
      {"Lan", "baud", "?"},
      {"Lan", "late", "?"},  // only the first section of a name
      {"Broken", "baud", "?"},
      {"Serial", "baud", "115200"},  // a header ends at its first ']', the rest of the line is ignored
      {"Serial", "address", "?"},
      {"", "anonymous", "here"},
      {"Padded", "padded", "?"},
      {" Padded ", "padded", "yes"},
      {" Padded ", "last", "unterminated"},
      {nullptr, "top", "before any section"},
      {nullptr, "address", "?"},
      {"Lan", "top", "?"},
      {"Lan", nullptr, "?"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << "section " << text_of(c.section) << ", key " << text_of(c.key));
    EXPECT_EQ(read_value(c.section, c.key, "?", 64, path.c_str()), c.text);
  }
}

TEST(profile, stops_at_any_header_after_the_wanted_section) {
  TempDir dir;
  // Inside the section a header ends it even without a ']'; before it such a line is skipped.
  const std::string path = dir.write("settings.ini", "[x\n[a]\n[b\nkey=1\n");
  EXPECT_EQ(read_value("a", "key", "?", 64, path.c_str()), "?");
  const std::string ended = dir.write("ended.ini", "[a]\n[a]\nkey=1\n");
  EXPECT_EQ(read_value("a", "key", "?", 64, ended.c_str()), "?");
}

TEST(profile, cuts_to_the_buffer) {
  TempDir dir;
  const std::string path = dir.write("settings.ini", "[s]\nkey=abcd\n");
  const std::string missing = dir.file("missing.ini");
  const struct {
    int32_t size;
    const char* found;
    const char* by_default;
  } cases[] = {
      {1, "", ""}, {2, "a", "9"}, {4, "abc", "987"}, {5, "abcd", "9876"}, {6, "abcd", "98765"}, {7, "abcd", "98765"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.size);
    EXPECT_EQ(read_value("s", "key", "98765", c.size, path.c_str()), c.found);
    EXPECT_EQ(read_value("s", "other", "98765", c.size, path.c_str()), c.by_default);
    EXPECT_EQ(read_value("s", "key", "98765", c.size, missing.c_str()), c.by_default);
  }
  char out[] = "kept";
  for (const int32_t size : {0, -1, INT32_MIN}) {
    EXPECT_EQ(GetPrivateProfileString("s", "key", "98765", out, size, path.c_str()), 0u);
    EXPECT_STREQ(out, "kept");
  }
  EXPECT_EQ(GetPrivateProfileString("s", "key", "98765", nullptr, 8, path.c_str()), 0u);
}

TEST(profile, falls_back_to_the_default) {
  TempDir dir;
  const std::string path = dir.write("settings.ini", "[s]\nkey=1\n");
  EXPECT_EQ(read_value("s", "other", nullptr, 8, path.c_str()), "");
  EXPECT_EQ(read_value("s", "key", nullptr, 8, dir.file("missing.ini").c_str()), "");
  EXPECT_EQ(read_value("s", "key", "dir", 8, dir.path().c_str()), "dir");
  EXPECT_EQ(read_value("s", "key", "null", 8, nullptr), "null");
  EXPECT_EQ(read_value("s", "key", "a\nb", 8, nullptr), "a\nb") << "only a value from the file ends at a newline";
}

TEST(profile, reads_lines_in_pieces_of_255_characters) {
  // `count` times x between two texts.
  const auto x = [](size_t count, const char* before = "", const char* after = "") {
    return before + std::string(count, 'x') + after;
  };
  TempDir dir;
  const struct {
    const char* what;
    std::string file;
    const char* section;
    std::string text;
  } cases[] = {
      {"255 with the newline", x(250, "key=", "\n"), nullptr, x(250)},
      {"255 and the newline", x(251, "key=", "\n"), nullptr, x(251)},
      {"a longer value is cut", x(400, "key=", "\n"), nullptr, x(251)},
      {"a key behind 255 characters", x(255, "", "key=1\n"), nullptr, "1"},
      {"a key behind 254 characters", x(254, "", "key=1\n"), nullptr, "?"},
      {"a key behind a long comment", x(254, ";", "key=1\n"), nullptr, "1"},
      {"a header behind 255 characters", x(255, "", "[s]\nkey=1\n"), "s", "1"},
      {"a header without its ']'", x(254, "[", "]\nkey=1\n"), "s", "?"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    EXPECT_EQ(read_value(c.section, "key", "?", 512, dir.write("settings.ini", c.file).c_str()), c.text);
  }
}

TEST(profile, closes_the_file) {
  TempDir dir;
  const std::string path = dir.write("settings.ini", "[s]\nkey=1\n[t]\n");
  const int before = dup(0);
  close(before);
  for (const char* key : {"key", "other"}) EXPECT_NE(read_value("s", key, "?", 8, path.c_str()), "");
  const int after = dup(0);
  close(after);
  EXPECT_EQ(after, before) << "the lowest free descriptor";
}

}  // namespace
