#pragma once
// The elements of a box tree: the abstract element with its superbox, and the
// plain list of boxed objects that is both the input of a tree and its leaf.
//
// A list keeps its objects in one array with a read position: appending is
// amortised O(1) without an allocation per object, `pop` is O(1), and the
// array is freed as soon as the list runs empty. Objects come out in arrival
// order.

#include <cstddef>
#include <cstdint>
#include <functional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "host/base/assertion.h"
#include "host/geometry/box3.h"
#include "host/geometry/position3.h"
#include "host/geometry/vector3.h"

template <class T>
class BOXTREE_NODE;

template <class T>
class BOXTREE_NODE_BASE {
 public:
  // The client's callback; taken by value at every element it passes.
  using FUNCTION = std::function<void(T&)>;

  BOXTREE_NODE_BASE(const BOXTREE_NODE_BASE&) = delete;
  BOXTREE_NODE_BASE& operator=(const BOXTREE_NODE_BASE&) = delete;
  virtual ~BOXTREE_NODE_BASE() = default;

  // A box holding the boxes of every object below this element (it may be
  // larger: the root's is the body's bound).
  const BOX3& get_superbox() const { return superbox_; }
  // A list of objects (OBJECT_BOXES) rather than an inner node (BOXTREE_NODE).
  bool is_leaf() const { return leaf_; }

  // Calls fn once for each stored object whose own box meets `box` (touching
  // counts); a nil box meets nothing. The order is not part of the contract.
  virtual void collisions(const BOX3& box, FUNCTION fn) = 0;
  // Calls fn once for each stored object.
  virtual void for_each(FUNCTION fn) = 0;

 protected:
  explicit BOXTREE_NODE_BASE(bool leaf) : leaf_(leaf) {}  // nil superbox
  BOXTREE_NODE_BASE(const BOX3& superbox, bool leaf) : superbox_(superbox), leaf_(leaf) {}

  BOX3 superbox_;

 private:
  bool leaf_;
};

template <class T>
class OBJECT_BOXES : public BOXTREE_NODE_BASE<T> {
 public:
  using typename BOXTREE_NODE_BASE<T>::FUNCTION;

  // An empty list: nil superbox, zero centre sum.
  OBJECT_BOXES() : BOXTREE_NODE_BASE<T>(true) {}

  // Appends the object, unites its box into the superbox and adds the box's
  // centre to the centre sum.
  void add_boxed_entity(const T& object) {
    objects_.push_back(object);
    const BOX3& b = objects_.back().get_box();
    this->superbox_ |= b;
    const POSITION3 c = b.center();
    center_sum_ += VECTOR3(c.x(), c.y(), c.z());
  }

  // The first object. The list must not be empty.
  T& peek() {
    require_object("peek");
    return objects_[head_];
  }
  const T& peek() const {
    require_object("peek");
    return objects_[head_];
  }
  // Drops the first object; superbox and centre sum stay as they are. Frees
  // the list's storage when the last object goes.
  void pop() {
    if (empty()) {
      HOST_ASSERT(!empty(), "pop on an empty box list");
      return;
    }
    if (++head_ == objects_.size()) release_objects();
  }
  bool empty() const { return head_ == objects_.size(); }
  std::size_t get_size() const { return objects_.size() - head_; }
  // The centre sum divided by the count: the mean of the objects' box centres
  // when every object came through add_boxed_entity. NaN for an empty list.
  POSITION3 get_center_of_gravity() const {
    const double n = static_cast<double>(static_cast<std::uint64_t>(get_size()));
    return POSITION3(center_sum_ / n);
  }

  // Tests each object's own box, in list order.
  void collisions(const BOX3& box, FUNCTION fn) override {
    for (std::size_t i = head_; i < objects_.size(); ++i) {
      if (objects_[i].get_box().overlaps(box)) fn(objects_[i]);
    }
  }
  void for_each(FUNCTION fn) override {
    for (std::size_t i = head_; i < objects_.size(); ++i) fn(objects_[i]);
  }

 protected:
  // A list whose superbox is given, not grown from its objects.
  explicit OBJECT_BOXES(const BOX3& superbox) : BOXTREE_NODE_BASE<T>(superbox, true) {}

  // Appends without touching superbox or centre sum.
  void add_boxed_object_direct(const T& object) { objects_.push_back(object); }
  void reserve(std::size_t n) { objects_.reserve(head_ + n); }

 private:
  friend class BOXTREE_NODE<T>;

  void require_object(const char* what) const {
    if (!empty()) return;
    HOST_ASSERT(!empty(), "first object of an empty box list");
    throw std::logic_error(std::string(what) + " on an empty box list");
  }
  // Drops every object and frees their storage.
  void release_objects() {
    std::vector<T>().swap(objects_);
    head_ = 0;
  }

  std::vector<T> objects_;  // objects_[head_..] are the list; the rest were popped
  std::size_t head_ = 0;
  VECTOR3 center_sum_;
};
