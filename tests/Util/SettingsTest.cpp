#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <stdexcept>
#include <tuple>

#include "lumora/Testing/FakePlatform.h"
#include "lumora/Util/LMRUtil.h"

namespace lumora::tests {
namespace {

using Lines = std::vector<std::string>;

constexpr long long greatest = std::numeric_limits<long long>::max();

/// An object of the given fields; without any, its archiving fails.
class Note : public Archivable {
 public:
  explicit Note(std::optional<Dictionary> fields) : fields_(std::move(fields)) {}
  void encodeWithCoder(Coder& coder) const override {
    if (!fields_) throw std::runtime_error("no archive of this");
    coder = *fields_;
  }

 private:
  std::optional<Dictionary> fields_;
};

class SettingsTest : public ::testing::Test {
 protected:
  testing::FakePlatform& host = testing::FakePlatform::install();
};

TEST_F(SettingsTest, readsConvertWhatIsStoredAndDefaultToNothing) {
  // clang-format off
  const std::tuple<Value, std::string, std::int64_t, bool> cases[] = {
      {{}, "", 0, false}, {"42 apples", "42 apples", 42, true}, {"YES", "YES", 0, true}, {-2.75, "-2.75", -2, true},
      {true, "1", 1, true}, {Data{0x31}, "", 0, false}};
  // clang-format on
  for (const auto& [stored, text, integer, boolean] : cases) {
    SCOPED_TRACE(stored.description());
    if (!stored.isNull()) host.settings.setObject("key", stored);
    EXPECT_EQ(LMRUtil::getStringForKey("key"), text);
    EXPECT_EQ(LMRUtil::getIntForkey("key"), integer);
    EXPECT_EQ(LMRUtil::getBoolForKey("key"), boolean);
  }
}

TEST_F(SettingsTest, everyWriteSurvivesTheEndOfTheProcess) {
  const std::function<void()> writes[] = {[] { LMRUtil::setObject("text", "object"); },
                                          [] { LMRUtil::setInt(greatest, "int"); },
                                          [] { LMRUtil::setBool(true, "bool"); }};
  for (const auto& write : writes) write(), host.settings.loseUnflushedChanges();
  EXPECT_EQ(host.settings.values(), (Dictionary{{"object", "text"}, {"int", greatest}, {"bool", true}}));
  EXPECT_TRUE(host.settings.object("bool").isBoolean());
}

TEST_F(SettingsTest, whatCannotBeStoredIsLoggedAndLeavesWhatIs) {
  const Note note(Dictionary{{"field", "kept"}});
  LMRUtil::setObject("kept", "object");
  LMRUtil::setDataObject(&note, "archive");

  LMRUtil::setObject({}, "object");
  LMRUtil::setObject(HUGE_VAL, "object");
  LMRUtil::setDataObject(nullptr, "archive");
  for (const Note& refused : {Note(Dictionary{{"field", HUGE_VAL}}), Note(std::nullopt)})
    LMRUtil::setDataObject(&refused, "archive");
  EXPECT_EQ(host.log.messages(),
            (Lines{"LumoraSDK-the value cannot be stored", "LumoraSDK-the object cannot be archived",
                   "LumoraSDK-no archive of this"}));
  host.settings.loseUnflushedChanges();
  EXPECT_EQ(LMRUtil::getStringForKey("object"), "kept");
  EXPECT_EQ(LMRUtil::getDataObjectForKey("archive"), (Coder{{"field", "kept"}}));
}

TEST_F(SettingsTest, anArchiveHoldsAnyBytesAndADamagedOneIsNone) {
  std::string bytes = "\xC3\xA4";
  for (int byte = 0; byte < 256; ++byte) bytes += static_cast<char>(byte);
  List damaged = {"{}", 1, Data{'[', ']'}, Dictionary{{"one", 1}}};
  for (const std::string& text : {bytes.substr(0, 2 + 0x80), bytes}) {
    const Coder fields{{"one", text}, {"two", 2.5}, {text, List{Value(), text, Dictionary{{text, text}}}}};
    const Note note(fields);
    LMRUtil::setDataObject(&note, "archive");
    ASSERT_EQ(LMRUtil::getDataObjectForKey("archive"), fields);
    const Data whole = *host.settings.object("archive").asData();
    for (std::size_t place = 0; place < whole.size(); place += 5) {
      damaged.emplace_back(Data(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(place)));
      Data altered = whole;
      altered[place] = 0xFF;
      damaged.emplace_back(std::move(altered));
    }
  }
  for (const Value& archive : damaged) {
    host.settings.setObject("archive", archive);
    EXPECT_FALSE(LMRUtil::getDataObjectForKey("archive")) << archive.description();
  }
}

}  // namespace
}  // namespace lumora::tests
