#pragma once
// Shared pieces of the exchange tests: a scratch folder per test, bodies of
// known shape, and the body's own measures to compare a read-back file with.

#include <dirent.h>
#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cmath>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "host/kernel/geometry/cylinder.h"
#include "host/kernel/geometry/plane.h"
#include "host/kernel/ops/polyhedron_builder.h"
#include "host/kernel/topology/body.h"
#include "host/kernel/topology/face.h"
#include "support/tessellated_volume.h"
#include "tests/host/kernel/kernel_fixture.h"

struct BODY_MEASURES {
  int faces = 0, planes = 0, cylinders = 0;
  double volume = 0.0;
};

inline BODY_MEASURES measure(const BODY* body) {
  BODY_MEASURES m;
  body->scan_faces(
      [](FACE* f, void* data) {
        auto* mm = static_cast<BODY_MEASURES*>(data);
        ++mm->faces;
        if (f->geometry()->is_a(plane::type)) ++mm->planes;
        if (f->geometry()->is_a(cylinder::type)) ++mm->cylinders;
        mm->volume += tessellated_volume(f).value_or(std::nan(""));
        return SCAN_CONTINUE;
      },
      &m);
  return m;
}

// The box [0,sx] x [0,sy] x [0,sz]; without the top face when `open`, and
// then marked as a face part.
inline BODY* make_box(double sx, double sy, double sz, bool open = false) {
  POLYHEDRON_BUILDER b;
  int v[8];
  for (int i = 0; i < 8; ++i) {
    v[i] = b.add_vertex(POSITION3(i & 1 ? sx : 0, i & 2 ? sy : 0, i & 4 ? sz : 0));
  }
  const int quads[6][4] = {{0, 2, 3, 1}, {0, 1, 5, 4}, {2, 6, 7, 3},
                           {0, 4, 6, 2}, {1, 3, 7, 5}, {4, 5, 7, 6}};
  MOD_INFO* status = nullptr;
  for (int q = 0; q < (open ? 5 : 6); ++q) {
    b.add_face({v[quads[q][0]], v[quads[q][1]], v[quads[q][2]], v[quads[q][3]]}, status);
  }
  BODY* body = b.finish(1e-6);
  if (open) body->add_attribute(std::make_shared<FACE_PART_ATT>());
  return body;
}

// A round post of radius r around the z axis, `segments` chords a circle,
// standing on z = 0 and cut at the top by the oblique plane z = h + slope x:
// its top edge is an ellipse. The wall lies on a cylinder of radius
// `wall_radius`, or r when that is not positive.
inline BODY* make_slanted_post(double r, double h, double slope, int segments,
                               double wall_radius = 0.0) {
  POLYHEDRON_BUILDER b;
  std::vector<int> bottom, top, ring;
  for (int i = 0; i < segments; ++i) {
    const double a = 2.0 * M_PI * i / segments;
    const double x = r * std::cos(a), y = r * std::sin(a);
    bottom.push_back(b.add_vertex(POSITION3(x, y, 0)));
    top.push_back(b.add_vertex(POSITION3(x, y, h + slope * x)));
  }
  MOD_INFO* status = nullptr;
  b.add_face(top, status);
  ring.assign(bottom.rbegin(), bottom.rend());
  b.add_face(ring, status);
  // Outward from the axis, as the cylinder's normal: bottom forwards, up the
  // seam, top backwards, down the seam.
  ring = bottom;
  ring.push_back(bottom[0]);
  ring.push_back(top[0]);
  for (int i = segments - 1; i >= 1; --i) ring.push_back(top[static_cast<std::size_t>(i)]);
  ring.push_back(top[0]);
  const double wall = wall_radius > 0 ? wall_radius : r;
  b.add_face(ring, new cylinder(POSITION3(0, 0, 0), UNITVEC3(0, 0, 1), wall), false, status);
  return b.finish(1e-6);
}

// The block [0,s]² x [0,h] with its vertical edge at (s, s) rounded to radius
// r by `segments` chords: the round is a quarter of a cylinder between the
// two side planes, and its rims are arcs of the top's and bottom's circles.
// The cylinder's parameters start at `seam_angle` round its axis from x.
inline BODY* make_rounded_block(double s, double h, double r, int segments,
                                double seam_angle = 0.0) {
  POLYHEDRON_BUILDER b;
  std::vector<POSITION3> profile{POSITION3(0, 0, 0), POSITION3(s, 0, 0)};
  for (int i = 0; i <= segments; ++i) {
    const double a = 0.5 * M_PI * i / segments;
    profile.emplace_back(s - r + r * std::cos(a), s - r + r * std::sin(a), 0);
  }
  profile.emplace_back(0, s, 0);
  const int n = static_cast<int>(profile.size());
  std::vector<int> bottom, top, ring;
  for (const POSITION3& p : profile) {
    bottom.push_back(b.add_vertex(p));
    top.push_back(b.add_vertex(POSITION3(p.x(), p.y(), h)));
  }
  MOD_INFO* status = nullptr;
  b.add_face(top, status);
  ring.assign(bottom.rbegin(), bottom.rend());
  b.add_face(ring, status);
  auto at = [&](const std::vector<int>& v, int i) { return v[static_cast<std::size_t>(i % n)]; };
  // Planar sides, except between the round's first and last profile points.
  for (int i = 0; i < n; ++i) {
    if (i >= 2 && i < 2 + segments) continue;
    b.add_face({at(bottom, i), at(bottom, i + 1), at(top, i + 1), at(top, i)}, status);
  }
  ring.clear();
  for (int i = 2; i <= 2 + segments; ++i) ring.push_back(at(bottom, i));
  for (int i = 2 + segments; i >= 2; --i) ring.push_back(at(top, i));
  b.add_face(ring,
             new cylinder(POSITION3(s - r, s - r, 0), UNITVEC3(0, 0, 1), r,
                          VECTOR3(std::cos(seam_angle), std::sin(seam_angle), 0)),
             false, status);
  return b.finish(1e-6);
}

class ExchangeTest : public KernelTest {
 protected:
  void SetUp() override {
    KernelTest::SetUp();
    std::string pattern = ::testing::TempDir() + "/lumesh-step-XXXXXX";
    ASSERT_NE(::mkdtemp(pattern.data()), nullptr);
    dir_ = pattern;
  }
  void TearDown() override {
    for (const std::string& name : files()) std::remove((dir_ + "/" + name).c_str());
    ::rmdir(dir_.c_str());
    KernelTest::TearDown();
  }
  std::string path(const std::string& name) const { return dir_ + "/" + name; }
  // The whole content of a file of the scratch folder; empty when unreadable.
  std::string text_of(const std::string& name) const {
    std::ifstream in(path(name), std::ios::binary);
    std::stringstream buffer;
    buffer << in.rdbuf();
    return buffer.str();
  }
  // Names in the scratch folder, temporary files included.
  std::vector<std::string> files() const {
    std::vector<std::string> out;
    if (DIR* d = ::opendir(dir_.c_str())) {
      while (const dirent* e = ::readdir(d)) {
        const std::string n = e->d_name;
        if (n != "." && n != "..") out.push_back(n);
      }
      ::closedir(d);
    }
    return out;
  }

  std::string dir_;
};
