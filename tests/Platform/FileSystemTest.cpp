#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "lumora/Platform/Linux/Files/LinuxFileSystem.h"
#include "lumora/Testing/FakeFileSystem.h"
#include "tests/Support/TemporaryFolder.h"
#include "tests/Support/TestFiles.h"

namespace lumora::testing {
namespace {

struct TemporaryLinuxFileSystem : TemporaryFolder, LinuxFileSystem {
  TemporaryLinuxFileSystem() : LinuxFileSystem(*this / "Documents", *this / "Caches") {}
};

template <typename Implementation>
struct FileSystemTest : ::testing::Test {
  std::string path(std::string_view name) { return files.cachesDirectory() + "/" + std::string(name); }
  bool write(std::string_view name, std::string_view bytes) {
    return files.writeAtomically(path(name), bytes);
  }
  Implementation files;
};

using FileSystems = ::testing::Types<FakeFileSystem, TemporaryLinuxFileSystem>;
TYPED_TEST_SUITE(FileSystemTest, FileSystems);

TYPED_TEST(FileSystemTest, ReadsBackAndListsWhatItWrote) {
  for (const std::string& bytes : {std::string(), std::string("\0\r\n\xFF", 4), std::string(16 << 20, 'x')}) {
    EXPECT_TRUE(this->write("file", bytes));
    EXPECT_TRUE(this->files.read(this->path("file")) == bytes) << bytes.size() << " bytes";
  }
  std::filesystem::resize_file(this->path("file"), (16 << 20) + 1);
  EXPECT_EQ(this->files.read(this->path("file")), std::nullopt) << "larger than what is read whole";
  EXPECT_TRUE(this->write("a/b/file", "x")) << "missing folders are made";
  EXPECT_THAT(this->files.list(this->files.cachesDirectory()),
              ::testing::Optional(::testing::UnorderedElementsAre("file", "a")));
  EXPECT_EQ(this->files.list(this->path("missing")), std::nullopt);
  EXPECT_EQ(this->files.list(this->path("file")), std::nullopt);
}

TYPED_TEST(FileSystemTest, RemovesFilesAloneAndFailsByValue) {
  this->write("file", "old");
  this->write("folder/file", "");
  EXPECT_EQ(this->files.remove(this->path("folder/file")), std::nullopt);
  for (const std::string& name :
       {std::string("folder"), std::string("file/below"), std::string("file\0hidden", 11)}) {
    EXPECT_FALSE(this->write(name, "new")) << name;
    EXPECT_EQ(this->files.read(this->path(name)), std::nullopt) << name;
    EXPECT_EQ(this->files.fileExists(this->path(name)), name == "folder") << name;
    EXPECT_NE(this->files.remove(this->path(name)).value_or(""), "") << name;
  }
  const TemporaryFolder here;
  std::filesystem::current_path(here.path());
  for (const char* path : {"", "relative", "./relative"}) {
    writeFile("relative", "of the working directory");
    EXPECT_FALSE(this->files.fileExists(path) || this->files.read(path) || !this->files.remove(path)) << path;
    EXPECT_FALSE(this->files.writeAtomically(path, "new")) << path;
  }
  EXPECT_NE(this->files.remove(this->path("folder/file")).value_or(""), "");
  EXPECT_EQ(this->files.read(this->path("file")), "old");
}

TEST(LinuxFileSystemTest, WhatItMakesIsTheOwnersAloneAndAPipeIsNoFile) {
  TemporaryLinuxFileSystem files;
  ASSERT_TRUE(files.writeAtomically(files / "new/file", "old"));
  EXPECT_TRUE(modeOf(files / "new") == 0700U && modeOf(files / "new/file") == 0600U);
  ASSERT_EQ(::mkfifo((files / "pipe").c_str(), 0600), 0);
  EXPECT_EQ(files.read(files / "pipe"), std::nullopt) << "nobody writes into it";
}

}  // namespace
}  // namespace lumora::testing
