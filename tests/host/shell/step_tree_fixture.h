#pragma once
// Shared pieces of the tests of STEP import into the model tree: the model
// fixture's checks (the tree empty before and after each test, no entity
// left behind) plus a scratch folder per test, no host assertion, and boxes
// in the world frame.

#include <dirent.h>
#include <gtest/gtest.h>
#include <stdlib.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <string>

#include "host/base/assertion.h"
#include "host/geometry/box3.h"
#include "host/kernel/entity/entity.h"
#include "host/kernel/history/history.h"
#include "host/kernel/topology/body.h"
#include "host/model/model_tree.h"
#include "host/model/parcel_path.h"
#include "host/model/part_data.h"
#include "tests/host/model/model_fixture.h"
#include "tests/support/xcaf_files.h"

class STEP_TREE_TEST : public ModelTest {
 protected:
  void SetUp() override {
    ModelTest::SetUp();
    std::string pattern = ::testing::TempDir() + "/lumesh-step-tree-XXXXXX";
    ASSERT_NE(::mkdtemp(pattern.data()), nullptr);
    dir_ = pattern;
  }
  void TearDown() override {
    if (DIR* d = ::opendir(dir_.c_str())) {
      while (const dirent* e = ::readdir(d)) {
        const std::string n = e->d_name;
        if (n != "." && n != "..") std::remove(path(n).c_str());
      }
      ::closedir(d);
    }
    ::rmdir(dir_.c_str());
    EXPECT_EQ(assertions(), 0u) << "a host assertion failed";
    ModelTest::TearDown();
  }
  std::string path(const std::string& name) const { return dir_ + "/" + name; }

  // The box of the part's body where the part's place in the tree puts it.
  static BOX3 world_box(const NPARCEL* part) {
    const BODY* body = get_part_body(part);
    if (body == nullptr) return BOX3();
    const BOX3 b = body->bound();
    const TRANSFORM3 to_world = body->transform() * path_of(part).tm();
    BOX3 out;
    for (int i = 0; i < 8; ++i) {
      const POSITION3 corner(i & 1 ? b.upper().x() : b.lower().x(), i & 2 ? b.upper().y() : b.lower().y(),
                             i & 4 ? b.upper().z() : b.lower().z());
      out |= corner * to_world;
    }
    return out;
  }
  static void expect_near(const POSITION3& a, const POSITION3& b, double tol = 1e-6) {
    EXPECT_NEAR((a - b).len(), 0.0, tol) << "(" << a.x() << ", " << a.y() << ", " << a.z() << ") vs ("
                                         << b.x() << ", " << b.y() << ", " << b.z() << ")";
  }
  static void expect_box(const BOX3& box, const POSITION3& lower, const POSITION3& upper,
                         double tol = 1e-6) {
    ASSERT_FALSE(box.is_nil());
    expect_near(box.lower(), lower, tol);
    expect_near(box.upper(), upper, tol);
  }

  std::string dir_;
};
