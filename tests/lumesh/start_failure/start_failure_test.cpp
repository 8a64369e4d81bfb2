// A start-up that fails inside a unit: the module is pointed at a place
// without its resource file, so the core unit stops the load. Its own
// program, because a failed start leaves what it did behind, by design.

#include <gtest/gtest.h>

#include "host/lisp/lisp_runtime.h"
#include "host/lisp/packages.h"
#include "host/shell/host_start.h"
#include "lumesh/core/module_entry.h"

TEST(ModuleStartFailure, AnErrorInAUnitStopsTheStartAndLeavesTheCounterAtZero) {
  host_start(0, nullptr);
  set_module_file("/nonexistent/lumesh-test/app/lumesh");
  const std::string error = host_load_module(&init_load_init);
  EXPECT_NE(error.find("The module resource file"), std::string::npos) << error;
  EXPECT_NE(error.find("is missing!"), std::string::npos) << error;
  EXPECT_EQ(lumesh_load_counter(), 0);
  // The package exists (the start got that far), the later units do not.
  EXPECT_FALSE(lisp_null(find_package("LUMESH")));
  EXPECT_TRUE(lisp_null(find_package("LUMESH.DATA-EXCHANGE")));
  // A second call starts again from the beginning and fails the same way.
  EXPECT_NE(host_load_module(&init_load_init).find("is missing!"), std::string::npos);
  EXPECT_EQ(lumesh_load_counter(), 0);
}
