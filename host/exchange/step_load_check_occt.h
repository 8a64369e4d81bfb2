#pragma once
// The load check of a STEP file before its transfer, for the exchange
// layer's .cpp files only: it includes OpenCASCADE.
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

#include <XSControl_WorkSession.hxx>

enum class STEP_LOAD_CHECK {
  CLEAN,            // every entity loaded
  PRESENTATION_ONLY,  // only presentation entities failed: read the shapes, not the colours
  BROKEN            // a shape or product entity failed: refuse the file
};

STEP_LOAD_CHECK check_step_load(const Handle(XSControl_WorkSession)& session);
