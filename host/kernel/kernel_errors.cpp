#include "host/kernel/kernel_errors.h"

namespace {

MOD_INFO g_errors[] = {
    {"k2", 1, "COINCIDENT-VERTICES", "the edge's start and end are the same point"},
    {"k2", 2, "EMPTY-LOOP", "the loop has no coedge"},
    {"k2", 3, "OPEN-LOOP", "the coedges of the loop do not form a closed ring"},
    {"k2", 4, "BAD-SURFACE", "the surface is degenerate (zero radius or undefined direction)"},
    {"k2", 5, "BAD-CURVE", "the curve is degenerate (undefined direction)"},
    {"k2", 6, "NO-CLOSEST-POINT", "the point has no unique closest point on the surface"},
    {"k2", 7, "OUT-OF-LIMIT", "no point of the surface lies within the distance limit"},
    {"k2", 8, "OFF-SURFACE", "the point does not lie on the face's surface"},
    {"k2", 9, "NOT-ON-FACE", "no point on the face could be found"},
    {"k2", 10, "BAD-FACE", "the face has no usable boundary"},
    {"k2", 11, "DEAD-ENTITY", "the entity was destroyed"},
    {"k2", 12, "WRONG-TYPE", "the entity is of the wrong type"},
    {"k2", 13, "NO-SUCH-STATE", "the history keeps no such state"},
    {"k2", 14, "MISSING-GEOMETRY", "a point, curve or surface is missing"},
    {"k2", 15, "BAD-TOPOLOGY", "the entities cannot be linked that way"},
    {"k2", 16, "CANNOT-WRITE-FILE",
     "the file cannot be written (missing folder, no permission, or a folder of that name)"},
    {"k2", 17, "CANNOT-CONVERT-BODY",
     "the body cannot be converted for export (unsupported surface or curve, or broken loops)"},
    {"k2", 18, "UNREADABLE-FILE", "the file cannot be read as a model (missing, empty or corrupt)"},
    {"k2", 19, "BAD-PRODUCT-STRUCTURE",
     "the file's assemblies contain themselves, nest too deep or place too many instances"},
    {"k2", 20, "MIXED-BODY-FACES",
     "the body mixes faces read from a CAD model with faces built since, which share no edges "
     "with them; it cannot be exported as one piece"},
    {"k2", 21, "EMPTY-BODY", "the body has no face"},
    {"k2", 22, "UNMEASURABLE-FACE",
     "a face of the body can be neither measured exactly nor tessellated, so its area is unknown"},
};

}  // namespace

MOD_INFO* k2_error(K2_ERROR e) { return &g_errors[static_cast<int>(e)]; }
