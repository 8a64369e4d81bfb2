#pragma once
// The input lists of box trees over a body: one record per face
// (FACE_BOXES) or per facet of a mesh body (FACET_BOXES), in the order of the
// body's face scan. The list's superbox is the body's bound; the records are
// appended without a centre sum, so the root of a tree built from the list
// splits at the origin of the body's frame (the octants cover all space, so
// only the balance of the first level depends on that).
//
// The faces must outlive every tree made from the list, and the body must not
// change while a tree is used: the records hold plain pointers and boxes taken
// when the list was made.

#include "host/kernel/scan.h"
#include "lumesh/geo/boxed_object.h"
#include "lumesh/geo/object_boxes.h"

class BODY;
class FACE;

class FACE_BOXES : public OBJECT_BOXES<BOXED_FACE> {
 public:
  // Every face of the body. A null body gives an empty list (and a report
  // through the host's assertion service).
  explicit FACE_BOXES(BODY* body);

 private:
  static SCAN_CNTRL face_box_collector(FACE* face, void* data);
};

class FACET_BOXES : public OBJECT_BOXES<BOXED_FACET> {
 public:
  // Every face of the mesh body, each a facet.
  explicit FACET_BOXES(BODY* body);

 private:
  static SCAN_CNTRL facet_box_collector(FACE* face, void* data);
};
