// The writer: empty parameters, real formatting, numbers kept whole at the end of a record,
// strings running over records, the record stamps, and the S, D, P and T sections of a small
// file, byte for byte.
#include <cfloat>
#include <clocale>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <functional>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "igeslib_io.h"
#include "model/model_support.h"
#include "support/records.h"
#include "support/reports.h"

using igeslib_test::IgesText;
using igeslib_test::p_record;

namespace {

// A filer writing to a scratch file, set up in the middle of an entity's P record (or of the
// G section), with its reports captured.
struct Written {
  explicit Written(char section = 'P', char zero_as_default = 1) {
    io.fp = std::tmpfile();
    io.f_rec_section = section;
    io.end_column = section == 'P' ? 63 : 71;
    io.sequence_number = 1;
    io.back_pointer = 1;
    io.zero_as_default = zero_as_default;
  }
  ~Written() { std::fclose(io.fp); }

  // Everything written so far.
  std::string text() {
    std::fflush(io.fp);
    std::rewind(io.fp);
    std::string out;
    char buffer[512];
    std::size_t n;
    while ((n = std::fread(buffer, 1, sizeof buffer, io.fp)) > 0) out.append(buffer, n);
    return out;
  }
  // The data columns of each written record, trailing blanks dropped, and of the record being
  // assembled as the last element.
  std::vector<std::string> data() {
    std::vector<std::string> out;
    std::string all = text();
    for (std::size_t at = 0; at + 81 <= all.size(); at += 81)
      out.push_back(trimmed(all.substr(at, static_cast<std::size_t>(io.end_column) + 1)));
    out.push_back(trimmed(std::string(io.line, static_cast<std::size_t>(io.column))));
    return out;
  }
  static std::string trimmed(std::string s) {
    s.erase(s.find_last_not_of(' ') + 1);
    return s;
  }

