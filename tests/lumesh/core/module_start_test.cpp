// Start-up of the module: the entry, its order and idempotence, the manifest,
// the resource table and the error descriptor.

#include <gtest/gtest.h>

#include <algorithm>

#include "host/lisp/lisp_runtime.h"
#include "host/lisp/native_function.h"
#include "host/lisp/objects.h"
#include "host/lisp/packages.h"
#include "host/lisp/unit_loader.h"
#include "host/shell/host_start.h"
#include "lumesh/core/load_module.h"
#include "lumesh/core/module_entry.h"
#include "lumesh/core/module_resources.h"

namespace {

class ModuleStart : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    host_start(0, nullptr);
    start_error_ = host_load_module(&init_load_init);
  }
  static std::string eval(const std::string& text) {
    LISP_OUTCOME o = lisp_eval_string(text, "LUMESH");
    return o.ok ? lisp_prin1(o.value) : "ERROR: " + o.error;
  }
  static std::string start_error_;
};
std::string ModuleStart::start_error_;

TEST_F(ModuleStart, StartsAndLoadsAllUnitsInOrder) {
  ASSERT_EQ(start_error_, "");
  EXPECT_EQ(lumesh_load_counter(), 1);
  const std::vector<std::string> expected = {
      "lumesh/core/lsp/lmx_doctools", "lumesh/core/lsp/lmx_core_config", "lumesh/core/lsp/lmx_core",
      "lumesh/lsp/lmx_config", "lumesh/lsp/lmx_features", "lumesh/lsp/dialogs/lmx_settings_dia",
      "lumesh/geo/lsp/lmx_boxtree", "lumesh/reverse_engineering/lsp/recognize_faces_dia",
      "lumesh/reverse_engineering/lsp/delete_recognition_dia",
      "lumesh/reverse_engineering/lsp/reverse_engineering_doc", "lumesh/lsp/lmx",
      "lumesh/data_exchange/lsp/mf_feature", "lumesh/data_exchange/lsp/assembly_builder",
      "lumesh/data_exchange/lsp/3mf_model_builder", "lumesh/data_exchange/lsp/load_mf_data_dia",
      "lumesh/data_exchange/lsp/save_mf_data_dia", "lumesh/mesh_analysis/lsp/mf_study_feature",
      "lumesh/mesh_analysis/lsp/mf_measurement_feature", "lumesh/mesh_analysis/lsp/mf_quality_study",
      "lumesh/mesh_analysis/lsp/mf_measurement_browser",
      "lumesh/mesh_analysis/lsp/measure_mesh_quality_dia",
      "lumesh/mesh_analysis/lsp/mf_focus_region_dia"};
  std::vector<std::string> module_units;
  for (const auto& u : loaded_lisp_units()) {
    if (u.rfind("lumesh/", 0) == 0) module_units.push_back(u);
  }
  EXPECT_EQ(module_units, expected);
  EXPECT_EQ(eval("(package-name (find-package \"LMX\"))"), "\"LUMESH\"");
  EXPECT_EQ(eval("(package-name (find-package \"LMX.X\"))"), "\"LUMESH.DATA-EXCHANGE\"");
  EXPECT_EQ(eval("(package-name (find-package \"TVDT\"))"), "\"TV-DOC-TOOLS\"");
  EXPECT_EQ(eval("+module-id+"), "\"LUMESH\"");
}

TEST_F(ModuleStart, FurtherCallsOfTheEntryOnlyCount) {
  const std::size_t functions = native_function_count();
  const std::size_t units = loaded_lisp_units().size();
  const std::int32_t before = lumesh_load_counter();
  init_load_init();
  init_load_init();
  EXPECT_EQ(lumesh_load_counter(), before + 2);
  EXPECT_EQ(native_function_count(), functions);
  EXPECT_EQ(loaded_lisp_units().size(), units);
}

TEST_F(ModuleStart, AnExistingDocToolsPackageIsTakenAsItIs) {
  const std::size_t units = loaded_lisp_units().size();
  tv_doc_initialize();
  EXPECT_EQ(loaded_lisp_units().size(), units);
}

TEST_F(ModuleStart, LoadCustomizationWithoutItsFunctionDoesNothing) {
  bool found = true;
  find_symbol("LOAD-MODULE-CUSTOMIZATION", sModule.get_main_package(), &found);
  if (found) GTEST_SKIP() << "the customization function exists now";
  load_customization();
  SUCCEED();
}

