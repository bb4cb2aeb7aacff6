#pragma once

#include "lumora/Platform/FileSystem.h"

namespace lumora {

/// Files on Linux. Everything made here is its owner's alone.
class LinuxFileSystem : public FileSystem {
 public:
  LinuxFileSystem(std::string documentsDirectory, std::string cachesDirectory);
  std::string documentsDirectory() override;
  std::string cachesDirectory() override;
  bool fileExists(const std::string& path) override;
  std::optional<std::vector<std::string>> list(const std::string& directory) override;
  std::optional<std::string> read(const std::string& path) override;
  bool writeAtomically(const std::string& path, std::string_view bytes) override;
  std::optional<std::string> remove(const std::string& path) override;

 private:
  const std::string documentsDirectory_;
  const std::string cachesDirectory_;
};

}  // namespace lumora
