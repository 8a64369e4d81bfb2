// User file names: home expansion, the split into directory and name, and
// the file type by extension.

#include "host/base/file_names.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <string>

namespace {

TEST(FileNames, TildeIsTheHomeDirectory) {
  const char* old = std::getenv("HOME");
  const std::string saved = old != nullptr ? old : "";
  ::setenv("HOME", "/home/user", 1);
  EXPECT_EQ(me_cvrt_path(L"~/parts/a.stl"), L"/home/user/parts/a.stl");
  EXPECT_EQ(me_cvrt_path(L"~"), L"/home/user");
  // Another user's home and a tilde inside a name are left alone.
  EXPECT_EQ(me_cvrt_path(L"~other/a.stl"), L"~other/a.stl");
  EXPECT_EQ(me_cvrt_path(L"parts/~a.stl"), L"parts/~a.stl");
  EXPECT_EQ(me_cvrt_path(L""), L"");
  ::unsetenv("HOME");
  EXPECT_EQ(me_cvrt_path(L"~/a.stl"), L"~/a.stl");
  if (old != nullptr) ::setenv("HOME", saved.c_str(), 1);
}

TEST(FileNames, SplitKeepsTheExtensionOnTheName) {
  std::wstring dir, name;
  me_filenamesplit(L"/data/parts/plate.STL", dir, name);
  EXPECT_EQ(dir, L"/data/parts");
  EXPECT_EQ(name, L"plate.STL");
  me_filenamesplit(L"plate.3mf", dir, name);
  EXPECT_EQ(dir, L"");
  EXPECT_EQ(name, L"plate.3mf");
  me_filenamesplit(L"/plate.3mf", dir, name);
  EXPECT_EQ(dir, L"/");
  EXPECT_EQ(name, L"plate.3mf");
  me_filenamesplit(L"/data/parts/", dir, name);
  EXPECT_EQ(dir, L"/data/parts");
  EXPECT_EQ(name, L"");
}

TEST(FileNames, TypeIsTheLowerCaseExtensionOfTheName) {
  EXPECT_EQ(file_type_of(L"a/b/plate.STL"), L"stl");
  EXPECT_EQ(file_type_of(L"plate.3Mf"), L"3mf");
  EXPECT_EQ(file_type_of(L"archive.tar.gz"), L"gz");
  EXPECT_EQ(file_type_of(L"dir.d/plate"), L"");
  EXPECT_EQ(file_type_of(L".profile"), L"");
  EXPECT_EQ(file_type_of(L""), L"");
}

TEST(FileNames, ReadableFilesAreNotDirectories) {
  const std::string dir = ::testing::TempDir();
  const std::string file = dir + "/file_names_readable.txt";
  std::FILE* f = std::fopen(file.c_str(), "w");
  ASSERT_NE(f, nullptr);
  std::fputs("x", f);
  std::fclose(f);
  EXPECT_TRUE(is_readable_file(std::wstring(file.begin(), file.end())));
  EXPECT_FALSE(is_readable_file(std::wstring(dir.begin(), dir.end())));
  EXPECT_FALSE(is_readable_file(L"/no/such/file/anywhere"));
  EXPECT_FALSE(is_readable_file(L""));
  std::remove(file.c_str());
}

}  // namespace
