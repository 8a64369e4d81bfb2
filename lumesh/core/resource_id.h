#pragma once
// The errors that native code of the module names by number. Each has a
// keyword whose text the language resources give.

enum RESOURCE_ID : unsigned {
  MSG_CANCELLED = 0,
  MSG_FACE_NOT_FACET = 1,
  MSK_UNKNOWN_ERROR = 2,
  MSG_CANNOT_OPEN_FILE = 3,
  MSG_FILE_UNKNOWN_FORMAT = 4,
  MSG_FACE_MESH_BOUNDARY_INCOMPLETE = 5,
  MSG_FACE_MESH_GENERATION_UNKNOWN_ERROR = 6,
  MSG_NO_MESH_DATA = 7,  // an import file without facets or mesh objects
  MSG_NO_FACES_BUILT = 8,  // a mesh with facets whose body got no face
  RESOURCE_ID_COUNT = 9,  // names no error
};
