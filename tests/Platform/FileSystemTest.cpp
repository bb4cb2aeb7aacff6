#include "lumora/Platform/FileSystem.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <memory>

#include "lumora/Platform/Linux/LinuxFileSystem.h"
#include "lumora/Testing/FakeFileSystem.h"
#include "tests/Support/FileSizeLimit.h"
#include "tests/Support/TemporaryFolder.h"
#include "tests/Support/TestFiles.h"

namespace lumora::testing {
namespace {

namespace fs = std::filesystem;
using ::testing::IsEmpty;
using ::testing::Optional;
using ::testing::UnorderedElementsAre;

class FakeHost {
 public:
  FileSystem& files() { return files_; }

 private:
  FakeFileSystem files_;
};

class LinuxHost {
 public:
  FileSystem& files() { return files_; }

 private:
  TemporaryFolder folder_;
  LinuxFileSystem files_{folder_ / "Documents", folder_ / "Caches"};
};

template <typename Host>
class FileSystemTest : public ::testing::Test {
 protected:
  std::string path(std::string_view name) { return files.cachesDirectory() + "/" + std::string(name); }

  Host host;
  FileSystem& files = host.files();
};

using Hosts = ::testing::Types<FakeHost, LinuxHost>;
TYPED_TEST_SUITE(FileSystemTest, Hosts);

TYPED_TEST(FileSystemTest, ReadsBackWhatItWrote) {
  const std::vector<std::string> contents = {"text", "", std::string("\0\r\n\xFF", 4),
                                             std::string(1'000'000, 'x')};
  for (const std::string& bytes : contents) {
    EXPECT_TRUE(this->files.writeAtomically(this->path("file"), bytes));
    EXPECT_EQ(this->files.read(this->path("file")), bytes) << bytes.size() << " bytes";
  }
  EXPECT_THAT(this->files.list(this->files.cachesDirectory()), Optional(UnorderedElementsAre("file")));
}

TYPED_TEST(FileSystemTest, MakesMissingFolders) {
  EXPECT_TRUE(this->files.writeAtomically(this->path("a/b/file"), "x"));
  EXPECT_TRUE(this->files.fileExists(this->path("a/b/file")));
  EXPECT_TRUE(this->files.fileExists(this->path("a")));
  EXPECT_FALSE(this->files.fileExists(this->path("b")));
}

TYPED_TEST(FileSystemTest, ListsAFolder) {
  EXPECT_EQ(this->files.list(this->path("missing")), std::nullopt);
  for (const char* name : {"one", "two", "folder/three"}) this->files.writeAtomically(this->path(name), "");
  EXPECT_THAT(this->files.list(this->files.cachesDirectory()),
              Optional(UnorderedElementsAre("one", "two", "folder")));
  EXPECT_EQ(this->files.list(this->path("one")), std::nullopt);
}

TYPED_TEST(FileSystemTest, RemovesFilesAlone) {
  this->files.writeAtomically(this->path("folder/file"), "");
  EXPECT_EQ(this->files.remove(this->path("folder/file")), std::nullopt);
  EXPECT_FALSE(this->files.fileExists(this->path("folder/file")));
  EXPECT_NE(this->files.remove(this->path("folder/file")).value_or(""), "");
  EXPECT_NE(this->files.remove(this->path("folder")).value_or(""), "");
  EXPECT_TRUE(this->files.fileExists(this->path("folder")));
}

TYPED_TEST(FileSystemTest, FailsByValue) {
  this->files.writeAtomically(this->path("file"), "old");
  this->files.writeAtomically(this->path("folder/file"), "");
  const std::string names[] = {"folder", "file/below", std::string("file\0hidden", 11)};
  for (const std::string& name : names) {
    EXPECT_FALSE(this->files.writeAtomically(this->path(name), "new")) << name;
    EXPECT_EQ(this->files.read(this->path(name)), std::nullopt) << name;
  }
  EXPECT_FALSE(this->files.writeAtomically("", "new"));
  EXPECT_EQ(this->files.read(this->path("missing")), std::nullopt);
  EXPECT_FALSE(this->files.fileExists(this->path(std::string("file\0hidden", 11))));
  EXPECT_NE(this->files.remove(this->path(std::string("file\0hidden", 11))), std::nullopt);
  EXPECT_EQ(this->files.read(this->path("file")), "old");
  EXPECT_THAT(this->files.list(this->files.cachesDirectory()),
              Optional(UnorderedElementsAre("file", "folder")));
}

TEST(FakeFileSystemTest, FailsWhenToldTo) {
  FakeFileSystem files;
  const std::string path = files.documentsDirectory() + "/file";
  files.setWriteFails(true);
  EXPECT_FALSE(files.writeAtomically(path, "x"));
  files.setWriteFails(false);
  EXPECT_TRUE(files.writeAtomically(path, "x"));
  files.setReadFails(true);
  files.setListFails(true);
  files.setRemoveFails(true);
  EXPECT_EQ(files.read(path), std::nullopt);
  EXPECT_EQ(files.list(files.documentsDirectory()), std::nullopt);
  EXPECT_NE(files.remove(path), std::nullopt);
  EXPECT_TRUE(files.fileExists(path));
}

TEST(LinuxFileSystemTest, WhatItMakesIsTheOwnersAlone) {
  const TemporaryFolder folder;
  LinuxFileSystem files(folder / "Documents", folder / "Caches");
  ASSERT_TRUE(files.writeAtomically(files.documentsDirectory() + "/a/file", "x"));
  EXPECT_EQ(modeOf(folder / "Documents"), 0700U);
  EXPECT_EQ(modeOf(folder / "Documents/a"), 0700U);
  EXPECT_EQ(modeOf(folder / "Documents/a/file"), 0600U);
}

TEST(LinuxFileSystemTest, AFullDiskLeavesTheOldFileAndNoOther) {
  const TemporaryFolder folder;
  LinuxFileSystem files(folder.path(), folder.path());
  ASSERT_TRUE(files.writeAtomically(folder / "file", "old"));
  {
    const FileSizeLimit limit(4096);
    EXPECT_FALSE(files.writeAtomically(folder / "file", std::string(10'000, 'x')));
    EXPECT_FALSE(files.writeAtomically(folder / "new", std::string(10'000, 'x')));
  }
  EXPECT_EQ(readFile(folder / "file"), "old");
  EXPECT_THAT(namesIn(folder.path()), ::testing::ElementsAre("file"));
}

TEST(LinuxFileSystemTest, ReadsNoPipes) {
  const TemporaryFolder folder;
  LinuxFileSystem files(folder.path(), folder.path());
  ASSERT_EQ(::mkfifo((folder / "pipe").c_str(), 0600), 0);
  EXPECT_EQ(files.read(folder / "pipe"), std::nullopt);
}

}  // namespace
}  // namespace lumora::testing
