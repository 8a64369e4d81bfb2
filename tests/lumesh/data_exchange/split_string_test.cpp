// Word splitting of text STL lines: the counts the text reader relies on.

#include "lumesh/data_exchange/split_string.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <cstring>
#include <random>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "lumesh/data_exchange/stl_reader.h"

namespace {

struct SPLIT {
  int count;
  std::string tokens[5];
};

SPLIT split(const std::string& line) {
  SPLIT s;
  s.count = split_string(line, s.tokens);
  return s;
}

TEST(SplitString, FacetLineHasFiveWords) {
  const SPLIT s = split("  facet normal 1 2 3");
  EXPECT_EQ(s.count, 5);
  EXPECT_EQ(s.tokens[0], "facet");
  EXPECT_EQ(s.tokens[1], "normal");
  EXPECT_EQ(s.tokens[4], "3");
}

TEST(SplitString, SurplusWordsAreNotLookedAt) {
  const SPLIT s = split("facet normal 1 2 3 extra more");
  EXPECT_EQ(s.count, 5);
  EXPECT_EQ(s.tokens[4], "3");
}

TEST(SplitString, TabsAndBlanksSeparate) {
  const SPLIT s = split("\tvertex\t1 \t2  3");
  EXPECT_EQ(s.count, 4);
  EXPECT_EQ(s.tokens[0], "vertex");
  EXPECT_EQ(s.tokens[3], "3");
}

TEST(SplitString, EmptyOrBlankLineReportsFiveAndStoresNothing) {
  std::string tokens[5] = {"a", "b", "c", "d", "e"};
  EXPECT_EQ(split_string("", tokens), 5);
  EXPECT_EQ(split_string(" \t  ", tokens), 5);
  EXPECT_EQ(tokens[0], "a");
  EXPECT_EQ(tokens[4], "e");
}

TEST(SplitString, TrailingSeparatorCountsOnToFive) {
  EXPECT_EQ(split("endloop").count, 1);
  EXPECT_EQ(split("endloop ").count, 5);
  EXPECT_EQ(split("endloop\t").count, 5);
  EXPECT_EQ(split("vertex 1 2 3").count, 4);
  EXPECT_EQ(split("vertex 1 2 3 ").count, 5);
}

TEST(SplitString, CarriageReturnTrimmedOnlyAtTheEndOfTheLastWord) {
  const SPLIT a = split("vertex 1 2 3\r");
  EXPECT_EQ(a.count, 4);
  EXPECT_EQ(a.tokens[3], "3");
  const SPLIT b = split("endloop \r");
  EXPECT_EQ(b.count, 2);
  EXPECT_EQ(b.tokens[0], "endloop");
  EXPECT_EQ(b.tokens[1], "");
  const SPLIT c = split("endfacet\r\r");
  EXPECT_EQ(c.count, 1);
  EXPECT_EQ(c.tokens[0], "endfacet");
  // Not a separator: a carriage return inside the line stays in its word.
  const SPLIT d = split("a\rb c");
  EXPECT_EQ(d.count, 2);
  EXPECT_EQ(d.tokens[0], "a\rb");
}

TEST(StlStod, LeadingNumberIsConvertedTrailingTextIgnored) {
  EXPECT_EQ(stl_stod("1.5abc"), 1.5);
  EXPECT_EQ(stl_stod("-2e3"), -2000.0);
  EXPECT_EQ(stl_stod("7\r"), 7.0);
}

TEST(StlStod, ErrorsCarryTheStandardTexts) {
  try {
    stl_stod("abc");
    FAIL() << "no exception";
  } catch (const std::invalid_argument& e) {
    EXPECT_STREQ(e.what(), "invalid stod argument");
  }
  try {
    stl_stod("");
    FAIL() << "no exception";
  } catch (const std::invalid_argument& e) {
    EXPECT_STREQ(e.what(), "invalid stod argument");
  }
  try {
    stl_stod("1e999");
    FAIL() << "no exception";
  } catch (const std::out_of_range& e) {
    EXPECT_STREQ(e.what(), "stod argument out of range");
  }
}

// Every line made of these pieces, up to four of them: the views must say
// what the strings say, slot by slot, stored or not.
TEST(SplitString, ViewsSplitExactlyAsStrings) {
  const std::vector<std::string> pieces = {"", " ", "\t", "\r", "a", "bc", "\r\r", "  x\t", "y\r"};
  std::vector<std::string> lines = {""};
  for (int round = 0; round < 4; ++round) {
    const std::size_t n = lines.size();
    for (std::size_t i = 0; i < n; ++i) {
      for (const std::string& p : pieces) lines.push_back(lines[i] + p);
    }
  }
  lines.push_back("facet normal 1 2 3 extra");
  lines.push_back("  vertex 1 2 3 \r");
  for (const std::string& line : lines) {
    std::string strings[5] = {"s0", "s1", "s2", "s3", "s4"};
    const std::string marks[5] = {"v0", "v1", "v2", "v3", "v4"};
    std::string_view views[5];
    for (int i = 0; i < 5; ++i) views[i] = marks[i];
    const int a = split_string_view(line, strings);
    const int b = split_string_views(line, views);
    ASSERT_EQ(a, b) << "line [" << line << "]";
    for (int i = 0; i < 5; ++i) {
      const bool stored = views[i].data() != marks[i].data();
      if (stored) {
        EXPECT_EQ(strings[i], views[i]) << "line [" << line << "] slot " << i;
      } else {
        EXPECT_EQ(strings[i], "s" + std::to_string(i)) << "line [" << line << "] slot " << i;
      }
    }
  }
}

// The answer of one conversion: the value's bits, or the exception's text.
std::string converted(double (*convert)(const std::string&), const std::string& token) {
  try {
    const double v = convert(token);
    char b[64];
    std::uint64_t bits;
    std::memcpy(&bits, &v, sizeof bits);
    std::snprintf(b, sizeof b, "%016llx", static_cast<unsigned long long>(bits));
    return b;
  } catch (const std::invalid_argument& e) {
    return std::string("invalid_argument: ") + e.what();
  } catch (const std::out_of_range& e) {
    return std::string("out_of_range: ") + e.what();
  }
}

double through_view(const std::string& token) {
  return stl_stod_view(token);
}

TEST(StlStod, ViewConvertsExactlyAsStlStod) {
  std::vector<std::string> tokens = {"0",
                                     "-0",
                                     "0.0",
                                     "-0.000",
                                     "0e5",
                                     "0e-999",
                                     "1",
                                     "-1",
                                     "1.",
                                     ".5",
                                     "-.5",
                                     ".",
                                     "-",
                                     "+1",
                                     "",
                                     "e5",
                                     "1e",
                                     "1e+",
                                     "1e-",
                                     "1e5",
                                     "1E5",
                                     "1e+5",
                                     "1e-5",
                                     "1.5abc",
                                     "7\r",
                                     "\r7",
                                     "\v7",
                                     "0x10",
                                     "0x1p3",
                                     "inf",
                                     "-inf",
                                     "infinity",
                                     "nan",
                                     "-nan",
                                     "NAN",
                                     "1e22",
                                     "1e23",
                                     "1e-22",
                                     "1e-23",
                                     "9007199254740992",
                                     "9007199254740993",
                                     "18446744073709551615",
                                     "18446744073709551616",
                                     "12345678901234567890123",
                                     "0000000000000000000000000001",
                                     "0.0000000000000000000000000001",
                                     "1e308",
                                     "1.7976931348623157e308",
                                     "1.8e308",
                                     "1e999",
                                     "-1e999",
                                     "2.2250738585072014e-308",
                                     "2.2250738585072011e-308",
                                     "4.9e-324",
                                     "1e-400",
                                     "-1e-400",
                                     "1e99999",
                                     "1e-99999",
                                     "1..2",
                                     "1.2.3",
                                     "1e5.5",
                                     "--1",
                                     "1-",
                                     "3.14159",
                                     "292.000031",
                                     "-0.0980171412",
                                     "123456789e-30",
                                     "1234567890123456789e3"};
  // Numbers as the writers of STL files print them.
  std::mt19937_64 rng(7);
  std::uniform_real_distribution<double> u(-1000.0, 1000.0);
  std::uniform_int_distribution<int> e(-40, 40);
  for (int i = 0; i < 20000; ++i) {
    char b[64];
    const double v = u(rng) * std::pow(10.0, e(rng));
    const char* formats[] = {"%.9g", "%.17g", "%f", "%e", "%.6e", "%.3f", "%.12g"};
    std::snprintf(b, sizeof b, formats[i % 7],
                  i % 2 == 0 ? static_cast<double>(static_cast<float>(v)) : v);
    tokens.push_back(b);
  }
  for (const std::string& t : tokens) {
    EXPECT_EQ(converted(through_view, t), converted(stl_stod, t)) << "token [" << t << "]";
  }
}

}  // namespace
