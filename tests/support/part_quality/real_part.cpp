// A real part from file to measure, run by run.

#include "support/part_quality/real_part.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <sstream>
#include <stdexcept>

#include "host/exchange/step_import.h"
#include "host/kernel/history/history.h"
#include "host/kernel/topology/body.h"
#include "support/part_quality/corpus_parts.h"
#include "support/part_quality/model_reference.h"
#include "support/part_quality/part_mesh.h"

namespace part_quality {

namespace {

using CLOCK = std::chrono::steady_clock;

double seconds_since(CLOCK::time_point t0) {
  return std::chrono::duration<double>(CLOCK::now() - t0).count();
}

// The boundary polylines of the model's faces follow the edges to a
// twentieth of the chord deflection, well inside every tolerance.
constexpr double kBoundaryDeflectionOfChord = 0.05;

std::string number(double v, int digits = 4) {
  if (std::isnan(v)) return "nan";
  char buffer[64];
  std::snprintf(buffer, sizeof buffer, "%.*g", digits, v);
  return buffer;
}

std::string fixed(double v, int decimals) {
  if (std::isnan(v)) return "nan";
  char buffer[64];
  std::snprintf(buffer, sizeof buffer, "%.*f", decimals, v);
  return buffer;
}

// Double quotes around a text, with its own quotes and line ends escaped.
std::string quoted(const std::string& s) {
  std::string out = "\"";
  for (char c : s) {
    if (c == '"' || c == '\\') out += '\\';
    if (c == '\n') {
      out += "\\n";
      continue;
    }
    out += c;
  }
  return out + "\"";
}

int line_count(const std::string& text) {
  int n = static_cast<int>(std::count(text.begin(), text.end(), '\n'));
  if (!text.empty() && text.back() != '\n') ++n;
  return n;
}

}  // namespace

double recovery_tolerance(double precision, double chord) {
  return std::max(2.0 * precision, chord);
}

std::vector<std::string> PART_RUN::missed_goals() const {
  std::vector<std::string> missed;
  auto miss = [&missed](const std::string& goal, double value) {
    missed.push_back(goal + "(" + number(value) + ")");
  };
  if (!import.error.empty() || !export_check.step_read) {
    missed.push_back("step_valid_solid(error)");
  } else if (!step_ok()) {
    missed.push_back("step_valid_solid(valid=" + std::to_string(export_check.step.valid) +
                     ",solids=" + std::to_string(export_check.step.solids) +
                     ",closed=" + std::to_string(export_check.step.closed) + ")");
  }
  if (!output.assertions.empty())
    miss("no_assertion", static_cast<double>(output.assertions.size()));
  if (std::isnan(precision_given)) {
    const double ratio = precision_ratio();
    if (!(ratio >= kMinAutoPrecisionRatio && ratio <= kMaxAutoPrecisionRatio)) {
      miss("auto_precision_ratio", ratio);
    }
  }
  if (import.error.empty()) {
    const double planes = area.recovered_pct(KIND_GROUP::PLANE);
    const double cylinders = area.recovered_pct(KIND_GROUP::CYLINDER);
    // A part without faces of a kind has nothing of that kind to recover.
    if (area.model_area[0] > 0.0 && !(planes >= kMinPlaneRecoveredPct))
      miss("plane_recovered", planes);
    if (area.model_area[1] > 0.0 && !(cylinders >= kMinCylinderRecoveredPct)) {
      miss("cylinder_recovered", cylinders);
    }
    if (!(area.wrong_kind_pct() <= kMaxWrongKindPct)) miss("wrong_kind", area.wrong_kind_pct());
  }
  return missed;
}

REAL_PART::REAL_PART(const std::filesystem::path& file, const std::filesystem::path& scratch)
    : name_(part_name(file)), scratch_(scratch) {
  const auto t0 = CLOCK::now();
  std::vector<BODY*> bodies = read_step(file.string());
  if (bodies.size() != 1) {
    for (BODY* b : bodies) b->lose();
    throw std::runtime_error(file.string() + ": " + std::to_string(bodies.size()) +
                             " bodies where one part was expected");
  }
  model_ = bodies.front();
  const char* stage = "meshing the model";
  try {
    std::string stem = name_;
    std::replace(stem.begin(), stem.end(), '/', '_');
    stl_ = scratch_ / (stem + ".stl");
    const PART_MESH mesh = write_part_mesh(*model_, stl_);
    chord_ = mesh.deflection;
    mesh_relative_ = mesh.relative;
    triangles_ = mesh.triangles;
    stage = "preparing the model's faces";
    reference_ = std::make_unique<MODEL_REFERENCE>(*model_, kBoundaryDeflectionOfChord * chord_);
  } catch (const std::exception& e) {
    model_->lose();
    model_ = nullptr;
    throw std::runtime_error(std::string(stage) + ": " + exception_text(e));
  }
  prepare_seconds_ = seconds_since(t0);
}

REAL_PART::~REAL_PART() {
  reference_.reset();
  if (model_ != nullptr) model_->lose();
  std::error_code ec;
  std::filesystem::remove(stl_, ec);
}

PART_RUN REAL_PART::run(double multiple, std::size_t samples) const {
  PART_RUN r;
  r.part = name_;
  r.chord = chord_;
  r.mesh_relative = mesh_relative_;
  r.mesh_triangles = triangles_;
  r.precision_given = std::isnan(multiple) ? multiple : multiple * chord_;
  r.label = std::isnan(multiple) ? "auto" : "x" + number(multiple);
  std::string stem = name_ + "_" + r.label;
  std::replace(stem.begin(), stem.end(), '/', '_');
  const std::filesystem::path step = scratch_ / (stem + ".step");

  OUTPUT_CAPTURE capture;
  r.import = import_part_mesh(stl_, r.precision_given);
  BODY* body = r.import.body;
  r.import.body = nullptr;
  if (body != nullptr) {
    r.export_check = check_body_export(body, step);
    r.tolerance = recovery_tolerance(r.import.precision, chord_);
    const auto t0 = CLOCK::now();
    r.area = measure_area_recovery(*body, *reference_, r.tolerance, samples);
    r.measure_seconds = seconds_since(t0);
    body->lose();
  }
  r.output = capture.finish();
  HISTORY::instance().forget();
  std::error_code ec;
  std::filesystem::remove(step, ec);
  return r;
}

AREA_RECOVERY REAL_PART::measure_model(std::size_t samples) const {
  return measure_area_recovery(*model_, *reference_, chord_, samples);
}

namespace {
double pct_of_body(const AREA_RECOVERY& a, double area) {
  return a.body_area > 0.0 ? 100.0 * area / a.body_area : std::nan("");
}
}  // namespace

std::string format_run(const PART_RUN& r) {
  std::ostringstream o;
  const AREA_RECOVERY& a = r.area;
  const BODY_EXPORT_CHECK& x = r.export_check;
  o << "part=" << r.part << " run=" << r.label << " mesh_rel=" << number(r.mesh_relative)
    << " mesh_tris=" << r.mesh_triangles << " chord=" << number(r.chord)
    << " precision=" << number(r.import.precision)
    << " precision_ratio=" << number(r.precision_ratio()) << " tol=" << number(r.tolerance)
    << " facets=" << r.import.facets << " faces=" << r.import.faces << " planes=" << a.faces[0]
    << " cylinders=" << a.faces[1] << " single_facets=" << a.single_facets
    << " model_planes=" << a.model_faces[0] << " model_cylinders=" << a.model_faces[1]
    << " model_other=" << a.model_faces[2] << " model_plane_area=" << number(a.model_area[0])
    << " model_cylinder_area=" << number(a.model_area[1])
    << " model_other_area=" << number(a.model_area[2])
    << " plane_recovered_pct=" << fixed(a.recovered_pct(KIND_GROUP::PLANE), 2)
    << " cylinder_recovered_pct=" << fixed(a.recovered_pct(KIND_GROUP::CYLINDER), 2)
    << " wrong_kind_pct=" << fixed(a.wrong_kind_pct(), 2)
    << " wrong_plane_on_cyl_pct=" << fixed(pct_of_body(a, a.wrong_kind_by[0][1]), 2)
    << " wrong_plane_on_other_pct=" << fixed(pct_of_body(a, a.wrong_kind_by[0][2]), 2)
    << " wrong_cyl_on_plane_pct=" << fixed(pct_of_body(a, a.wrong_kind_by[1][0]), 2)
    << " wrong_cyl_on_other_pct=" << fixed(pct_of_body(a, a.wrong_kind_by[1][2]), 2)
    << " off_part_pct=" << fixed(a.off_part_pct(), 2) << " facet_pct=" << fixed(a.facet_pct(), 2)
    << " planes_per_model_plane=" << fixed(a.faces_per_model_face[0], 2)
    << " cylinders_per_model_cylinder=" << fixed(a.faces_per_model_face[1], 2)
    << " untessellated=" << a.untessellated_faces << " samples=" << a.samples
    << " import_s=" << fixed(r.import.seconds, 3) << " measure_s=" << fixed(r.measure_seconds, 3)
    << " checker=" << (r.import.error.empty() ? (x.checker_ok ? "ok" : "problems") : "none")
    << " open_edges=" << x.open_edges << " nonmanifold_edges=" << x.nonmanifold_edges
    << " face_part=" << x.face_part << " step_valid=" << (x.step_read ? x.step.valid : 0)
    << " step_solids=" << (x.step_read ? x.step.solids : 0)
    << " step_closed=" << (x.step_read ? x.step.closed : 0)
    << " assertions=" << r.output.assertions.size()
    << " stderr_lines=" << line_count(r.output.error_text);
  const std::vector<std::string> missed = r.missed_goals();
  o << " goals=";
  if (missed.empty()) {
    o << "met";
  } else {
    for (std::size_t i = 0; i < missed.size(); ++i) o << (i > 0 ? "," : "") << missed[i];
  }
  if (!r.import.error.empty()) o << " import_error=" << quoted(r.import.error);
  if (!x.step_error.empty()) o << " step_error=" << quoted(x.step_error);
  if (!x.checker_problem.empty()) o << " checker_problem=" << quoted(x.checker_problem);
  if (!r.output.assertions.empty()) o << " first_assertion=" << quoted(r.output.assertions.front());
  if (!r.output.error_text.empty()) {
    o << " first_stderr=" << quoted(r.output.error_text.substr(0, r.output.error_text.find('\n')));
  }
  return o.str();
}

}  // namespace part_quality
