#pragma once
// Reading a STEP file back as a summary of its shape, so that an export can be
// checked without the caller seeing any OCCT type: the test of an export is
// that another reader takes it for what was written.

#include <string>

struct STEP_SHAPE_SUMMARY {
  bool valid = false;  // OCCT's shape checker finds no fault
  int solids = 0;
  int shells = 0;       // all shells, those inside solids too
  int free_shells = 0;  // shells that are not in a solid
  int faces = 0;
  int planar_faces = 0;
  int cylindrical_faces = 0;
  int conical_faces = 0;
  int spherical_faces = 0;
  int toroidal_faces = 0;
  int bspline_faces = 0;  // B-spline and Bézier surfaces
  int edges = 0;           // all edges but degenerate ones
  int circular_edges = 0;  // edges on a circle
  int elliptic_edges = 0;  // edges on an ellipse
  int straight_edges = 0;  // edges on a line
  double volume = 0.0;     // of the solids, in the file's length unit cubed
  bool closed = false;     // every shell is closed (no free edges)
  // The box of all shapes, placements applied; min > max when there is none.
  double min[3] = {0.0, 0.0, 0.0};
  double max[3] = {-1.0, -1.0, -1.0};
};

// Reads the file with OCCT's STEP reader and summarises the shape of all its
// roots. Throws TV_EXCEPTION (UNREADABLE_FILE) for a missing, empty or
// corrupt file and for one without any shape.
STEP_SHAPE_SUMMARY check_step_file(const std::string& path);
