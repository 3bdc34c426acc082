// Texts and the three renderings of a document.
#include "tools/output.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <ctime>
#include <limits>

#include "tools/text.hpp"

namespace tool {

namespace {

TEST(Text, AnyBytesBecomeHarmlessUtf8) {
  using namespace std::string_literals;
  const struct {
    std::string bytes;
    std::string text;
  } cases[] = {
      {"", ""},
      {"plain ASCII ~", "plain ASCII ~"},
      {"Gr\xC3\xBC\xC3\x9F \xE2\x82\xAC \xF0\x9F\x98\x80", "Gr\xC3\xBC\xC3\x9F \xE2\x82\xAC \xF0\x9F\x98\x80"},
      {"Gr\xFC\xDF", "Gr\xC3\xBC\xC3\x9F"},                   // Latin-1
      {"\xC3", "\xC3\x83"},                                   // cut off
      {"\xE2\x82", "\xC3\xA2\\x82"},                          // cut off, with a control character in Latin-1
      {"\xC0\xAF", "\xC3\x80\xC2\xAF"},                       // overlong
      {"\xE0\x9F\xBF", "\xC3\xA0\\x9F\xC2\xBF"},              // overlong
      {"\xED\xA0\x80", "\xC3\xAD\xC2\xA0\\x80"},              // a surrogate
      {"\xF0\x8F\xBF\xBF", "\xC3\xB0\\x8F\xC2\xBF\xC2\xBF"},  // overlong
      {"\xF4\x90\x80\x80", "\xC3\xB4\\x90\\x80\\x80"},        // beyond U+10FFFF
      {"\xF4\x8F\xBF\xBF", "\xF4\x8F\xBF\xBF"},               // U+10FFFF
      {"a\0b\n\x1B[2J\x7F"s, "a\\x00b\\x0A\\x1B[2J\\x7F"},    // terminal control
      {"\xC2\x9B\x31m \xC2\xA0", "\\x9B\x31m \xC2\xA0"},      // CSI as one character; not a no-break space
  };
  for (const auto& c : cases) EXPECT_EQ(to_utf8(c.bytes), c.text);
}

TEST(Text, NumbersKeepTheDigitsInFrontOfThePoint) {
  const struct {
    double value;
    int digits;
    const char* text;
  } cases[] = {
      {23, 4, "23"},
      {12.06, 4, "12.06"},
      {1.6094379, 4, "1.609"},
      {-0.25, 4, "-0.25"},
      {0, 4, "0"},
      {-0.0, 4, "0"},
      {100, 4, "100"},
      {12345, 4, "12345"},
      {12345.678, 4, "12346"},
      {9999.96, 4, "10000"},
      {999.96, 4, "1000"},
      {0.000123456, 4, "0.0001235"},
      {1e-9, 4, "1e-09"},
      {1.23456789e20, 4, "1.235e+20"},
      {3.14159, 2, "3.1"},
      {1e14, 4, "100000000000000"},
      {std::numeric_limits<double>::infinity(), 4, "infinite"},
      {std::nan(""), 4, "not a number"},
  };
  for (const auto& c : cases) EXPECT_EQ(number(c.value, c.digits), c.text) << c.value;
}

TEST(Text, TimesOfTheBmc) {
  setenv("TZ", "XXX-5:30", 1);
  tzset();
  const struct {
    uint32_t seconds;
    const char* text;
    Json iso;
  } cases[] = {
      {1700000000, "2023-11-15T03:43:20+05:30", "2023-11-15T03:43:20+05:30"},
      {0xFFFFFFFF, "unspecified", nullptr},
      {0xFFFFFFFE, "2106-02-07T11:58:14+05:30", "2106-02-07T11:58:14+05:30"},
      {0, "pre-init +0 s", nullptr},
      {0x20000000, "pre-init +536870912 s", nullptr},
      {0x20000001, "1987-01-06T00:18:33+05:30", "1987-01-06T00:18:33+05:30"},
  };
  for (const auto& c : cases) {
    const Cell cell = time_cell(c.seconds);
    EXPECT_EQ(cell.text, c.text);
    EXPECT_EQ(cell.value, (Json{{"iso", c.iso}, {"seconds", c.seconds}}));
  }
  setenv("TZ", "UTC", 1);
  tzset();
  EXPECT_EQ(iso_time(-1), "1969-12-31T23:59:59+00:00");
}

Document sample() {
  Document document;
  Record record{.key = "one", .title = "First", .fields = {}};
  record.add("name", "Menü", "say \"hi\", twice");
  record.add("count", "N", Cell("5 (0x05)", 5, Severity::Critical));
  record.add("missing", "Fühler", Cell());
  record.add("hidden", "", Cell("h"));
  record.add("list", "List", Cell("a\nb", Json{"a", "b"}));
  Table table{.key = "rows",
              .title = "",
              .columns = {{"id", "ID", true}, {"note", ""}, {"name", "NAME"}, {"value", "VALUE"}},
              .rows = {{Cell("7", 7), "x", Cell("Grün", "Grün", Severity::Ok), Cell("1.50 V", 1.5)},
                       {Cell("12", 12), Cell(), "ab", Cell("none", nullptr)}}};
  document.sections = {record, table};
  return document;
}

TEST(Render, Table) {
  EXPECT_EQ(render(sample(), {.format = Format::Table, .colour = false}),
            "First\n"
            "Menü:   say \"hi\", twice\n"
            "N:      5 (0x05)\n"
            "Fühler:\n"
            "List:   a\n"
            "        b\n"
            "\n"
            "ID  NAME  VALUE\n"
            " 7  Grün  1.50 V\n"
            "12  ab    none\n");
  EXPECT_EQ(render(sample(), {.format = Format::Table, .colour = true}),
            "\033[1mFirst\033[0m\n"
            "Menü:   say \"hi\", twice\n"
            "N:      \033[1;31m5 (0x05)\033[0m\n"
            "Fühler:\n"
            "List:   a\n"
            "        b\n"
            "\n"
            "\033[2mID\033[0m  \033[2mNAME\033[0m  \033[2mVALUE\033[0m\n"
            " 7  \033[32mGrün\033[0m  1.50 V\n"
            "12  ab    none\n");
}

TEST(Render, Json) {
  Document document = sample();
  document.problem("FRU 5", "gone");
  std::get<Record>(document.sections[0]).add("broken", "", Cell("?", std::string("\xFF"), Severity::None));
  std::get<Record>(document.sections[0]).add("nan", "", Cell("?", std::nan("")));
  const Json expected = {
      {"one",
       {{"name", "say \"hi\", twice"},
        {"count", 5},
        {"missing", nullptr},
        {"hidden", "h"},
        {"list", {"a", "b"}},
        {"broken", "\xEF\xBF\xBD"},
        {"nan", nullptr}}},
      {"rows",
       {{{"id", 7}, {"note", "x"}, {"name", "Grün"}, {"value", 1.5}},
        {{"id", 12}, {"note", nullptr}, {"name", "ab"}, {"value", nullptr}}}},
      {"problems", Json::array({{{"where", "FRU 5"}, {"message", "gone"}}})},
  };
  const std::string text = render(document, {.format = Format::Json, .colour = true});
  EXPECT_EQ(Json::parse(text), expected);
  EXPECT_EQ(text.back(), '\n');
  EXPECT_EQ(render(Document(), {.format = Format::Json, .colour = false}), "{}\n");
}

TEST(Render, Csv) {
  Document document = sample();
  EXPECT_EQ(render(document, {.format = Format::Csv, .colour = true}),
            "section,item,field,value\n"
            "one,,name,\"say \"\"hi\"\", twice\"\n"
            "one,,count,5\n"
            "one,,missing,\n"
            "one,,hidden,h\n"
            "one,,list,\"a\nb\"\n"
            "rows,1,id,7\n"
            "rows,1,note,x\n"
            "rows,1,name,Grün\n"
            "rows,1,value,1.5\n"
            "rows,2,id,12\n"
            "rows,2,note,\n"
            "rows,2,name,ab\n"
            "rows,2,value,none\n");
  document.sections.erase(document.sections.begin());
  EXPECT_EQ(render(document, {.format = Format::Csv, .colour = false}),
            "id,note,name,value\n"
            "7,x,Grün,1.5\n"
            "12,,ab,none\n");
}

}  // namespace

}  // namespace tool
