#pragma once
// The product structure of a STEP file as the modeller keeps it: parts, each
// with one body in its own frame, and assemblies of placed instances. A part
// or assembly that the file places several times is described once and
// referred to by every instance that shows it, so the description is a
// directed acyclic graph and never grows with the number of placements of a
// shared definition.
//
// Bodies are made by the same conversion as read_step (step_import.h): exact
// surfaces, shared edges and vertices, millimetres. A part's body is not
// moved; where it sits follows from the placements above it. All of a part's
// solids, shells and faces make its one body.

#include <cstddef>
#include <string>
#include <vector>

#include "host/geometry/transform3.h"
#include "host/kernel/topology/topology_fwd.h"

// One placed instance of a node.
struct STEP_COMPONENT {
  int node = -1;         // index into STEP_MODEL::nodes()
  std::string name;      // UTF-8; empty when the file names the instance not at all
  TRANSFORM3 placement;  // from the node's frame to the frame of the assembly that holds it
};

struct STEP_NODE {
  std::string name;  // the product's name, UTF-8; may be empty
  bool assembly = false;
  // Parts: the body, owned by the model (see STEP_MODEL::release_bodies);
  // null for a part that holds no face (points or curves only).
  BODY* body = nullptr;
  // Parts: the surface colour of the part, components in [0, 1].
  bool has_color = false;
  double r = 0.0, g = 0.0, b = 0.0;
  // Assemblies: the instances they hold, in the file's order.
  std::vector<STEP_COMPONENT> components;
};

// Move-only owner of the description and of its bodies.
class STEP_MODEL {
 public:
  STEP_MODEL() = default;
  ~STEP_MODEL();
  STEP_MODEL(STEP_MODEL&& other) noexcept;
  STEP_MODEL& operator=(STEP_MODEL&& other) noexcept;
  STEP_MODEL(const STEP_MODEL&) = delete;
  STEP_MODEL& operator=(const STEP_MODEL&) = delete;

  // Every node comes after all the nodes its components refer to, so a walk
  // in index order meets the parts and inner assemblies before their users.
  const std::vector<STEP_NODE>& nodes() const { return nodes_; }
  // The file's top-level products, in the file's order, each placed at the
  // identity and named as its node.
  const std::vector<STEP_COMPONENT>& roots() const { return roots_; }

  // Appends a node; its components must refer to earlier nodes. The model
  // owns `node.body` from here on. Returns the node's index.
  int add_node(STEP_NODE node);
  void add_root(STEP_COMPONENT root);

  // Bodies are lost (BODY::lose) with the model unless the caller took them:
  // after this call the model owns none, and the caller answers for each.
  void release_bodies() { owns_bodies_ = false; }

 private:
  void lose_bodies();

  std::vector<STEP_NODE> nodes_;
  std::vector<STEP_COMPONENT> roots_;
  bool owns_bodies_ = true;
};

// Walks beyond these are refused: a product structure nested deeper than
// max_depth is taken for one that contains itself; max_components bounds the
// instances the description holds (not the placements they multiply into).
struct STEP_MODEL_LIMITS {
  int max_depth = 64;
  std::size_t max_components = 1'000'000;
};

// Reads the STEP file at `path` with its product structure, names and part
// colours. A file without assemblies gives one part per top-level product.
// Throws TV_EXCEPTION:
//   UNREADABLE_FILE        a missing, unreadable, empty or corrupt file, or one
//                          whose parts hold no solid, shell or face at all;
//   BAD_PRODUCT_STRUCTURE  assemblies that contain themselves, nest deeper or
//                          hold more instances than `limits` allow.
// Nothing is left behind on failure: every body is planned before the first
// one is made. Cost: OCCT's reading and transfer, then O(faces + edges +
// vertices) of the distinct parts and O(1) per component.
STEP_MODEL read_step_model(const std::string& path, const STEP_MODEL_LIMITS& limits = {});
