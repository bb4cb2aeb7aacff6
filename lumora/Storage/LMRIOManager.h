#pragma once

#include <optional>
#include <string>
#include <vector>

#include "lumora/Storage/LMRResource.h"

namespace lumora {

/// The cache of campaign images: one file per campaign and image URL, in the caches directory. A file's name,
/// `<campaign id>_<last component of the URL>`, is its whole record; a file that exists is never fetched
/// again. A name that would be too long for a file system holds hashes instead.
///
/// Any thread may call; a download blocks its caller. There is no lock: of two downloads of one file each
/// writes it whole. A campaign id or URL component that is no plain file name never reaches the file system.
class LMRIOManager {
 public:
  using Text = std::optional<std::string>;

  static LMRIOManager& sharedInstance();

  /// Whether the file is in the cache, already or after a download. `wasAborted` tells of one that is not
  /// whether that says nothing about the picture: transfers are refused, or this one was cut short.
  bool getFileFromServer(const Text& url, const Text& withId, bool* wasAborted = nullptr) const;
  /// The cached bytes, or else the downloaded ones.
  Text getFileFromLocal(const Text& url, const Text& withId) const;
  /// Downloads an image, whatever the cache holds; nothing when that gave no image or it cannot be written.
  Text saveFileFromServer(const Text& url, const Text& withId, bool* wasAborted = nullptr) const;
  bool isFileExists(const Text& url, const Text& withId) const;
  void deleteFile(const Text& url, const Text& withId) const;
  /// Removes every file of the resource's campaign.
  void clearFile(const LMRResource& resource) const;
  void clearFiles(const std::vector<std::string>& campaignIds) const;
  void cleanUp() const;

  /// Where the file is kept; nothing when its name is no plain file name.
  Text pathForFile(const Text& url, const Text& withId) const;

 private:
  LMRIOManager();

  void removeEntry(const std::string& name) const;

  const std::string cacheDir_;
};

}  // namespace lumora
