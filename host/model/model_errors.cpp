#include "host/model/model_errors.h"

namespace {

MOD_INFO g_errors[] = {
    {"frame2", 1, "NULL-ARGUMENT", "an object is missing"},
    {"frame2", 2, "PARENT-IS-PART", "a part can hold containers only"},
    {"frame2", 3, "ALREADY-IN-TREE", "the object already sits in the model tree"},
    {"frame2", 4, "CYCLE", "the object would come to contain itself"},
    {"frame2", 5, "NOT-A-CHILD", "the object is not a child of that parent"},
    {"frame2", 6, "ROOT-PARCEL", "the root of the model tree cannot be changed that way"},
    {"frame2", 7, "NOT-A-PART", "the object is not a part"},
    {"frame2", 8, "BAD-COLOR", "colour components must lie between 0 and 1"},
    {"frame2", 9, "BAD-TRANSPARENCY", "the transparency must lie between 0 and 1"},
    {"frame2", 10, "BODY-IN-USE", "the body belongs to another object"},
    {"frame2", 11, "WRONG-ITEM", "the object cannot be selected"},
    {"frame2", 12, "BAD-SEL-PATH", "the path does not lead from the root to the object"},
    {"frame2", 13, "GRAPHICS-ONLY",
     "the part is a lightweight part: it holds graphics only and no solid body"},
    {"frame2", 14, "NO-BODY", "the part has no body"},
};

}  // namespace

MOD_INFO* model_error(MODEL_ERROR e) { return &g_errors[static_cast<int>(e)]; }
