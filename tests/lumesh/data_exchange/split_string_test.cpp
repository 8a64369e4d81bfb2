// Word splitting of text STL lines: the counts the text reader relies on.

#include "lumesh/data_exchange/split_string.h"

#include <gtest/gtest.h>

#include <string>

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

}  // namespace
