#pragma once
// Forward declarations of the topology classes and the one class allowed to
// relink them. Topology entities are owned top-down: a BODY owns its shells, a
// SHELL its faces and subshells, a FACE its loops, a LOOP its coedges. An EDGE
// lives while coedges use it and a VERTEX while edges end at it.

class BODY;
class SHELL;
class SUBSHELL;
class FACE;
class LOOP;
class COEDGE;
class EDGE;
class VERTEX;

// Edits that touch several entities at once (linking, unlinking, cascading
// destruction) live in TOPOLOGY, which every topology class befriends; each
// class keeps its own invariants for edits of itself.
class TOPOLOGY;

enum LOOP_TYPE {
  LOOP_UNKNOWN = 0,
  LOOP_INNER = 1,       // bounds a hole
  LOOP_OUTER = 2,       // the periphery of the face
  LOOP_SEPARATION = 3,  // runs once around a periodic surface
};
