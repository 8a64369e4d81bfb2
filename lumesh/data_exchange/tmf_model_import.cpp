// The 3MF branch of the import; it reads through the lib3mf binding, which
// is not in this build yet, so a 3MF file is refused as an unknown error.

#include "host/base/mod_info.h"
#include "lumesh/core/load_module.h"
#include "lumesh/core/resource_id.h"
#include "lumesh/data_exchange/manufacturing_import.h"

MF_MODEL_SPEC read_3mf_model(const std::wstring&, MF_IMPORT_OPTIONS&) {
  throw TV_EXCEPTION(sModule.get_error_info(MSK_UNKNOWN_ERROR));
}
