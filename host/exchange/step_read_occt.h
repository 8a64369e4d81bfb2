#pragma once
// Reading a STEP file through OpenCASCADE without trusting it, for the
// exchange layer's .cpp files only: it includes OpenCASCADE.
//
// OpenCASCADE's transfer takes the references between entities for granted
// and crashes on an entity that failed to load (a truncated file, a required
// field left empty), so such files are refused before the transfer. Failures
// of presentation entities (colours, rendering styles; OCCT's StepVisual
// classes) are the exception: shape transfer never reads them, and real
// files from common CAD systems carry some (a rendering method written as a
// string where the schema wants an enumeration). Those files are read, but
// without their colours, because the colour reading does follow those
// references.

#include <TopoDS_Shape.hxx>
#include <XSControl_WorkSession.hxx>

#include <string>

enum class STEP_LOAD_CHECK {
  CLEAN,            // every entity loaded
  PRESENTATION_ONLY,  // only presentation entities failed: read the shapes, not the colours
  BROKEN            // a shape or product entity failed: refuse the file
};

STEP_LOAD_CHECK check_step_load(const Handle(XSControl_WorkSession)& session);

// False for a path that is missing, not a regular file or empty: OCCT's
// reader takes a folder or an empty file for an empty model.
bool is_nonempty_regular_file(const std::string& path);

// All shapes of the file at `path` as one shape (a compound for several).
// Throws TV_EXCEPTION (UNREADABLE_FILE) for a missing, empty or corrupt file,
// one whose shape entities failed to load, and one without shapes; OCCT's
// own failures become the same error.
TopoDS_Shape read_step_shape(const std::string& path);
