#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "lumora/Platform/Export.h"

namespace lumora {

/// The files that belong to the host application.
///
/// Paths begin at the root; a relative one names nothing.
///
/// Thread safety: every operation may be called from any thread. Failures are reported by value.
class LUMORA_EXPORT FileSystem {
 public:
  virtual ~FileSystem() = default;
  /// Where the database lies. An absolute path without a trailing slash; the folder need not exist.
  virtual std::string documentsDirectory() = 0;
  /// Where files lie that can be fetched again; the system may empty it at any time.
  virtual std::string cachesDirectory() = 0;
  virtual bool fileExists(const std::string& path) = 0;
  /// The names of a folder's entries, without "." and ".."; nothing when it cannot be listed.
  virtual std::optional<std::vector<std::string>> list(const std::string& directory) = 0;
  /// The file's bytes; nothing when it cannot be read or is larger than 16 MiB.
  virtual std::optional<std::string> read(const std::string& path) = 0;
  /// Writes a whole file, or nothing of it: a reader sees the old bytes or the new ones. Makes a missing
  /// folder. Returns false on failure.
  virtual bool writeAtomically(const std::string& path, std::string_view bytes) = 0;
  /// Removes a file. Gives nothing on success, else the reason, as a text for people.
  virtual std::optional<std::string> remove(const std::string& path) = 0;
};

/// Passes everything to another file system; a base for a host that replaces a single operation.
class LUMORA_EXPORT ForwardingFileSystem : public FileSystem {
 public:
  explicit ForwardingFileSystem(FileSystem& next) : next_(next) {}
  std::string documentsDirectory() override { return next_.documentsDirectory(); }
  std::string cachesDirectory() override { return next_.cachesDirectory(); }
  bool fileExists(const std::string& path) override { return next_.fileExists(path); }
  std::optional<std::vector<std::string>> list(const std::string& directory) override {
    return next_.list(directory);
  }
  std::optional<std::string> read(const std::string& path) override { return next_.read(path); }
  bool writeAtomically(const std::string& path, std::string_view bytes) override {
    return next_.writeAtomically(path, bytes);
  }
  std::optional<std::string> remove(const std::string& path) override { return next_.remove(path); }

 private:
  FileSystem& next_;
};

}  // namespace lumora
