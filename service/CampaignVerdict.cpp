// The library's own reading of a campaign, for the studio's editor.
#include "service/CampaignVerdict.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include "lumora/InApp/LMRInAppDescription.h"
#include "lumora/InApp/LMRInAppMessage.h"
#include "lumora/Platform/JSON.h"
#include "lumora/Platform/Linux/LinuxPlatform.h"
#include "lumora/Platform/Mutex.h"
#include "lumora/Platform/URL.h"
#include "service/Files.h"
#include "service/Pictures.h"

namespace lumora::service {
namespace {

namespace fs = std::filesystem;

/// Serves the pictures of the service's own addresses from the assets folder, and has no network.
class AssetLoader : public URLLoader {
 public:
  explicit AssetLoader(const CampaignVerdict::Options& options)
      : folder_(options.assetsDirectory), place_('.' + options.domain + "/assets/") {}

  URLResponse load(const URLRequest& request) override {
    const std::string name = assetNameOf(request.url);
    URLResponse response;
    if (!isPlainFileName(name)) {
      const Lock lock(mutex_);
      untried_.push_back(request.url);
      response.error =
          TransportError{std::string(kURLErrorDomain), kURLErrorNotConnectedToInternet, "not fetched"};
    } else if (auto bytes = pictureBytes(folder_ + '/' + name)) {
      response.statusCode = 200;
      response.body = std::move(*bytes);
    } else {
      response.statusCode = 404;
    }
    return response;
  }

  std::vector<std::string> takeUntried() {
    const Lock lock(mutex_);
    return std::exchange(untried_, {});
  }

 private:
  /// Empty when the picture lies elsewhere.
  std::string assetNameOf(const std::string& text) const {
    const auto url = URL::parse(text);
    const auto host = url ? url->host() : std::nullopt;
    const std::string start = "https://" + host.value_or("");
    const auto found = text.find(place_);
    if (!host || !text.starts_with(start) || found == std::string::npos || found >= start.size()) return {};
    const std::string name = text.substr(found + place_.size());
    return percentDecoded(name.substr(0, name.find_first_of("?#"))).value_or("");
  }

  const std::string folder_;
  /// What stands between an account's identifier and a picture's name.
  const std::string place_;
  Mutex mutex_;
  std::vector<std::string> untried_ LUMORA_GUARDED_BY(mutex_);
};

/// Keeps the lines until they are taken.
class LineCollector : public SystemLog {
 public:
  void write(std::string_view message) override {
    const Lock lock(mutex_);
    if (lines_.size() < kMostLines) lines_.emplace_back(message.substr(0, kLongestLine));
  }

  std::vector<std::string> take() {
    const Lock lock(mutex_);
    return std::exchange(lines_, {});
  }

 private:
  static constexpr std::size_t kMostLines = 100;
  static constexpr std::size_t kLongestLine = 2000;
  Mutex mutex_;
  std::vector<std::string> lines_ LUMORA_GUARDED_BY(mutex_);
};

LinuxPlatformOptions platformOptions(const std::string& directory) {
  LinuxPlatformOptions options;
  options.documentsDirectory = directory + "/Documents";
  options.cachesDirectory = directory + "/Caches";
  options.settingsFile = directory + "/settings.json";
  options.keychainFile = directory + "/keychain";
  options.resourcesDirectory = directory;
  return options;
}

/// The library with its surroundings. Never destroyed, as the library keeps them until the process ends.
struct Library {
  explicit Library(const CampaignVerdict::Options& options)
      : caches(options.directory + "/Caches"), linux(platformOptions(options.directory)), loader(options) {
    installPlatform(platformWith(linux.platform(), loader, log));
  }

  const std::string caches;
  LinuxPlatform linux;
  AssetLoader loader;
  LineCollector log;
};

Mutex libraryMutex;
Library* library LUMORA_GUARDED_BY(libraryMutex) = nullptr;

/// A picture of the same name may be another one now.
void forgetPictures(const std::string& folder) {
  std::error_code error;
  for (const auto& entry : fs::directory_iterator(folder, error)) fs::remove(entry.path(), error);
}

}  // namespace

void CampaignVerdict::prepare(const Options& options) {
  const Lock lock(libraryMutex);
  if (library != nullptr) return;
  std::error_code error;
  fs::remove_all(options.directory, error);
  fs::create_directories(options.directory + "/Documents", error);
  fs::create_directories(options.directory + "/Caches", error);
  library = std::make_unique<Library>(options).release();
}

JSON CampaignVerdict::of(const std::string& campaign) {
  const auto value = parseJSON(campaign);
  const Lock lock(libraryMutex);
  JSON verdict{{"kept", false}, {"lines", JSON::array()}, {"ended", false}, {"untried", JSON::array()}};
  if (!value || value->asDictionary() == nullptr) {
    verdict["lines"].push_back("The campaign is no JSON object.");
    return verdict;
  }
  forgetPictures(library->caches);
  library->log.take();
  const auto message = LMRInAppMessage::initWithDictionary(*value->asDictionary());
  verdict["kept"] = message != nullptr;
  verdict["lines"] = library->log.take();
  verdict["untried"] = library->loader.takeUntried();
  if (message == nullptr) return verdict;
  verdict["ended"] = !message->isValid();
  const auto description = writeJSON(describeInAppMessage(*message));
  if (description) verdict["description"] = withPictures(JSON::parse(*description), library->caches);
  return verdict;
}

}  // namespace lumora::service
