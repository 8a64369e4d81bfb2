#include "host/exchange/step_model.h"

#include <utility>

#include "host/base/assertion.h"
#include "host/kernel/topology/body.h"

STEP_MODEL::~STEP_MODEL() { lose_bodies(); }

STEP_MODEL::STEP_MODEL(STEP_MODEL&& other) noexcept
    : nodes_(std::move(other.nodes_)), roots_(std::move(other.roots_)), owns_bodies_(other.owns_bodies_) {
  other.nodes_.clear();
  other.roots_.clear();
}

STEP_MODEL& STEP_MODEL::operator=(STEP_MODEL&& other) noexcept {
  if (this != &other) {
    lose_bodies();
    nodes_ = std::move(other.nodes_);
    roots_ = std::move(other.roots_);
    owns_bodies_ = other.owns_bodies_;
    other.nodes_.clear();
    other.roots_.clear();
  }
  return *this;
}

int STEP_MODEL::add_node(STEP_NODE node) {
  for (const STEP_COMPONENT& c : node.components) {
    HOST_ASSERT(c.node >= 0 && static_cast<std::size_t>(c.node) < nodes_.size(),
                "a component refers to a node that does not precede it");
  }
  nodes_.push_back(std::move(node));
  return static_cast<int>(nodes_.size()) - 1;
}

void STEP_MODEL::add_root(STEP_COMPONENT root) {
  HOST_ASSERT(root.node >= 0 && static_cast<std::size_t>(root.node) < nodes_.size(),
              "a root refers to a missing node");
  roots_.push_back(std::move(root));
}

void STEP_MODEL::lose_bodies() {
  if (!owns_bodies_) return;
  for (STEP_NODE& n : nodes_) {
    if (n.body != nullptr) n.body->lose();
    n.body = nullptr;
  }
}
