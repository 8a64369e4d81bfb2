// MOD_INFO and TV_EXCEPTION: the fields of a record, its text with and without
// a text resolver, and the exception that carries a record.

#include "host/base/mod_info.h"

#include <gtest/gtest.h>

#include <exception>
#include <string>
#include <type_traits>

namespace {

// Installs a resolver for one test and puts the previous one back at the end.
class RESOLVER_SCOPE {
 public:
  explicit RESOLVER_SCOPE(MOD_INFO_TEXT_RESOLVER r) : previous_(MOD_INFO::set_text_resolver(r)) {}
  ~RESOLVER_SCOPE() { MOD_INFO::set_text_resolver(previous_); }
  RESOLVER_SCOPE(const RESOLVER_SCOPE&) = delete;
  RESOLVER_SCOPE& operator=(const RESOLVER_SCOPE&) = delete;

 private:
  MOD_INFO_TEXT_RESOLVER previous_;  // not owned
};

std::string bracket_key(const MOD_INFO& info) {
  return "[" + info.module() + "/" + std::to_string(info.id()) + " " + info.key() + "]";
}

std::string upper_default(const MOD_INFO& info) {
  std::string s = info.default_text();
  for (char& c : s) {
    if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
  }
  return s;
}

TEST(ModInfo, KeepsItsFields) {
  const MOD_INFO info("k2", 42, ":MSG-CANNOT-OPEN-FILE", "The file cannot be opened.");
  EXPECT_EQ(info.module(), "k2");
  EXPECT_EQ(info.id(), 42);
  EXPECT_EQ(info.key(), ":MSG-CANNOT-OPEN-FILE");
  EXPECT_EQ(info.default_text(), "The file cannot be opened.");
}

TEST(ModInfo, MessageWithoutResolverIsTheDefaultText) {
  RESOLVER_SCOPE none(nullptr);
  const MOD_INFO info("k2", 1, ":MSG-A", "default text a");
  EXPECT_EQ(info.message(), "default text a");
  const MOD_INFO empty("k2", 2, ":MSG-B", "");
  EXPECT_EQ(empty.message(), "");
}

TEST(ModInfo, MessageGoesThroughTheInstalledResolver) {
  const MOD_INFO info("lumesh", 7, ":MSG-NO-MESH", "no mesh");
  {
    RESOLVER_SCOPE scope(&bracket_key);
    EXPECT_EQ(info.message(), "[lumesh/7 :MSG-NO-MESH]");
    // The default text itself is unchanged.
    EXPECT_EQ(info.default_text(), "no mesh");
  }
  RESOLVER_SCOPE none(nullptr);
  EXPECT_EQ(info.message(), "no mesh");
}

TEST(ModInfo, SetTextResolverReturnsThePreviousOne) {
  const MOD_INFO_TEXT_RESOLVER original = MOD_INFO::set_text_resolver(&bracket_key);
  EXPECT_EQ(MOD_INFO::set_text_resolver(&upper_default), &bracket_key);
  const MOD_INFO info("k2", 3, ":MSG-C", "shout");
  EXPECT_EQ(info.message(), "SHOUT");
  EXPECT_EQ(MOD_INFO::set_text_resolver(nullptr), &upper_default);
  EXPECT_EQ(info.message(), "shout");
  EXPECT_EQ(MOD_INFO::set_text_resolver(original), nullptr);
}

TEST(TvException, ThrowErrorCarriesTheSameRecord) {
  RESOLVER_SCOPE none(nullptr);
  MOD_INFO info("k2", 9, ":MSG-BAD-FACE", "bad face");
  try {
    info.throw_error();
    FAIL() << "throw_error returned";
  } catch (const TV_EXCEPTION& e) {
    EXPECT_EQ(e.info(), &info);
    EXPECT_STREQ(e.what(), "bad face");
  }
}

TEST(TvException, WhatIsTheResolvedMessage) {
  RESOLVER_SCOPE scope(&bracket_key);
  MOD_INFO info("k2", 10, ":MSG-X", "x");
  try {
    info.throw_error();
    FAIL() << "throw_error returned";
  } catch (const TV_EXCEPTION& e) {
    EXPECT_EQ(std::string(e.what()), info.message());
    EXPECT_STREQ(e.what(), "[k2/10 :MSG-X]");
  }
}

TEST(TvException, IsAThrowableAndAStdException) {
  static_assert(std::is_base_of_v<THROWABLE, TV_EXCEPTION>);
  static_assert(std::is_base_of_v<std::exception, THROWABLE>);
  RESOLVER_SCOPE none(nullptr);
  MOD_INFO info("k2", 11, ":MSG-Y", "why");
  try {
    info.throw_error();
  } catch (const THROWABLE& t) {
    EXPECT_STREQ(t.what(), "why");
    const auto* tv = dynamic_cast<const TV_EXCEPTION*>(&t);
    ASSERT_NE(tv, nullptr);
    EXPECT_EQ(tv->info(), &info);
  }
  bool caught = false;
  try {
    info.throw_error();
  } catch (const std::exception& e) {
    caught = true;
    EXPECT_STREQ(e.what(), "why");
  }
  EXPECT_TRUE(caught);
}

TEST(TvException, NullRecordGivesUnknownError) {
  const TV_EXCEPTION e(nullptr);
  EXPECT_EQ(e.info(), nullptr);
  EXPECT_STREQ(e.what(), "unknown error");
  // Also when a resolver is installed: there is nothing to resolve.
  RESOLVER_SCOPE scope(&bracket_key);
  const TV_EXCEPTION f(nullptr);
  EXPECT_STREQ(f.what(), "unknown error");
}

TEST(TvException, ConstructedDirectlyFromARecord) {
  RESOLVER_SCOPE none(nullptr);
  MOD_INFO info("k2", 12, ":MSG-Z", "zed");
  const TV_EXCEPTION e(&info);
  EXPECT_EQ(e.info(), &info);
  EXPECT_STREQ(e.what(), "zed");
}

// A record whose key and text come from elsewhere, as a module's descriptor.
class CURRENT_ERROR_INFO : public MOD_INFO {
 public:
  CURRENT_ERROR_INFO() : MOD_INFO("lumesh", 0, ":MSG-NONE", "no error") {}
  std::string key() const override { return current_key; }
  std::string message() const override { return "current: " + current_key; }
  std::string current_key = ":MSG-TRUNCATED";
};

TEST(TvException, UsesTheMessageOfADerivedRecord) {
  RESOLVER_SCOPE none(nullptr);
  CURRENT_ERROR_INFO info;
  MOD_INFO& base = info;
  EXPECT_EQ(base.key(), ":MSG-TRUNCATED");
  EXPECT_EQ(base.message(), "current: :MSG-TRUNCATED");
  try {
    base.throw_error();
    FAIL() << "throw_error returned";
  } catch (const TV_EXCEPTION& e) {
    EXPECT_EQ(e.info(), &base);
    EXPECT_STREQ(e.what(), "current: :MSG-TRUNCATED");
  }
}

TEST(TvException, ResolverSeesTheDerivedKey) {
  RESOLVER_SCOPE scope(&bracket_key);
  CURRENT_ERROR_INFO info;
  info.current_key = ":MSG-OTHER";
  // The derived message() takes precedence over the resolver...
  EXPECT_EQ(info.message(), "current: :MSG-OTHER");
  // ...and the base message() hands the derived key to the resolver.
  EXPECT_EQ(info.MOD_INFO::message(), "[lumesh/0 :MSG-OTHER]");
}

}  // namespace
