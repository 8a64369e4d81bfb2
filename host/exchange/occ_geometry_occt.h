#pragma once
// The modelling library's side of occ_surface and occ_curve, for the exchange
// layer's own .cpp files (and its tests) only: it includes OpenCASCADE.

#include <Geom_Curve.hxx>
#include <Geom_Surface.hxx>
#include <gp_Trsf.hxx>

#include "host/exchange/occ_geometry.h"
#include "host/kernel/kernel_errors.h"

struct occ_surface::IMPL {
  Handle(Geom_Surface) s;
};

struct occ_curve::IMPL {
  Handle(Geom_Curve) c;
  double first = 0.0, last = 0.0;  // the edge's range on c
};

// A new occ_surface on s, without references. Throws TV_EXCEPTION
// (BAD_SURFACE) for a null s.
occ_surface* make_occ_surface(const Handle(Geom_Surface)& s);
// A new occ_curve on c over [first, last], without references. Throws
// TV_EXCEPTION (BAD_CURVE) for a null c.
occ_curve* make_occ_curve(const Handle(Geom_Curve)& c, double first, double last);

// The kind of an OpenCASCADE surface, looking through a rectangular trim to
// the surface beneath; an offset or swept surface is OTHER.
OCC_SURFACE_KIND occ_kind_of(const Handle(Geom_Surface)& s);

// The map as an OpenCASCADE transformation. Throws TV_EXCEPTION (err) unless
// it is a similarity (possibly reflecting).
gp_Trsf occ_trsf(const TRANSFORM3& t, K2_ERROR err);
