#pragma once
// Checks the structural invariants of a body and says what is wrong:
//   - every entity reached is live;
//   - shells: face lists are consistent (links both ways, count), faces point
//     back at their shell, subshells at their parent, shells at the body;
//   - loops: rings close, next and previous agree, each coedge's end is the
//     next one's start, coedges point back at their loop, loops at their face;
//   - edges: the partner ring closes and holds exactly the coedges on that
//     edge, the edge points into it, both ends list the edge.
// O(size of the body). Used by the tests after every operation.

#include <string>
#include <vector>

#include "host/kernel/topology/topology_fwd.h"

struct BODY_CHECK {
  std::vector<std::string> problems;
  int faces = 0, loops = 0, coedges = 0, edges = 0, vertices = 0;
  int open_edges = 0;      // edges with one coedge
  int nonmanifold_edges = 0;  // edges with three or more coedges
  bool ok() const { return problems.empty(); }
  // V - E + F, which is 2 for a closed body of genus 0 whose faces are discs.
  int euler() const { return vertices - edges + faces; }
};

BODY_CHECK check_body(const BODY* body);
