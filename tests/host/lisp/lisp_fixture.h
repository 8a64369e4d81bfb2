#pragma once
// Lisp tests share one host per test program; starting it is idempotent.
// The module is not loaded here.

#include <gtest/gtest.h>

#include "host/lisp/lisp_runtime.h"
#include "host/shell/host_start.h"

class LispTest : public ::testing::Test {
 protected:
  static void SetUpTestSuite() { host_start(0, nullptr); }
  // Evaluates text and returns the PRIN1 of its value, or "ERROR: <report>".
  static std::string eval(const std::string& text, const char* package = "COMMON-LISP-USER") {
    LISP_OUTCOME o = lisp_eval_string(text, package);
    return o.ok ? lisp_prin1(o.value) : "ERROR: " + o.error;
  }
};
