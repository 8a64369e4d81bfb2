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
#include <XSControl_Reader.hxx>
#include <XSControl_WorkSession.hxx>

#include <string>

enum class STEP_LOAD_CHECK {
  CLEAN,            // every entity loaded
  PRESENTATION_ONLY,  // only presentation entities failed: read the shapes, not the colours
  BROKEN            // a shape or product entity failed: refuse the file
};

STEP_LOAD_CHECK check_step_load(const Handle(XSControl_WorkSession)& session);

// Reads the file at `path` into the reader's session as
// XSControl_Reader::ReadFile does, with two checks in between. The path must
// name a regular file that isn't empty (OCCT takes a folder or an empty file
// for an empty model). And the entities, once parsed, must be free of
// reference cycles and of chains too long (reference_chains.h), because the
// session's check of the model recurses along them and would crash. False,
// with the session left empty, when the file can't be parsed or fails a
// check. OCCT's exceptions pass through.
bool read_step_file_guarded(XSControl_Reader& reader, const std::string& path);

// All shapes of the file at `path` as one shape (a compound for several).
// Throws TV_EXCEPTION (UNREADABLE_FILE) for a missing, empty or corrupt file,
// one whose shape entities failed to load, and one without shapes; OCCT's
// own failures become the same error.
TopoDS_Shape read_step_shape(const std::string& path);
