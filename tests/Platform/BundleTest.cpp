#include "lumora/Platform/Bundle.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "lumora/Platform/Linux/LinuxBundle.h"
#include "lumora/Testing/FakeBundle.h"
#include "tests/Support/TemporaryFolder.h"
#include "tests/Support/TestFiles.h"

namespace lumora::testing {
namespace {

class EmptyLayout : public LayoutResource {
 public:
  std::shared_ptr<ViewController> instantiateViewController(std::string_view) override { return nullptr; }
};

const auto kLayout = std::make_shared<EmptyLayout>();

/// Both hosts have the resource folder "LMRResources.bundle" with the layout "LMRInApp", and the file
/// "plain.txt".
class FakeHost {
 public:
  FakeHost() {
    bundle_.setInfoValue(kBundleVersionKey, "");
    bundle_.setInfoValue(kBundleShortVersionKey, std::nullopt);
    bundle_.setResource("LMRResources.bundle", "/resources/LMRResources.bundle");
    bundle_.setResource("plain.txt", "/resources/plain.txt");
    bundle_.setLayout("/resources/LMRResources.bundle", "LMRInApp", kLayout);
    bundle_.setLocalizedString("Yes", "Oui");
  }
  Bundle& bundle() { return bundle_; }
  std::string resources() const { return "/resources"; }

 private:
  FakeBundle bundle_;
};

class LinuxHost {
 public:
  LinuxHost() {
    std::filesystem::create_directory(folder_ / "LMRResources.bundle");
    writeFile(folder_ / "LMRResources.bundle/LMRInApp.html", "<html></html>");
    writeFile(folder_ / "plain.txt", "");
  }
  Bundle& bundle() { return bundle_; }
  std::string resources() const { return folder_.path(); }

 private:
  TemporaryFolder folder_;
  LinuxBundle bundle_{
      {{std::string(kBundleIdentifierKey), "com.example.host"}, {std::string(kBundleVersionKey), ""}},
      {{"Yes", "Oui"}},
      folder_.path(),
      [](const std::string&) { return kLayout; }};
};

template <typename Host>
class BundleTest : public ::testing::Test {
 protected:
  Host host;
  Bundle& bundle = host.bundle();
};

using Hosts = ::testing::Types<FakeHost, LinuxHost>;
TYPED_TEST_SUITE(BundleTest, Hosts);

TYPED_TEST(BundleTest, KnowsItsInformationEntries) {
  EXPECT_EQ(this->bundle.infoValue(kBundleIdentifierKey), "com.example.host");
  EXPECT_EQ(this->bundle.infoValue(kBundleVersionKey), "") << "an empty entry is an entry";
  EXPECT_EQ(this->bundle.infoValue(kBundleShortVersionKey), std::nullopt);
}

TYPED_TEST(BundleTest, FindsFilesAndFoldersAmongItsResources) {
  EXPECT_EQ(this->bundle.pathForResource("LMRResources", "bundle"),
            this->host.resources() + "/LMRResources.bundle");
  EXPECT_EQ(this->bundle.pathForResource("plain", "txt"), this->host.resources() + "/plain.txt");
  EXPECT_EQ(this->bundle.pathForResource("embedded", "mobileprovision"), std::nullopt);
}

TYPED_TEST(BundleTest, LoadsTheLayoutsThatAreThere) {
  const std::string path = this->host.resources() + "/LMRResources.bundle";
  EXPECT_EQ(this->bundle.loadLayout(path, "LMRInApp"), kLayout);
  EXPECT_EQ(this->bundle.loadLayout(path, "Other"), nullptr);
  EXPECT_EQ(this->bundle.loadLayout(this->host.resources(), "LMRInApp"), nullptr);
}

TYPED_TEST(BundleTest, GivesTheHostsWordingOrTheText) {
  EXPECT_EQ(this->bundle.localizedString("Yes"), "Oui");
  EXPECT_EQ(this->bundle.localizedString("No"), "No");
}

TEST(LinuxBundleTest, WithoutALoaderThereAreNoLayouts) {
  const TemporaryFolder folder;
  writeFile(folder / "LMRInApp.html", "");
  LinuxBundle bundle({}, {}, folder.path(), nullptr);
  EXPECT_EQ(bundle.loadLayout(folder.path(), "LMRInApp"), nullptr);
}

}  // namespace
}  // namespace lumora::testing
