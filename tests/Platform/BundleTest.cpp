#include "lumora/Platform/Bundle.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "lumora/Platform/Linux/LinuxBundle.h"
#include "tests/Support/TemporaryFolder.h"
#include "tests/Support/TestFiles.h"

namespace lumora::testing {
namespace {

struct EmptyLayout : LayoutResource {
  std::shared_ptr<ViewController> instantiateViewController(std::string_view) override { return nullptr; }
};

TEST(LinuxBundleTest, FindsResourcesAndLoadsTheLayoutsThatAreThere) {
  const TemporaryFolder folder;
  const std::string resources = folder / "LMRResources.bundle";
  std::filesystem::create_directory(resources);
  writeFile(resources + "/LMRInApp.html", "<html></html>");
  writeFile(folder / "plain.txt", "");
  const auto layout = std::make_shared<EmptyLayout>();
  LinuxBundle bundle({}, {}, folder.path(), [&](const std::string&) { return layout; });
  EXPECT_EQ(bundle.pathForResource("LMRResources", "bundle"), resources);
  EXPECT_EQ(bundle.pathForResource("plain", "txt"), folder / "plain.txt");
  EXPECT_EQ(bundle.pathForResource("embedded", "mobileprovision"), std::nullopt);
  EXPECT_EQ(bundle.loadLayout(resources, "LMRInApp"), layout);
  EXPECT_EQ(bundle.loadLayout(resources, "Other"), nullptr);
  EXPECT_EQ(LinuxBundle({}, {}, folder.path(), nullptr).loadLayout(resources, "LMRInApp"), nullptr);
}

}  // namespace
}  // namespace lumora::testing
