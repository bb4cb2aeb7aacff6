// The cache of campaign pictures: names, downloads, removal. Which pictures there are is CampaignLayout's to
// say, when they are fetched CampaignPictures', and whether bytes are a picture the platform's
// ImageDecoder's.
#include "lumora/Storage/LMRIOManager.h"

#include <cstddef>
#include <cstdint>

#include "lumora/Storage/LMRDataManager.h"
#include "lumora/Util/CallGate.h"
#include "lumora/Util/Log.h"

namespace lumora {
namespace {

constexpr int maximumRedirects = 5;
/// In bytes, as every common file system takes them.
constexpr std::size_t longestFileName = 255;
/// A campaign id is left as it is in a name that must be shortened, unless it alone leaves no room.
constexpr std::size_t longestIdInShortName = 128;

bool isPlainFileName(const std::string& name) {
  return name.find('/') == std::string::npos && name.find('\0') == std::string::npos && name != "." &&
         name != "..";
}

/// Stands for a text that is too long: 16 digits that are the same in every run (FNV-1a).
std::string hashOf(const std::string& text) {
  std::uint64_t hash = 0xCBF29CE484222325;
  for (const char c : text) hash = (hash ^ static_cast<unsigned char>(c)) * 0x100000001B3;
  return fmt::format("{:016x}", hash);
}

std::string shortIdOf(const std::string& id) {
  return id.size() > longestIdInShortName ? hashOf(id) : id;
}

std::string fileName(const std::string& id, const std::string& component) {
  std::string name = id + "_" + component;
  return name.size() <= longestFileName ? name : shortIdOf(id) + "_" + hashOf(component);
}

URLResponse download(const std::string& url) {
  URLRequest request;
  request.url = url;
  request.maximumRedirects = maximumRedirects;
  // A server that trickles must not hold the queue for ever.
  request.longestTransfer = std::chrono::minutes(5);
  return platform().urlLoader.load(request);
}

bool isAborted(const URLResponse& response) {
  return response.error && response.error->domain == kURLErrorDomain &&
         response.error->code == kURLErrorCancelled;
}

}  // namespace

LMRIOManager& LMRIOManager::sharedInstance() {
  static auto* const instance = new LMRIOManager;
  return *instance;
}

LMRIOManager::LMRIOManager() : cacheDir_(platform().files.cachesDirectory()) {}

LMRIOManager::Text LMRIOManager::pathForFile(const Text& url, const Text& withId) const {
  if (!url || !withId) return std::nullopt;
  const std::string component = url->substr(url->rfind('/') + 1);
  if (!isPlainFileName(*withId) || !isPlainFileName(component)) return std::nullopt;
  return cacheDir_ + "/" + fileName(*withId, component);
}

bool LMRIOManager::getFileFromServer(const Text& url, const Text& withId, bool* wasAborted) const {
  return isFileExists(url, withId) || saveFileFromServer(url, withId, wasAborted).has_value();
}

LMRIOManager::Text LMRIOManager::getFileFromLocal(const Text& url, const Text& withId) const {
  if (!isFileExists(url, withId)) return saveFileFromServer(url, withId);
  return platform().files.read(*pathForFile(url, withId));
}

LMRIOManager::Text LMRIOManager::saveFileFromServer(const Text& url, const Text& withId,
                                                    bool* wasAborted) const {
  const Text path = pathForFile(url, withId);
  const bool isAllowed = CallGate::isOpen();
  if (wasAborted) *wasAborted = !isAllowed;
  if (!path || !URL::parse(*url) || !isAllowed) return std::nullopt;
  LMRDataManager::sharedInstance().storeWaiting();  // A download may take minutes.
  logLine("LumoraSDK-Dowloading resource from: {}", *url);
  // Looked at before it is kept: what lies in the cache is never fetched again.
  URLResponse response = download(*url);
  const bool isStillAllowed = CallGate::isOpen();
  if (wasAborted) *wasAborted = !isStillAllowed || isAborted(response);
  if (!isStillAllowed) return std::nullopt;
  std::string bytes = response.error ? std::string() : std::move(response.body);
  if (!platform().imageDecoder.isImage(bytes) || !platform().files.writeAtomically(*path, bytes)) {
    logLine("LumoraSDK-Dowloading failed for resource : {}", *url);
    return std::nullopt;
  }
  logLine("LumoraSDK-Dowloaded resource from: {} of size : {:.2f} KB", *url,
          static_cast<float>(bytes.size()) / 1024);
  return bytes;
}

bool LMRIOManager::isFileExists(const Text& url, const Text& withId) const {
  const Text path = pathForFile(url, withId);
  return path && platform().files.fileExists(*path);
}

void LMRIOManager::deleteFile(const Text& url, const Text& withId) const {
  const Text path = pathForFile(url, withId);
  if (!path) return;
  if (const auto failure = platform().files.remove(*path)) {
    logLine("LumoraSDK-Could not delete file : {} ", *failure);
  } else {
    logLine("LumoraSDK-Successfully removed : {}", *path);
  }
}

void LMRIOManager::clearFile(const LMRResource& resource) const {
  const auto names = platform().files.list(cacheDir_);
  if (!names || !resource.campaignId) return;
  const std::string& id = *resource.campaignId;
  for (const std::string& name : *names) {
    const auto end = name.find('_');
    if (end == std::string::npos) continue;
    // Up to the first underscore: an id that holds one finds its files here only where the name has its hash.
    const std::string owner = name.substr(0, end);
    if (owner == id || owner == shortIdOf(id)) removeEntry(name);
  }
}

void LMRIOManager::clearFiles(const std::vector<std::string>& campaignIds) const {
  for (const std::string& campaignId : campaignIds) {
    LMRResource resource;
    resource.campaignId = campaignId;
    clearFile(resource);
  }
}

void LMRIOManager::cleanUp() const {
  const auto names = platform().files.list(cacheDir_);
  if (!names) return;
  for (const std::string& name : *names) removeEntry(name);
}

void LMRIOManager::removeEntry(const std::string& name) const {
  if (platform().files.remove(cacheDir_ + "/" + name)) logLine("LumoraSDK-Could not delete file : {}", name);
}

}  // namespace lumora
