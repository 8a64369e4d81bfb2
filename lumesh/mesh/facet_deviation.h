#pragma once
// How far the area of a planar polygon strays from a cylinder.
//
// A cylinder fitted to a mesh's corners can pass through every corner and
// still leave the facets between them: two rows of corners along a flat wall
// lie on many cylinders, each bulging through the wall between the rows. What
// counts for a recognised face is the facets it replaces, so the deviation is
// measured over their whole area.
//
// Over a planar polygon the distance d(p) from the axis is convex, so its
// largest value lies at a corner, and its smallest on the boundary unless the
// axis pierces the polygon (which no band of a cylinder allows; that case is
// not looked for). The deviation is the larger of the corners' |d - r| and
// r - the least distance of the boundary from the axis. Exact for the
// boundary; O(ring length).

class MESH_POLYGON;
class cylinder;

double polygon_deviation_from_cylinder(const MESH_POLYGON& polygon, const cylinder& c);
