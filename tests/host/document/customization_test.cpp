// The customization files the host finds: by level, in order, in the
// application's subfolder; finding them writes nothing.

#include "host/document/customization.h"

#include "host/document/document_error.h"
#include "host/document/user_folders.h"
#include "tests/host/document/document_fixture.h"

namespace {

class CustomizationFilesTest : public DocumentTest {
 protected:
  void SetUp() override {
    DocumentTest::SetUp();
    corp_ = scratch() + "/corp";
    site_ = scratch() + "/site";
    env().set("TVCORPCUSTOMIZEDIR", corp_ + "/");
    env().set("TVSITECUSTOMIZEDIR", site_);
    user_ = host_user_folder();
    for (const std::string& f : {corp_, site_, user_}) write_text(f + "/LUMESH/customize.lsp", "(print 1)");
  }
  static std::vector<std::string> paths(const std::vector<CUSTOMIZATION_FILE>& files) {
    std::vector<std::string> out;
    for (const auto& f : files) out.push_back(f.path);
    return out;
  }
  std::string corp_, site_, user_;
};

TEST_F(CustomizationFilesTest, AllLevelsCorporateFirstUserLast) {
  const auto files = customization_files("customize.lsp", "LUMESH", CUSTOMIZATION_WHICH::all,
                                         CUSTOMIZATION_ORDER::corp_site_user);
  EXPECT_EQ(paths(files), (std::vector<std::string>{corp_ + "/LUMESH/customize.lsp", site_ + "/LUMESH/customize.lsp",
                                                    user_ + "/LUMESH/customize.lsp"}));
  ASSERT_EQ(files.size(), 3u);
  EXPECT_EQ(files[0].level, CUSTOMIZATION_LEVEL::corporate);
  EXPECT_EQ(files[2].level, CUSTOMIZATION_LEVEL::user);
  EXPECT_STREQ(customization_level_name(files[1].level), "site");
  const auto reversed = customization_files("customize.lsp", "LUMESH", CUSTOMIZATION_WHICH::all,
                                            CUSTOMIZATION_ORDER::user_site_corp);
  EXPECT_EQ(paths(reversed).front(), user_ + "/LUMESH/customize.lsp");
}

TEST_F(CustomizationFilesTest, OneLevelAlone) {
  EXPECT_EQ(paths(customization_files("customize.lsp", "LUMESH", CUSTOMIZATION_WHICH::site,
                                      CUSTOMIZATION_ORDER::corp_site_user)),
            std::vector<std::string>{site_ + "/LUMESH/customize.lsp"});
  EXPECT_EQ(paths(customization_files("customize.lsp", "LUMESH", CUSTOMIZATION_WHICH::user,
                                      CUSTOMIZATION_ORDER::corp_site_user)),
            std::vector<std::string>{user_ + "/LUMESH/customize.lsp"});
}

TEST_F(CustomizationFilesTest, MissingFilesAndUnsetLevelsAreSkipped) {
  env().unset("TVCORPCUSTOMIZEDIR");
  std::filesystem::remove(user_ + "/LUMESH/customize.lsp");
  std::filesystem::create_directories(user_ + "/LUMESH/folder.lsp");  // a folder is no file
  EXPECT_EQ(paths(customization_files("customize.lsp", "LUMESH", CUSTOMIZATION_WHICH::all,
                                      CUSTOMIZATION_ORDER::corp_site_user)),
            std::vector<std::string>{site_ + "/LUMESH/customize.lsp"});
  EXPECT_TRUE(customization_files("folder.lsp", "LUMESH", CUSTOMIZATION_WHICH::all,
                                  CUSTOMIZATION_ORDER::corp_site_user).empty());
  // Another application's subfolder is not read.
  EXPECT_TRUE(customization_files("customize.lsp", "OTHER", CUSTOMIZATION_WHICH::all,
                                  CUSTOMIZATION_ORDER::corp_site_user).empty());
}

TEST_F(CustomizationFilesTest, WithoutApplicationTheLevelFolderItself) {
  write_text(corp_ + "/host.lsp", "");
  EXPECT_EQ(paths(customization_files("host.lsp", "", CUSTOMIZATION_WHICH::all,
                                      CUSTOMIZATION_ORDER::corp_site_user)),
            std::vector<std::string>{corp_ + "/host.lsp"});
}

TEST_F(CustomizationFilesTest, NamesThatLeaveTheFolderAreRefused) {
  for (const char* bad : {"../customize.lsp", "/etc/passwd", "..", ""}) {
    EXPECT_THROW(customization_files(bad, "LUMESH", CUSTOMIZATION_WHICH::all, CUSTOMIZATION_ORDER::corp_site_user),
                 DOCUMENT_ERROR)
        << bad;
  }
  EXPECT_THROW(customization_files("customize.lsp", "../LUMESH", CUSTOMIZATION_WHICH::all,
                                   CUSTOMIZATION_ORDER::corp_site_user),
               DOCUMENT_ERROR);
}

TEST_F(CustomizationFilesTest, FindingWritesNothing) {
  const auto before = snapshot(scratch());
  customization_files("customize.lsp", "LUMESH", CUSTOMIZATION_WHICH::all, CUSTOMIZATION_ORDER::corp_site_user);
  customization_files("none.lsp", "NONE", CUSTOMIZATION_WHICH::all, CUSTOMIZATION_ORDER::corp_site_user);
  EXPECT_EQ(snapshot(scratch()), before);
}

}  // namespace
