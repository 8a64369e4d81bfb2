// Where the user's folder is, from the variables a user or a platform sets.

#include "host/document/user_folders.h"

#include "host/document/document_error.h"
#include "tests/host/document/document_fixture.h"

namespace {

class UserFoldersTest : public DocumentTest {};

TEST_F(UserFoldersTest, AppDataWinsOverTheConfigurationFolders) {
  env().set("APPDATA", "/data/of/user/");
  env().set("XDG_CONFIG_HOME", "/xdg");
  EXPECT_EQ(host_user_folder(), std::string("/data/of/user/lumesh/") + host_version());
}

TEST_F(UserFoldersTest, WithoutAppDataTheXdgFolderThenHomeConfig) {
  env().unset("APPDATA");
  env().set("XDG_CONFIG_HOME", "/xdg");
  env().set("HOME", "/home/someone");
  EXPECT_EQ(host_user_folder(), std::string("/xdg/lumesh/") + host_version());
  // A relative XDG_CONFIG_HOME is invalid by its own rules and is ignored.
  env().set("XDG_CONFIG_HOME", "relative/path");
  EXPECT_EQ(host_user_folder(), std::string("/home/someone/.config/lumesh/") + host_version());
  env().unset("XDG_CONFIG_HOME");
  EXPECT_EQ(host_user_folder(), std::string("/home/someone/.config/lumesh/") + host_version());
  env().set("APPDATA", "");  // empty is unset
  EXPECT_EQ(host_user_folder(), std::string("/home/someone/.config/lumesh/") + host_version());
}

TEST_F(UserFoldersTest, TheVersionIsMajorDotMinor) {
  const std::string v = host_version();
  ASSERT_EQ(std::count(v.begin(), v.end(), '.'), 1);
  EXPECT_TRUE(std::isdigit(static_cast<unsigned char>(v.front())));
  EXPECT_STREQ(host_name(), "lumesh");
}

TEST_F(UserFoldersTest, CustomizationFoldersComeFromTheirVariables) {
  EXPECT_FALSE(corporate_customization_folder());
  EXPECT_FALSE(site_customization_folder());
  env().set("TVCORPCUSTOMIZEDIR", "/corp/");
  env().set("TVSITECUSTOMIZEDIR", "/site");
  EXPECT_EQ(corporate_customization_folder(), "/corp");
  EXPECT_EQ(site_customization_folder(), "/site");
  env().set("TVSITECUSTOMIZEDIR", "");
  EXPECT_FALSE(site_customization_folder());
}

TEST_F(UserFoldersTest, TemporaryFolderFromTmpdirWhenAbsolute) {
  env().set("TMPDIR", scratch() + "/");
  EXPECT_EQ(host_temporary_folder(), scratch());
  env().set("TMPDIR", "tmp");
  EXPECT_EQ(host_temporary_folder(), "/tmp");
  env().unset("TMPDIR");
  EXPECT_EQ(host_temporary_folder(), "/tmp");
}

TEST_F(UserFoldersTest, MakingTheUserFolderMakesWhatIsMissing) {
  const std::string folder = scratch() + "/a/b/c";
  make_user_folder(folder);
  EXPECT_TRUE(std::filesystem::is_directory(folder));
  make_user_folder(folder);  // again: nothing to do
  // A file where a folder should be: an error that names it.
  write_text(scratch() + "/file", "x");
  try {
    make_user_folder(scratch() + "/file/sub");
    FAIL() << "no error";
  } catch (const DOCUMENT_ERROR& e) {
    EXPECT_NE(std::string(e.what()).find(scratch() + "/file"), std::string::npos) << e.what();
  }
}

TEST_F(UserFoldersTest, AReadOnlyFolderIsRefused) {
  if (::geteuid() == 0) GTEST_SKIP() << "the superuser writes into any folder";
  const std::string folder = scratch() + "/ro";
  std::filesystem::create_directories(folder);
  std::filesystem::permissions(folder, std::filesystem::perms::owner_read | std::filesystem::perms::owner_exec);
  EXPECT_THROW(make_user_folder(folder), DOCUMENT_ERROR);
}

}  // namespace
