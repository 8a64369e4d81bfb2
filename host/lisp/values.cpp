#include "host/lisp/values.h"

#include <ecl/ecl.h>

#include <cctype>
#include <map>
#include <string>

#include "host/kernel/entity/entity.h"
#include "host/lisp/lisp_error.h"
#include "host/lisp/objects.h"
#include "host/lisp/lisp_runtime.h"
#include "host/lisp/packages.h"

namespace {

cl_object k2(const char* name) { return ecl_make_symbol(name, "K2"); }

// Calls a constructor or accessor of the host's value structures. These are
// defined by the host itself and signal nothing for the arguments given here.
cl_object call(const char* name, cl_object a) { return cl_funcall(2, k2(name), a); }
bool is(const char* predicate, cl_object x) { return call(predicate, x) != ECL_NIL; }

VECTOR3 three_reals(LAOBJ* x, const char* what) {
  double c[3];
  if (is("GPNT3D-P", x)) {
    c[0] = ecl_to_double(call("GPNT3D-X", x));
    c[1] = ecl_to_double(call("GPNT3D-Y", x));
    c[2] = ecl_to_double(call("GPNT3D-Z", x));
    return VECTOR3(c[0], c[1], c[2]);
  }
  std::vector<LAOBJ*> items;
  if (ECL_LISTP(x)) {
    items = list_elements(x);
  } else if (ECL_VECTORP(x) && !ecl_stringp(x)) {
    const cl_index n = ecl_length(x);
    for (cl_index i = 0; i < n; ++i) items.push_back(ecl_aref1(x, i));
  }
  if (items.size() != 3) hcl_wrong_type(what, x);
  for (int i = 0; i < 3; ++i) {
    if (!ecl_realp(items[static_cast<std::size_t>(i)])) hcl_wrong_type(what, x);
    c[i] = ecl_to_double(items[static_cast<std::size_t>(i)]);
  }
  return VECTOR3(c[0], c[1], c[2]);
}

}  // namespace

POSITION3 object_to_POSITION3(LAOBJ* x) { return POSITION3(three_reals(x, "K2:GPNT3D")); }
VECTOR3 object_to_VECTOR3(LAOBJ* x) { return three_reals(x, "K2:GPNT3D"); }

LAOBJ* make_gpnt3d(const POSITION3& p) {
  return cl_funcall(4, k2("MAKE-GPNT3D"), ecl_make_double_float(p.x()), ecl_make_double_float(p.y()),
                    ecl_make_double_float(p.z()));
}

LAOBJ* make_gpnt3d(const VECTOR3& v) { return make_gpnt3d(POSITION3(v)); }

TRANSFORM3 object_to_transf(LAOBJ* x) {
  if (!is("TRANSFORMATION-P", x)) hcl_wrong_type("K2:TRANSFORMATION", x);
  cl_object e = call("TRANSFORMATION-ELEMENTS", x);
  double rows[3][3];
  for (int i = 0; i < 3; ++i) {
    for (int j = 0; j < 3; ++j) rows[i][j] = ecl_to_double(ecl_aref1(e, static_cast<cl_index>(3 * i + j)));
  }
  const VECTOR3 t(ecl_to_double(ecl_aref1(e, 9)), ecl_to_double(ecl_aref1(e, 10)),
                  ecl_to_double(ecl_aref1(e, 11)));
  try {
    return TRANSFORM3::from_matrix(rows, t);
  } catch (const std::invalid_argument&) {
    hcl_error("The transformation ~S is singular.", {x});
  }
}

LAOBJ* make_transf(const TRANSFORM3& t) {
  cl_object e = si_make_vector(ecl_make_symbol("DOUBLE-FLOAT", "CL"), ecl_make_fixnum(12), ECL_NIL,
                               ECL_NIL, ECL_NIL, ECL_NIL);
  for (int i = 0; i < 3; ++i) {
    const VECTOR3 r = t.row(i);
    for (int j = 0; j < 3; ++j) ecl_aset1(e, static_cast<cl_index>(3 * i + j), ecl_make_double_float(r[j]));
  }
  const VECTOR3& tr = t.translation_vector();
  for (int j = 0; j < 3; ++j) ecl_aset1(e, static_cast<cl_index>(9 + j), ecl_make_double_float(tr[j]));
  return cl_funcall(2, k2("%MAKE-TRANSFORMATION"), e);
}

LAOBJ* make_ptr(ENTITY* e) {
  if (e == nullptr) return ECL_NIL;
  const ENTITY_TYPE& t = e->identity();
  // Type objects name their package in lower case; Lisp packages are upper case.
  std::string package = t.package();
  for (char& c : package) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  cl_object pkg = find_package(package.c_str());
  if (pkg == ECL_NIL) pkg = find_package("K2");
  // The host exports every type symbol at start-up (register_type_symbol);
  // exporting here could meet a name conflict in a package that uses K2.
  bool found = false;
  cl_object type = find_symbol(t.name(), pkg, &found);
  if (!found) type = intern_symbol(t.name(), pkg, false);
  return cl_funcall(4, k2("%MAKE-ENTITY-HANDLE"), type,
                    ecl_make_unsigned_integer(reinterpret_cast<cl_index>(e)),
                    ecl_make_uint64_t(e->sysid()));
}

void register_type_symbol(const ENTITY_TYPE& t) {
  std::string package = t.package();
  for (char& c : package) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  cl_object pkg = find_package(package.c_str());
  if (pkg != ECL_NIL) intern_symbol(t.name(), pkg, true);
}

ENTITY* object_to_ENTITY_ptr(LAOBJ* x, const ENTITY_TYPE& expected, bool allow_nil) {
  const std::string expected_name = std::string(expected.package()) + ":" + expected.name();
  if (x == ECL_NIL && allow_nil) return nullptr;
  if (!is("ENTITY-HANDLE-P", x)) hcl_wrong_type("K2:ENTITY-HANDLE", x);
  auto* e = reinterpret_cast<ENTITY*>(ecl_to_unsigned_integer(cl_funcall(2, k2("ENTITY-HANDLE-ADDRESS"), x)));
  const auto sysid = ecl_to_uint64_t(call("ENTITY-HANDLE-SYSID", x));
  // The sysid is looked up first: a stale address is compared, never followed.
  if (!ENTITY::is_live(e, sysid)) hcl_error("The entity ~S was deleted.", {x});
  if (!e->is_a(expected)) {
    hcl_error(("The entity ~S is not of type " + expected_name + ".").c_str(), {x});
  }
  return e;
}

namespace {

std::map<std::string, NON_ENTITY_CONVERTER>& non_entity_kinds() {
  static std::map<std::string, NON_ENTITY_CONVERTER> kinds;
  return kinds;
}

}  // namespace

void register_non_entity_kind(const char* kind, NON_ENTITY_CONVERTER converter) {
  non_entity_kinds()[kind] = converter;
}

void* object_to_NonEntity_ptr(LAOBJ* x, const char* kind) {
  if (lisp_null(x)) return nullptr;
  const auto it = non_entity_kinds().find(kind);
  if (it == non_entity_kinds().end()) {
    hcl_error("No native objects of the kind ~A are known.", {make_string(kind)});
  }
  return it->second(x);
}
