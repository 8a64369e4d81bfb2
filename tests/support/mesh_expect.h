#pragma once
// The check that mesh tests run after every operation: all invariants of
// the mesh hold, or the test fails with the checker's list of problems.

#include <gtest/gtest.h>

#include "lumesh/mesh/mesh_checker.h"

#define EXPECT_MESH_OK(mesh)                       \
  do {                                             \
    const MESH_CHECK_RESULT r_ = check_mesh(mesh); \
    EXPECT_TRUE(r_.ok()) << r_.text();             \
  } while (false)