  igeslib_test::CapturedReports reports;
  IgeslibIO io;
};

using Lines = std::vector<std::string>;

TEST(Writer, TokensWithAndWithoutZeroAsDefault) {
  struct Case {
    const char* name;
    std::function<void(IgeslibIO&)> write;
    const char* on;
    const char* off;
  };
  const Case cases[] = {
      {"int 0", [](IgeslibIO& io) { io.write_int(0); }, ",", "0,"},
      {"int -17", [](IgeslibIO& io) { io.write_int(-17); }, "-17,", "-17,"},
      {"real 0", [](IgeslibIO& io) { io.write_real(0.0); }, ",", "0.,"},
      {"real -0", [](IgeslibIO& io) { io.write_real(-0.0); }, ",", "-0.,"},
      {"real 2.5", [](IgeslibIO& io) { io.write_real(2.5); }, "2.5,", "2.5,"},
      {"false", [](IgeslibIO& io) { io.write_logical(false); }, ",", "0,"},
      {"true", [](IgeslibIO& io) { io.write_logical(true); }, "1,", "1,"},
      {"empty string", [](IgeslibIO& io) { io.write_string(""); }, ",", ","},
      {"null string", [](IgeslibIO& io) { io.write_string(nullptr); }, ",", ","},
      {"string", [](IgeslibIO& io) { io.write_string("a,b"); }, "3Ha,b,", "3Ha,b,"},
      {"own delimiter", [](IgeslibIO& io) {
         io.param_delimiter = '/';
         io.write_int(0);
         io.write_int(5);
       }, "/5/", "0/5/"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    for (char zero : {1, 0}) {
      Written w('P', zero);
      c.write(w.io);
      EXPECT_EQ(w.data(), Lines{zero ? c.on : c.off});
    }
  }
}

// The text "%.15G" gives in the "C" locale, with the point and the exponent letter a real
// token needs.
std::string reference_real(double v) {
  char text[64];
  std::snprintf(text, sizeof text, "%.15G", v);
  std::string out = text;
  double whole;
  if (std::modf(v, &whole) == 0.0 || out.find_first_of(".E") == std::string::npos) out += '.';
  std::size_t e = out.find('E');
  if (e != std::string::npos) out[e] = 'D';
  return out;
}

std::string put_real_text(double v) {
  Written w;
  w.io.put_real(v);
  std::string token = w.data().back();
  return token.substr(0, token.size() - 1);
}

TEST(Writer, RealFormatting) {
  struct Case {
    double value;
    const char* text;
  };
  const Case cases[] = {
      {1.0, "1."},
      {0.5, "0.5"},
      {100.0, "100."},
      {-0.0, "-0."},
      {1e-7, "1D-07"},
      {-2.5e-300, "-2.5D-300"},
      {1.5e300, "1.5D+300."},  // every real this large is whole
      {1e20, "1D+20."},  // whole, so a point even behind the exponent
      {1e15, "1D+15."},
      {1e14, "100000000000000."},
      {1.0 / 3.0, "0.333333333333333"},
      {123456.789, "123456.789"},
      {0.1 + 0.2, "0.3"},
      {4.9e-324, "4.94065645841247D-324"},
      {DBL_MAX, "1.79769313486232D+308."},
  };
  for (const Case& c : cases) EXPECT_EQ(put_real_text(c.value), c.text) << c.value;
}

TEST(Writer, RealsMatchTheCLocalesPrintf) {
  std::mt19937_64 random(20240611);
  std::uniform_real_distribution<double> exponent(-320.0, 308.0);
  std::uniform_real_distribution<double> mantissa(-10.0, 10.0);
  for (int i = 0; i < 2000; ++i) {
    double v = mantissa(random) * std::pow(10.0, exponent(random));
    if (i % 3 == 0) v = std::round(v * 1000.0) / 1000.0;  // short fractions and whole numbers
    ASSERT_EQ(put_real_text(v), reference_real(v)) << v;
  }
}

TEST(Writer, RealsDoNotFollowTheProcessLocale) {
  struct RestoreLocale {
    std::string saved = std::setlocale(LC_ALL, nullptr);
    ~RestoreLocale() { std::setlocale(LC_ALL, saved.c_str()); }
  } restore;
  if (!std::setlocale(LC_ALL, "de_DE.UTF-8"))
    GTEST_SKIP() << "the locale de_DE.UTF-8 is not installed";
  char probe[16];
  std::snprintf(probe, sizeof probe, "%.1f", 0.5);
  ASSERT_STREQ(probe, "0,5") << "the locale should have a decimal comma";
  Written w;
  w.io.put_real(0.5);
  w.io.put_real(-1234.25);
  w.io.put_real(2.5e-10);
  w.io.put_real(3.0);
  EXPECT_EQ(w.data(), Lines{"0.5,-1234.25,2.5D-10,3.,"});
}

TEST(Writer, NumbersAreNeverSplitOverRecords) {
  struct Case {
    int start;  // column of the first character, 0-based
    std::function<void(IgeslibIO&)> write;
    Lines lines;
  };
  const Case cases[] = {
      // Token and delimiter end exactly in column 64; the next token flushes the record.
      {60, [](IgeslibIO& io) { io.put_int(123); }, {"123,"}},
      {60, [](IgeslibIO& io) {
         io.put_int(123);
         io.put_int(4);
       }, {"123,", "4,"}},
      // One character more and the token moves whole to the next record.
      {60, [](IgeslibIO& io) { io.put_int(1234); }, {"", "1234,"}},
      {60, [](IgeslibIO& io) { io.put_real(0.5); }, {"0.5,"}},
      {60, [](IgeslibIO& io) { io.put_real(0.25); }, {"", "0.25,"}},
      {62, [](IgeslibIO& io) { io.write_real(1.0); }, {"", "1.,"}},
      // An empty parameter takes the last data column.
      {63, [](IgeslibIO& io) {
         io.write_int(0);
         io.write_int(0);
       }, {",", ","}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.start);
    Written w;
    w.io.column = c.start;
    c.write(w.io);
    Lines expected = c.lines;
    expected[0] = Written::trimmed(std::string(static_cast<std::size_t>(c.start), ' ') +
                                   expected[0]);
    EXPECT_EQ(w.data(), expected);
  }
}

TEST(Writer, StringsRunOverRecords) {
  const std::string x150(150, 'x');
  {
    Written w;
    w.io.put_string(x150.c_str());
    EXPECT_EQ(w.data(), (Lines{"150H" + x150.substr(0, 60), x150.substr(60, 64),
                               x150.substr(124) + ","}));
  }
  {
    // The last character in column 64, the delimiter in column 1 of the next record.
    Written w;
    std::string x61(61, 'x');
    w.io.put_string(x61.c_str());
    EXPECT_EQ(w.data(), (Lines{"61H" + x61, ","}));
  }
  {
    // The length and its H stay on one record, the text goes on to the next.
    Written w;
    w.io.column = 62;
    w.io.put_string("ab");
    EXPECT_EQ(w.data(), (Lines{std::string(62, ' ') + "2H", "ab,"}));
  }
  {
    Written w;
    w.io.column = 63;
    w.io.put_string("ab");
    EXPECT_EQ(w.data(), (Lines{"", "2Hab,"}));
  }
}

TEST(Writer, RecordStampsAndTheEndOfAnEntity) {
  Written w;
  w.io.back_pointer = 7;
  w.io.sequence_number = 12;
  w.io.put_int(116);
  w.io.writeendofrec();
  w.io.f_rec_section = 'G';
  w.io.end_column = 71;
  w.io.write_string("x");
  w.io.writeendofrec();
  EXPECT_EQ(w.text(),
            p_record(7, 12, "116;") + "\n" + igeslib_test::record('G', 13, "1Hx;") + "\n");
  EXPECT_EQ(w.io.column, 0);
  EXPECT_TRUE(w.reports.pieces().empty());

  // Without a delimiter behind the last parameter nothing is written.
  w.io.writeendofrec();
  EXPECT_EQ(w.io.sequence_number, 14);
  EXPECT_NE(w.reports.text().find("writeendofrec: free form data missing last parameter "
                                  "delimiter"),
            std::string::npos);
}

TEST(Writer, StartSection) {
  {
    Written w;
    ListOfString list(0);
    list.add(const_cast<char*>("first line"));
    list.add(const_cast<char*>(""));
    w.io.write_start_section(&list);
    EXPECT_EQ(w.text(), IgesText().S("first line").S("").str());
    EXPECT_EQ(w.io.start_count, 2);
  }
  {
    // No text still gives one blank record.
    Written w;
    ListOfString list(0);
    w.io.write_start_section(&list);
    EXPECT_EQ(w.text(), IgesText().S("").str());
    EXPECT_EQ(w.io.start_count, 1);
  }
  {
    // A text too long ends the section there; the count keeps the list's size.
    Written w;
    ListOfString list(0);
    std::string x72(72, 'x'), x73(73, 'y');
    list.add(x72.data());
    list.add(x73.data());
    list.add(const_cast<char*>("never"));
    w.io.write_start_section(&list);
    EXPECT_EQ(w.text(), IgesText().S(x72).str());
    EXPECT_EQ(w.io.start_count, 3);
    EXPECT_NE(w.reports.text().find("start section record longer than 72 characters"),
              std::string::npos);
    EXPECT_EQ(std::string(w.io.line), std::string(89, ' '));
  }
}

TEST(Writer, RawLinesAndTheRecordDelimiter) {
  Written w;
  w.io.write_raw_line("116,1.,2.;", false);
  EXPECT_EQ(w.io.find_record_delimiter(), 9);
  EXPECT_EQ(w.io.column, 9);
  w.io.line[9] = ' ';
  EXPECT_EQ(w.io.find_record_delimiter(), 0);
  // The text's NUL cuts the written record.
  w.io.write_raw_line("abc", true);
  EXPECT_EQ(w.text(), "abc");
}

// An entity whose parameters and directory fields the test states, writing through the
// filer it is given.
template <class Base>
struct Probe : Base {
  int type = 0, form_number = 0;
  IgeslibIO* io = nullptr;
  std::function<void(IgeslibIO&)> parameters;
  int entity_type() override { return type; }
  int form() override { return form_number; }
  void pdwrite() override {
    if (parameters) parameters(*io);
  }
  void de_write_record_one(char* out) override {
    std::snprintf(out, 17, "%8d%8d", type, this->pd_pointer);
    out[16] = ' ';
  }
  void de_write_record_two(char* out) override {
    std::snprintf(out, 17, "%8d%8d", form_number, this->pd_line_count);
    out[16] = ' ';
  }
};

template <class Base>
Probe<Base>* probe(LumoDesign* design, IgeslibIO& io, int type, int form) {
  auto* p = new (design) Probe<Base>;
  p->type = type;
  p->form_number = form;
  p->io = &io;
  return p;
}

std::string de_text(int a, int b) {
  char text[20];
  std::snprintf(text, sizeof text, "%8d%8d", a, b);
  return text;
}

TEST(Writer, DirectoryReservedThenOverwrittenAroundTheParameters) {
  ScratchDesign design("writer");
  for (char zero : {1, 0}) {
    SCOPED_TRACE(zero ? "zero as default" : "zeros written");
    Written w('S', zero);
    const std::string x70(70, 'x');
    auto* point = probe<igs_point_entity>(design, w.io, 116, 0);
    point->parameters = [](IgeslibIO& io) {
      io.write_real(1.0);
      io.write_real(0.0);
      io.write_int(0);
    };
    auto* property = probe<igs_user_defined_property_entity>(design, w.io, 406, 15);
    property->parameters = [&x70](IgeslibIO& io) { io.write_string(x70.c_str()); };
    auto* group = probe<igs_associativity_instance_entity>(design, w.io, 402, 1);

    auto* property_choice = new (design.design) igs_properties;
    property_choice->_property_entity(property);
    auto* properties = new (design.design) ListOfigs_properties;
    properties->add(property_choice);
    point->properties(properties);
    auto* group_choice = new (design.design) igs_associativities;
    group_choice->_associativity_entity(group);
    auto* associations = new (design.design) ListOfigs_associativities;
    associations->add(group_choice);
    property->associations(associations);

    ListOfigs_directory_entry list(0);
    list.add(point).add(property).add(group);
    ListOfString start(0);
    w.io.write_start_section(&start);
    w.io.reserve_de_section(&list);
    w.io.write_pd_section(&list);
    w.io.write_terminate_section(&list);
    w.io.write_de_section(&list);

    std::string point_text = zero ? "116,1.,,,,1,3;" : "116,1.,0.,0,0,1,3;";
    std::string property_text = "406,70H" + x70 + ",1,5;";
    std::string expected = IgesText()
                               .S("")
                               .D(de_text(116, 1))
                               .D(de_text(0, 1))
                               .D(de_text(406, 2))
                               .D(de_text(15, 2))
                               .D(de_text(402, 4))
                               .D(de_text(1, 1))
                               .P(1, point_text)
                               .P(3, property_text.substr(0, 64))
                               .P(3, property_text.substr(64))
                               .P(5, "402;")
                               .T()
                               .str();
    EXPECT_EQ(w.text(), expected);
    EXPECT_EQ(point->de_number, 1);
    EXPECT_EQ(group->de_number, 5);
    EXPECT_EQ(w.io.parameter_count, 4);
    EXPECT_EQ(w.io.directory_count, 6);
    EXPECT_TRUE(w.reports.pieces().empty()) << w.reports.text();
  }
}

TEST(Writer, TerminateLineOfAFileWithoutEntities) {
  Written w('S');
  w.io.start_count = 1;
  w.io.global_count = 3;
  w.io.parameter_count = 12;
  ListOfigs_directory_entry none(0);
  w.io.reserve_de_section(&none);
  w.io.write_terminate_section(&none);
  EXPECT_EQ(w.text(), igeslib_test::record('T', 1, igeslib_test::terminate_text(1, 3, 0, 12)) +
                          "\n");
}

}  // namespace
