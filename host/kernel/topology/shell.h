#pragma once
// SHELL and SUBSHELL. A shell holds faces and subshells; a subshell is a shell
// inside another (a group of faces such as a facet set). A face belongs to
// exactly one shell or subshell. Faces of a shell are kept in an intrusive
// list in insertion order, so adding and unlinking are O(1).

#include <vector>

#include "host/base/pool.h"
#include "host/kernel/history/historic_entity.h"
#include "host/kernel/scan.h"
#include "host/kernel/topology/topology_fwd.h"

struct SHELL_DATA {
  FACE* first_face = nullptr;     // owned list
  FACE* last_face = nullptr;
  int face_count = 0;
  SUBSHELL* first_sub = nullptr;  // owned list
  SUBSHELL* next_sub = nullptr;   // not owned; next sibling under the same parent
  SHELL* parent = nullptr;        // not owned; for a subshell
  BODY* body = nullptr;           // not owned; for a shell of a body
  int shell_type = 0;
};

class SHELL : public TRACKED<SHELL_DATA>, public POOLED<SHELL> {
 public:
  static const ENTITY_TYPE type;
  const ENTITY_TYPE& identity() const override { return type; }

  SHELL();

  int shell_type() const { return d().shell_type; }
  void set_shell_type(int t) { w().shell_type = t; }

  FACE* first_face() const { return d().first_face; }
  FACE* last_face() const { return d().last_face; }
  int number_of_faces() const { return d().face_count; }
  // Faces of this shell and of all its subshells. O(number of subshells).
  int number_of_all_faces() const;
  SUBSHELL* first_subshell() const { return d().first_sub; }
  SUBSHELL* next_subshell() const { return d().next_sub; }
  SHELL* parent() const { return d().parent; }
  // The body that holds the shell, through its parents; null when it is in none.
  BODY* body() const;
  bool is_empty() const { return d().first_face == nullptr && d().first_sub == nullptr; }

  // Appends the face; a face that sits in another shell leaves it first.
  void add_face(FACE* f);
  // Takes the face out of this shell; it then lies in no shell. False if the
  // face is not in this shell.
  bool unlink_face(FACE* f);
  // Attaches a subshell below this shell, taking it from where it was.
  void add_subshell(SUBSHELL* s);

  // All faces, own ones first then each subshell's, depth first.
  SCAN_CNTRL scan_faces(SCAN_CNTRL (*fn)(FACE*, void*), void* data) const;
  // The faces of scan_faces, in its order, for code that walks them more
  // than once or by index. O(faces).
  std::vector<const FACE*> faces() const;
  // The start vertex of every coedge of every face (vertices can repeat).
  SCAN_CNTRL scan_vertices(SCAN_CNTRL (*fn)(VERTEX*, void*), void* data) const;

  // Destroys the shell if it has no face and no subshell; true if it did.
  bool destroy_if_empty();
  // Destroys the shell with its faces and subshells.
  void lose();

 protected:
  friend class TOPOLOGY;
  ~SHELL() override = default;
};

class SUBSHELL final : public SHELL {
 public:
  static const ENTITY_TYPE type;
  const ENTITY_TYPE& identity() const override { return type; }
  SUBSHELL() = default;

  // Takes the subshell, with its faces and subshells, out of its parent; it
  // then hangs nowhere and belongs to the caller, who attaches it again
  // (SHELL::add_subshell) or loses it. False, and nothing done, when it has
  // no parent. O(siblings before it).
  bool detach();

 private:
  friend class TOPOLOGY;
  ~SUBSHELL() override = default;
};
