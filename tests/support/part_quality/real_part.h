#pragma once
// One real CAD part measured end to end: the model read from its STEP file,
// meshed into an STL file as a user would receive it, that file imported
// with planes and cylinders at a precision, and the body held against the
// model (area_recovery.h), checked by the kernel and written as STEP.
//
// The goals an import is held to on real parts are stated here once, for
// the benchmark's report and the test's assertions alike.

#include <cstddef>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "host/kernel/topology/topology_fwd.h"
#include "support/part_quality/area_recovery.h"
#include "support/part_quality/body_export_check.h"
#include "support/part_quality/mesh_import_run.h"
#include "support/part_quality/output_capture.h"

namespace part_quality {

// Goals on a real part imported at the automatic precision.
constexpr double kMinAutoPrecisionRatio = 0.1;  // automatic precision / chord deflection
constexpr double kMaxAutoPrecisionRatio = 3.0;
constexpr double kMinPlaneRecoveredPct = 98.0;
constexpr double kMinCylinderRecoveredPct = 95.0;
constexpr double kMaxWrongKindPct = 1.0;

// Samples over an imported body's area for the measure.
constexpr std::size_t kDefaultSamples = 100000;

struct PART_RUN {
  std::string part;            // part_name of the file
  std::string label;           // "auto" or the multiple of the chord deflection, "x0.25"
  double mesh_relative = 0.0;  // the mesh's chord deflection over the part's diagonal
  double chord = 0.0;          // chord deflection of the part's mesh
  double tolerance = 0.0;
  double precision_given = 0.0;  // NaN for the automatic precision
  std::size_t mesh_triangles = 0;
  MESH_IMPORT import;  // body already lost: null
  CAPTURED_OUTPUT output;
  BODY_EXPORT_CHECK export_check;
  AREA_RECOVERY area;
  double measure_seconds = 0.0;  // the area measure alone

  // The precision's ratio to the chord deflection.
  double precision_ratio() const { return import.precision / chord; }
  bool step_ok() const {
    return export_check.step_read && export_check.step.valid && export_check.step.solids == 1 &&
           export_check.step.closed;
  }
  // The goals this run misses, each as "name(value)"; empty when all are met.
  // Only runs at the automatic precision are held to the precision goal.
  std::vector<std::string> missed_goals() const;
};

// The part's tolerance for a sample to lie on a model face: twice the
// import's precision, and never finer than the mesh's chord deflection.
double recovery_tolerance(double precision, double chord);

class REAL_PART {
 public:
  // Reads the STEP file (it must hold one usable part: corpus_parts.h),
  // meshes it into `scratch` (an existing folder) and prepares the model's
  // faces. Throws TV_EXCEPTION when the file can't be read or meshed.
  REAL_PART(const std::filesystem::path& file, const std::filesystem::path& scratch);
  ~REAL_PART();
  REAL_PART(const REAL_PART&) = delete;
  REAL_PART& operator=(const REAL_PART&) = delete;

  const std::string& name() const { return name_; }
  double chord() const { return chord_; }
  double mesh_relative() const { return mesh_relative_; }
  std::size_t mesh_triangles() const { return triangles_; }
  double prepare_seconds() const { return prepare_seconds_; }

  // One import of the part's mesh at `multiple` times the chord deflection,
  // or at the automatic precision for NaN, measured and checked; the body is
  // lost at the end, and the kernel's history forgotten.
  PART_RUN run(double multiple, std::size_t samples = kDefaultSamples) const;

  // The model measured against itself at the chord deflection: the faces'
  // own tessellations sampled as an import's would be. Whatever it misses
  // of 100% recovered, and finds on a wrong kind or off the part, is the
  // error of the measure itself.
  AREA_RECOVERY measure_model(std::size_t samples = kDefaultSamples) const;

 private:
  std::string name_;
  std::filesystem::path stl_;
  std::filesystem::path scratch_;
  BODY* model_ = nullptr;  // owned (lost by the destructor)
  std::unique_ptr<MODEL_REFERENCE> reference_;
  double chord_ = 0.0;
  double mesh_relative_ = 0.0;
  std::size_t triangles_ = 0;
  double prepare_seconds_ = 0.0;
};

// The run as one line of key=value pairs, values without blanks (texts are
// quoted).
std::string format_run(const PART_RUN& run);

}  // namespace part_quality
