// The border between native code and Lisp: native functions are called with
// their arguments, their C++ failures become Lisp conditions of the right kind,
// and no C++ destructor is skipped on the way.

#include <stdexcept>

#include "host/base/mod_info.h"
#include "host/lisp/lisp_error.h"
#include "host/lisp/native_function.h"
#include "host/lisp/objects.h"
#include "host/lisp/packages.h"
#include "lisp_fixture.h"

namespace {

int g_alive = 0;  // objects of WITNESS alive
struct WITNESS {
  WITNESS() { ++g_alive; }
  ~WITNESS() { --g_alive; }
  WITNESS(const WITNESS&) = delete;
  WITNESS& operator=(const WITNESS&) = delete;
};

MOD_INFO g_info("testmod", 4, ":MSG-TEST", "the test module failed");
MOD_INFO g_fallback("testmod", 2, ":MSK-UNKNOWN-ERROR", "something unexpected happened");

LAOBJ* sum(NATIVE_CALL& call) {
  double s = 0;
  for (int i = 0; i < call.narg(); ++i) s += object_to_double(call.arg(i));
  return make_double(s);
}

int deep(int depth) {
  WITNESS w;
  if (depth == 0) g_info.throw_error();
  return depth > 0 ? deep(depth - 1) + 1 : 0;
}

LAOBJ* throws_module(NATIVE_CALL&) {
  WITNESS w;
  deep(10);
  return lisp_nil();
}

LAOBJ* throws_std(NATIVE_CALL&) {
  WITNESS w;
  throw std::out_of_range("index 7 is out of range");
}

LAOBJ* one_keyword(NATIVE_CALL& call) {
  call.check_count(1, 1);
  check_type_keyword(call.arg(0));
  return make_string(symbol_name(call.arg(0)));
}

LAOBJ* with_keys(NATIVE_CALL& call) {
  call.check_count(1, 9);
  call.parse_keys(1, {make_keyword("WIDTH"), make_keyword("HEIGHT")});
  const double w = object_to_double(call.key(make_keyword("WIDTH"), make_double(1)));
  const double h = object_to_double(call.key(make_keyword("HEIGHT"), make_double(1)));
  return make_double(object_to_double(call.arg(0)) * w * h);
}

// Calls back into Lisp from C++ and reports what happened.
LAOBJ* calls_back(NATIVE_CALL& call) {
  WITNESS w;
  LISP_OUTCOME o = lisp_apply(call.arg(0), lisp_nil());
  if (!o.ok) hcl_error("the callback failed: ~A", {make_string(o.error)});
  return o.value;
}

class BorderTest : public LispTest {
 protected:
  static void SetUpTestSuite() {
    LispTest::SetUpTestSuite();
    LAOBJ* pkg = make_package("BORDER-TEST", nullptr);
    make_package_function("NATIVE-SUM", &sum, &pkg, 2);
    make_package_function("THROWS-MODULE", &throws_module, &pkg, 1);
    make_package_function("THROWS-STD", &throws_std, &pkg, 1);
    make_package_function("THROWS-STD-FALLBACK", &throws_std, &pkg, 1, [] { return &g_fallback; });
    make_package_function("ONE-KEYWORD", &one_keyword, &pkg, 1);
    make_package_function("WITH-KEYS", &with_keys, &pkg, 1);
    make_package_function("CALLS-BACK", &calls_back, &pkg, 1);
  }
  static std::string run(const std::string& text) { return eval(text, "BORDER-TEST"); }
};

TEST_F(BorderTest, NativeFunctionsReceiveTheirArguments) {
  EXPECT_EQ(run("(native-sum 1 2 3.5)"), "6.5d0");
  EXPECT_EQ(run("(native-sum)"), "0.0d0");
  EXPECT_EQ(run("(apply #'native-sum (make-list 200 :initial-element 1))"), "200.0d0");
  // Kind 2 exports the symbol, kind 1 does not.
  EXPECT_EQ(run("(nth-value 1 (find-symbol \"NATIVE-SUM\" \"BORDER-TEST\"))"), ":EXTERNAL");
  EXPECT_EQ(run("(nth-value 1 (find-symbol \"THROWS-STD\" \"BORDER-TEST\"))"), ":INTERNAL");
}

TEST_F(BorderTest, WrongTypesAndCountsAreTheHostsErrors) {
  EXPECT_EQ(run("(handler-case (native-sum 1 \"two\") (type-error (c) (type-error-datum c)))"),
            "\"two\"");
  EXPECT_EQ(run("(handler-case (one-keyword 5) (type-error (c) (type-error-expected-type c)))"),
            "KEYWORD");
  EXPECT_EQ(run("(handler-case (one-keyword :a :b) (program-error () :count))"), ":COUNT");
  EXPECT_EQ(run("(one-keyword :hello)"), "\"HELLO\"");
}

TEST_F(BorderTest, KeywordArgumentsAreParsedAndChecked) {
  EXPECT_EQ(run("(with-keys 2 :width 3)"), "6.0d0");
  EXPECT_EQ(run("(with-keys 2 :height 5 :width 3 :width 100)"), "30.0d0");
  EXPECT_EQ(run("(handler-case (with-keys 2 :depth 3) (error () :refused))"), ":REFUSED");
  EXPECT_EQ(run("(handler-case (with-keys 2 :width) (error () :odd))"), ":ODD");
}

TEST_F(BorderTest, ADeepModuleErrorBecomesALispErrorWithItsMessage) {
  g_alive = 0;
  EXPECT_EQ(run("(handler-case (throws-module) (k2:module-error (c) (princ-to-string c)))"),
            "\"the test module failed\"");
  EXPECT_EQ(g_alive, 0);  // every destructor ran
  EXPECT_EQ(run("(handler-case (throws-module) (k2:module-error (c) (k2:module-error-module c)))"),
            "\"testmod\"");
}

TEST_F(BorderTest, ForeignExceptionsBecomeErrorsToo) {
  g_alive = 0;
  EXPECT_EQ(run("(handler-case (throws-std) (error (c) (princ-to-string c)))"),
            "\"index 7 is out of range\"");
  EXPECT_EQ(run("(handler-case (throws-std-fallback) (k2:module-error (c) (princ-to-string c)))"),
            "\"something unexpected happened\"");
  EXPECT_EQ(g_alive, 0);
}

TEST_F(BorderTest, ALispErrorInACallbackSkipsNoDestructor) {
  g_alive = 0;
  EXPECT_EQ(run("(calls-back (lambda () 42))"), "42");
  EXPECT_EQ(run("(handler-case (calls-back (lambda () (error \"inner ~A\" 7))) "
                "(error (c) (princ-to-string c)))"),
            "\"the callback failed: inner 7\"");
  EXPECT_EQ(run("(handler-case (calls-back (lambda () (throws-module))) "
                "(error (c) (princ-to-string c)))"),
            "\"the callback failed: the test module failed\"");
  EXPECT_EQ(g_alive, 0);
}

TEST_F(BorderTest, UnhandledErrorsComeBackAsOutcomes) {
  LISP_OUTCOME o = lisp_eval_string("(car 5)", "COMMON-LISP-USER");
  EXPECT_FALSE(o.ok);
  EXPECT_NE(o.error.find("CONS"), std::string::npos);
  o = lisp_eval_string("(throw 'nowhere 1)", "COMMON-LISP-USER");
  EXPECT_FALSE(o.ok);
  o = lisp_eval_string("(+ 1 ", "COMMON-LISP-USER");
  EXPECT_FALSE(o.ok);  // end of file inside a form
  o = lisp_eval_string("(+ 1 2) (* 2 3)", "COMMON-LISP-USER");
  ASSERT_TRUE(o.ok);
  EXPECT_EQ(lisp_prin1(o.value), "6");
}

}  // namespace