TEST_F(ModuleStart, TheManifestTakesNoArgument) {
  EXPECT_EQ(eval("(getf (get-module-manifest) :module-name)"), "\"lumesh\"");
  EXPECT_EQ(eval("(getf (get-module-manifest) :version)"), std::string("\"") + lumesh_version() + "\"");
  EXPECT_EQ(eval("(first (get-module-manifest))"), ":MODULE-NAME");
  EXPECT_EQ(eval("(handler-case (get-module-manifest 1) (program-error () :count-error))"),
            ":COUNT-ERROR");
  EXPECT_EQ(eval("(nth-value 1 (find-symbol \"GET-MODULE-MANIFEST\" \"LUMESH\"))"), ":EXTERNAL");
  EXPECT_EQ(eval("(nth-value 1 (find-symbol \"GET-RESOURCE\" \"LUMESH\"))"), ":INTERNAL");
}

TEST_F(ModuleStart, ResourcesRegisterAndAnswer) {
  EXPECT_EQ(eval("(register-module-resource)"), "T");
  EXPECT_EQ(eval("(register-module-resource :test-key-one \"first\")"), "T");
  EXPECT_EQ(eval("(register-module-resource :test-key-one \"second\" :test-key-two \"two\")"), "T");
  EXPECT_EQ(eval("(get-resource :test-key-one)"), "\"second\"");
  EXPECT_EQ(eval("(get-resource :test-key-never-registered)"), "\"TEST-KEY-NEVER-REGISTERED\"");
  EXPECT_EQ(eval("(progn (register-module-resource :test-key-empty \"\") (get-resource :test-key-empty))"),
            "\"TEST-KEY-EMPTY\"");
  EXPECT_EQ(eval("(handler-case (register-module-resource :a \"x\" :b) (error (c) (princ-to-string c)))"),
            "\"Even number of arguments required! Found 3\"");
  EXPECT_EQ(eval("(handler-case (register-module-resource \"a\" \"x\") (type-error () :type))"), ":TYPE");
  EXPECT_EQ(eval("(handler-case (get-resource :a :b) (program-error () :count))"), ":COUNT");
  EXPECT_EQ(eval("(handler-case (get-resource \"module-title\") (type-error () :type))"), ":TYPE");
}

TEST_F(ModuleStart, TheModuleTitleComesFromTheResourceFile) {
  const std::string title = eval("(get-resource :module-title)");
  EXPECT_NE(title, "\"MODULE-TITLE\"");
  EXPECT_EQ(eval("(third (frame2:tv-inq-application-data +module-id+))"), title);
}

TEST_F(ModuleStart, ErrorsNameTheirTextThroughTheirId) {
  MODULE_RESOURCES& r = MODULE_RESOURCES::instance();
  EXPECT_EQ(symbol_name(r.get_resource_key(MSK_UNKNOWN_ERROR)), "MSK-UNKNOWN-ERROR");
  EXPECT_EQ(symbol_name(r.get_resource_key(MSG_FILE_UNKNOWN_FORMAT)), "MSG-FILE_UNKNOWN-FORMAT");
  MOD_INFO* info = sModule.get_error_info(MSG_CANNOT_OPEN_FILE);
  EXPECT_EQ(sModule.current_error_id(), MSG_CANNOT_OPEN_FILE);
  EXPECT_EQ(info->key(), "MSG-CANNOT-OPEN-FILE");
  EXPECT_EQ(info->message(), object_to_string(lisp_eval_string("(get-resource :msg-cannot-open-file)",
                                                               "LUMESH").value));
  try {
    info->throw_error();
    FAIL() << "no exception";
  } catch (const TV_EXCEPTION& e) {
    EXPECT_EQ(e.info(), info);
  }
  // An id whose keyword has no text gives the missing text in native code.
  r.map_id_to_resource(MSG_FACE_MESH_BOUNDARY_INCOMPLETE, L"TEST-KEY-WITHOUT-TEXT");
  EXPECT_EQ(r[MSG_FACE_MESH_BOUNDARY_INCOMPLETE], L"*** Requested resource unvailable!");
  resmap_initialize();
}

}  // namespace

// Before any error the current id is the count of ids, which names no text.
TEST(ModuleStartFresh, TheFirstErrorIdIsTheCount) {
  if (LOADMODULE::instance().current_error_id() != RESOURCE_ID_COUNT) {
    GTEST_SKIP() << "another test in this process named an error first";
  }
  EXPECT_EQ(std::wstring(LOADMODULE::inq_msg()), L"*** Requested resource unvailable!");
}
