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
TEST_F(ImageCacheTest, FileNamesAndDownloads) {
  const std::tuple<std::string, const char*, std::string, std::string> cases[] = {
      {"h://i/b.png", "12", std::string(1536, 'i'), "Dowloaded resource from: h://i/b.png of size : 1.50 KB"},
      {"h://i/b.png", "12", "new", ""},
      {"h://other/x/b.png", "12", "new", ""},
      {"h://i/b.png", "7", "i", "Dowloaded resource from: h://i/b.png of size : 0.00 KB"},
      {"h://i/", "7", "i", "Dowloaded resource from: h://i/ of size : 0.00 KB"},
      {"h://i/a%2F?b=c#d", "7", "i", "Dowloaded resource from: h://i/a%2F?b=c#d of size : 0.00 KB"},
      {"h://i/p", "7", "<html>", "Dowloading failed for resource : h://i/p"},
      {"h://i/p", "7", "broken", "Dowloading failed for resource : h://i/p"},
  };
  host.imageDecoder.setPredicate([](std::string_view bytes) { return bytes != "<html>"; });
  for (const auto& [url, id, body, line] : cases) {
    host.log.clear();
    const auto error = body == "broken" ? std::optional(TransportError()) : std::nullopt;
    host.urlLoader.setHandler([&](const URLRequest&) { return URLResponse{404, {}, body, error}; });
    EXPECT_EQ(cache.getFileFromServer(url, id), !line.starts_with("Dowloading failed")) << url << id;
    EXPECT_EQ(host.log.messages().empty() ? "" : host.log.messages().back(),
              line.empty() ? "" : "LumoraSDK-" + line);
  }
  EXPECT_EQ(files(), (Texts{"12_b.png", "7_", "7_a%2F?b=c#d", "7_b.png"}));
}

TEST_F(ImageCacheTest, FullDisk) {
  host.files.setWriteFails(true);
  host.urlLoader.setHandler([](const URLRequest&) { return URLResponse{200, {}, "image", {}}; });
  EXPECT_TRUE(cache.getFileFromServer("u", "1"));
  EXPECT_EQ(cache.getFileFromLocal("u", "1"), "image");
  EXPECT_EQ(host.log.count("LumoraSDK-Dowloaded resource from: u of size : 0.00 KB"), 2U);
  EXPECT_EQ(host.urlLoader.requests().back().maximumRedirects, 5);
}

TEST_F(ImageCacheTest, BadNamesReachNeitherNetworkNorFiles) {
  const std::string nul("n\0l", 3);
  const std::pair<LMRIOManager::Text, LMRIOManager::Text> cases[] = {
      {"u", "../x"},     {"u", "a/b"},     {"u", ".."}, {"u", "."},   {"u", nul}, {"u", std::nullopt},
      {"s://h/..", "7"}, {"s://h/.", "7"}, {nul, "7"},  {"a b", "7"}, {"", "7"},  {std::nullopt, "7"},
  };
  for (const auto& [url, id] : cases) {
    EXPECT_FALSE(cache.getFileFromServer(url, id)) << url.value_or("nil") << id.value_or("nil");
  }
  EXPECT_EQ(host.log.messages(), Texts());
  EXPECT_EQ(host.urlLoader.requests().size(), 0U);
}

TEST_F(ImageCacheTest, RemovesTheFilesOfOneCampaignOrAll) {
  const std::string folder = host.files.cachesDirectory() + "/";
  for (const char* name : {"12_a", "12_b_c", "123_a", "1_2", "12"})
    host.files.writeAtomically(folder + name, "x");
  cache.clearFiles({"12", "../Caches/1", ""});
  EXPECT_EQ(files(), (Texts{"12", "123_a", "1_2"}));
  for (int i = 0; i < 2; ++i) cache.deleteFile("a", "123");
  host.files.setRemoveFails(true);
  cache.clearFiles({"1"});
  const std::string lines[] = {"Successfully removed : " + folder + "123_a",
                               "Could not delete file : no such file ", "Could not delete file : 1_2"};
  for (const std::string& line : lines) EXPECT_EQ(host.log.count("LumoraSDK-" + line), 1U) << line;
  host.files.setRemoveFails(false);
  cache.cleanUp();
  EXPECT_EQ(files(), Texts());
}

}  // namespace
}  // namespace lumora::tests
