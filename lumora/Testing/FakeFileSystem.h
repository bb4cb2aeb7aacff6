#pragma once

#include <atomic>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "lumora/Platform/FileSystem.h"

namespace lumora::testing {

/// Real files in a temporary folder of their own, so that databases work; the folder goes with this object.
/// The caches folder exists from the start, the documents folder when the library has made it.
///
/// Thread safety: every operation may be called from any thread.
class LUMORA_EXPORT FakeFileSystem : public FileSystem {
 public:
  /// Throws `std::runtime_error` when the temporary folder cannot be made.
  FakeFileSystem();
  ~FakeFileSystem() override;
  FakeFileSystem(const FakeFileSystem&) = delete;
  FakeFileSystem& operator=(const FakeFileSystem&) = delete;

  std::string documentsDirectory() override;
  std::string cachesDirectory() override;
  bool fileExists(const std::string& path) override;
  std::optional<std::vector<std::string>> list(const std::string& directory) override;
  std::optional<std::string> read(const std::string& path) override;
  bool writeAtomically(const std::string& path, std::string_view bytes) override;
  std::optional<std::string> remove(const std::string& path) override;

  /// Make the operations of that name fail, or work again.
  void setListFails(bool fails) { listFails_ = fails; }
  void setReadFails(bool fails) { readFails_ = fails; }
  void setWriteFails(bool fails) { writeFails_ = fails; }
  void setRemoveFails(bool fails) { removeFails_ = fails; }

 private:
  const std::string root_;
  std::atomic<bool> listFails_ = false;
  std::atomic<bool> readFails_ = false;
  std::atomic<bool> writeFails_ = false;
  std::atomic<bool> removeFails_ = false;
  std::atomic<unsigned> temporaryFiles_ = 0;
};

}  // namespace lumora::testing
