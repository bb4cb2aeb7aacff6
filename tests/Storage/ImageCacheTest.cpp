#include <gtest/gtest.h>

#include <tuple>

#include "lumora/Storage/LMRIOManager.h"
#include "lumora/Testing/FakePlatform.h"
#include "tests/Support/TestFiles.h"

namespace lumora::tests {
namespace {

using Texts = std::vector<std::string>;

class ImageCacheTest : public ::testing::Test {
 protected:
  Texts files() { return lumora::testing::namesIn(host.files.cachesDirectory()); }

  testing::FakePlatform& host = testing::FakePlatform::install();
  const LMRIOManager& cache = LMRIOManager::sharedInstance();
};

/// Each row finds the files of the rows above. The line is the last one; without a download there is none.
TEST_F(ImageCacheTest, FileNamesDownloadsAndAFullDisk) {
  const std::tuple<std::string, const char*, std::string, std::string> cases[] = {
      {"h://i/b.png", "12", std::string(1536, 'i'), "Dowloaded resource from: h://i/b.png of size : 1.50 KB"},
      {"h://other/x/b.png", "12", "new", ""},
      {"h://i/b.png", "7", "i", "Dowloaded resource from: h://i/b.png of size : 0.00 KB"},
      {"h://i/", "7", "i", "Dowloaded resource from: h://i/ of size : 0.00 KB"},
      {"h://i/a%2F?b=c#d", "7", "i", "Dowloaded resource from: h://i/a%2F?b=c#d of size : 0.00 KB"},
      {"h://i/p", "7", "<html>", "Dowloading failed for resource : h://i/p"},
      {"h://i/p", "7", "broken", "Dowloading failed for resource : h://i/p"},
      {"h://i/p", "7", "full disk", "Dowloading failed for resource : h://i/p"},
  };
  host.imageDecoder.setPredicate([](std::string_view bytes) { return bytes != "<html>"; });
  for (const auto& [url, id, body, line] : cases) {
    host.log.clear();
    URLResponse answer{404, {}, body, {}};
    if (body == "broken") answer.error = TransportError();
    host.files.setWriteFails(body == "full disk");
    host.urlLoader.setHandler([answer](const URLRequest&) { return answer; });
    EXPECT_EQ(cache.getFileFromServer(url, id), !line.starts_with("Dowloading failed")) << url << id;
    const Texts lines = host.log.messages();
    EXPECT_EQ(lines.empty() ? "" : lines.back(), line.empty() ? "" : "LumoraSDK-" + line) << url << id;
  }
  EXPECT_EQ(cache.getFileFromLocal("h://i/b.png", "7"), "i");
  EXPECT_EQ(cache.getFileFromLocal("h://i/p", "7"), std::nullopt);
  EXPECT_EQ(host.urlLoader.requests().back().maximumRedirects, 5);
  EXPECT_EQ(host.urlLoader.requests().back().longestTransfer, std::chrono::minutes(5));
  EXPECT_EQ(files(), (Texts{"12_b.png", "7_", "7_a%2F?b=c#d", "7_b.png"}));
}

TEST_F(ImageCacheTest, BadNamesReachNeitherNetworkNorFiles) {
  const std::string nul("n\0l", 3);
  const std::pair<LMRIOManager::Text, LMRIOManager::Text> cases[] = {
      {"u", "../x"},     {"u", "a/b"},     {"u", ".."}, {"u", "."},   {"u", nul}, {"u", std::nullopt},
      {"s://h/..", "7"}, {"s://h/.", "7"}, {nul, "7"},  {"a b", "7"}, {"", "7"},  {std::nullopt, "7"},
  };
  for (const auto& [url, id] : cases)
    EXPECT_FALSE(cache.getFileFromServer(url, id)) << url.value_or("nil") << id.value_or("nil");
  EXPECT_EQ(host.log.messages().size() + host.urlLoader.requests().size(), 0U);
}

TEST_F(ImageCacheTest, RemovesTheFilesOfOneCampaign) {
  const std::string folder = host.files.cachesDirectory() + "/";
  for (const char* name : {"12_a", "12_b_c", "123_a", "1_2", "12"})
    host.files.writeAtomically(folder + name, "x");
  host.urlLoader.setHandler([](const URLRequest&) { return URLResponse{200, {}, "image", {}}; });
  const std::string longId(200, 'i'), longerId(300, 'i'), longUrl = "h://i/" + std::string(300, 'u');
  for (const std::string& id : {std::string("12"), longId, longerId})
    for (const char* tail : {"", "v"}) EXPECT_TRUE(cache.getFileFromServer(longUrl + tail, id)) << id;
  const std::string longest = "_" + std::string(254, 'u');
  EXPECT_TRUE(cache.getFileFromServer("h://i/" + longest.substr(1), ""));
  EXPECT_TRUE(host.files.fileExists(folder + longest)) << "255 bytes are not too many";
  EXPECT_EQ(files().size(), 12U);
  cache.clearFiles({"12", "../Caches/1", "", longId});
  EXPECT_EQ(files().size(), 5U);
  cache.clearFiles({longerId});
  EXPECT_EQ(files(), (Texts{"12", "123_a", "1_2"}));
}

}  // namespace
}  // namespace lumora::tests
