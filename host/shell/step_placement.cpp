#include "host/shell/step_placement.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "host/kernel/history/history.h"
#include "host/model/model_errors.h"
#include "host/model/model_tree.h"
#include "host/model/parcel_names.h"
#include "host/model/part_data.h"

namespace {

void check(MOD_INFO* status) {
  if (status != nullptr) throw TV_EXCEPTION(status);
}

double unit(double c) { return std::isfinite(c) ? std::clamp(c, 0.0, 1.0) : 0.0; }

// Builds the contents bottom-up: every node gets one instance when its
// contents are made; the first component that shows the node takes that
// instance, every later one a new instance of the same contents.
class PLACEMENT {
 public:
  explicit PLACEMENT(const STEP_MODEL& model) : model_(model), made_(model.nodes().size(), nullptr),
                                                taken_(model.nodes().size(), false) {}

  NPARCEL* run(NPARCEL* parent, const std::string& top_name) {
    const std::vector<STEP_NODE>& nodes = model_.nodes();
    for (std::size_t i = 0; i < nodes.size(); ++i) made_[i] = make(nodes[i]);
    NPARCEL* top = nullptr;
    const std::vector<STEP_COMPONENT>& roots = model_.roots();
    if (roots.size() == 1) {
      std::string name = roots[0].name.empty() ? top_name : roots[0].name;
      top = instance(roots[0].node, name);
    } else {
      top = create_nasmb3(top_name);
      for (const STEP_COMPONENT& r : roots) check(insert_child(top, instance(r.node, r.name)));
    }
    // A node that nothing shows (none should be) must not outlive the import.
    for (std::size_t i = 0; i < made_.size(); ++i) {
      if (!taken_[i]) check(destroy_parcel(made_[i]));
    }
    check(insert_child(parent != nullptr ? parent : root_parcel(), top));
    return top;
  }

 private:
  NPARCEL* make(const STEP_NODE& n) {
    if (!n.assembly) {
      NPARCEL* part = create_npart3(n.name);
      if (n.body != nullptr) check(add_body_to_part(part, n.body));
      if (n.has_color) check(set_part_color(part, unit(n.r), unit(n.g), unit(n.b)));
      return part;
    }
    NPARCEL* asmb = create_nasmb3(n.name);
    for (const STEP_COMPONENT& c : n.components) {
      NPARCEL* child = instance(c.node, c.name);
      check(set_tm(child, c.placement));
      check(insert_child(asmb, child));
    }
    return asmb;
  }

  // An instance of the node's contents named `name`, or after the product.
  NPARCEL* instance(int node, const std::string& name) {
    const auto i = static_cast<std::size_t>(node);
    const std::string& wanted = name.empty() ? model_.nodes()[i].name : name;
    if (!taken_[i]) {
      taken_[i] = true;
      if (!wanted.empty()) check(assign_name(made_[i], wanted));
      return made_[i];
    }
    NPARCEL* p = create_instance(made_[i], wanted);
    if (p == nullptr) throw TV_EXCEPTION(model_error(MODEL_ERROR::NULL_ARGUMENT));
    return p;
  }

  const STEP_MODEL& model_;
  std::vector<NPARCEL*> made_;  // not owned: the first instance of each node's contents
  std::vector<bool> taken_;     // whether that instance sits in a component yet
};

}  // namespace

NPARCEL* place_step_model(STEP_MODEL& model, NPARCEL* parent, const std::string& top_name) {
  HISTORY& history = HISTORY::instance();
  const HISTORY::STATE_ID before = history.current_state();
  NPARCEL* top = nullptr;
  try {
    top = PLACEMENT(model).run(parent, top_name);
  } catch (...) {
    // The partial import goes, with its parcels; the bodies are free again
    // and stay with the model.
    history.recover_state(before);
    history.rm_future();
    throw;
  }
  model.release_bodies();
  return top;
}
