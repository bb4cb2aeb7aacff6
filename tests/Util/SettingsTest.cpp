#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <stdexcept>
#include <string>

#include "lumora/Testing/FakePlatform.h"
#include "lumora/Util/LMRUtil.h"

namespace lumora::tests {
namespace {

using Lines = std::vector<std::string>;

class Note : public Archivable {
 public:
  explicit Note(Dictionary fields) : fields_(std::move(fields)) {}
  void encodeWithCoder(Coder& coder) const override { coder = fields_; }

 private:
  Dictionary fields_;
};

class Unarchivable : public Archivable {
 public:
  void encodeWithCoder(Coder&) const override { throw std::runtime_error("no archive of this"); }
};

class SettingsTest : public ::testing::Test {
 protected:
  testing::FakePlatform& host = testing::FakePlatform::install();
};

TEST_F(SettingsTest, readsConvertWhatIsStoredAndDefaultToNothing) {
  const struct {
    Value stored;
    std::string text;
    std::int64_t integer;
    bool boolean;
  } cases[] = {
      {{}, "", 0, false},
      {"", "", 0, false},
      {"some text", "some text", 0, false},
      {"42 apples", "42 apples", 42, true},
      {"YES", "YES", 0, true},
      {7, "7", 7, true},
      {-2.75, "-2.75", -2, true},
      {0, "0", 0, false},
      {Value(std::numeric_limits<long long>::min()), "-9223372036854775808",
       std::numeric_limits<std::int64_t>::min(), true},
      {true, "1", 1, true},
      {Data{0x31}, "", 0, false},
      {List{1}, "", 0, false},
      {dateFromSeconds(1), "", 0, false},
  };
  for (const auto& test : cases) {
    SCOPED_TRACE(test.stored.description());
    host.settings.clear();
    if (!test.stored.isNull()) host.settings.setObject("key", test.stored);
    EXPECT_EQ(LMRUtil::getStringForKey("key"), test.text);
    EXPECT_EQ(LMRUtil::getIntForkey("key"), test.integer);
    EXPECT_EQ(LMRUtil::getBoolForKey("key"), test.boolean);
  }
}

TEST_F(SettingsTest, everyWriteSurvivesTheEndOfTheProcess) {
  LMRUtil::setObject("text", "object");
  host.settings.loseUnflushedChanges();
  LMRUtil::setInt(std::numeric_limits<std::int64_t>::max(), "int");
  host.settings.loseUnflushedChanges();
  LMRUtil::setBool(true, "bool");
  host.settings.loseUnflushedChanges();
  const Note note(Dictionary{{"field", "value"}});
  LMRUtil::setDataObject(&note, "archive");
  host.settings.loseUnflushedChanges();

  EXPECT_EQ(LMRUtil::getStringForKey("object"), "text");
  EXPECT_EQ(LMRUtil::getIntForkey("int"), std::numeric_limits<std::int64_t>::max());
  EXPECT_TRUE(host.settings.object("bool").isBoolean());
  EXPECT_TRUE(LMRUtil::getBoolForKey("bool"));
  EXPECT_EQ(LMRUtil::getDataObjectForKey("archive"), (Coder{{"field", "value"}}));
}

TEST_F(SettingsTest, nullLeavesWhatIsStored) {
  LMRUtil::setObject("kept", "object");
  const Note note(Dictionary{{"field", "kept"}});
  LMRUtil::setDataObject(&note, "archive");
  const int flushes = host.settings.flushCount();

  LMRUtil::setObject({}, "object");
  LMRUtil::setDataObject(nullptr, "archive");

  EXPECT_EQ(LMRUtil::getStringForKey("object"), "kept");
  EXPECT_EQ(LMRUtil::getDataObjectForKey("archive"), (Coder{{"field", "kept"}}));
  EXPECT_EQ(host.settings.flushCount(), flushes);
}

TEST_F(SettingsTest, whatCannotBeStoredIsLoggedWithItsReason) {
  const double infinity = std::numeric_limits<double>::infinity();
  const Note note(Dictionary{{"field", "kept"}});
  LMRUtil::setObject("kept", "object");
  LMRUtil::setDataObject(&note, "archive");

  LMRUtil::setObject(infinity, "object");
  LMRUtil::setObject(Value(Value::Opaque{"Thing", "a thing"}), "object");
  const Note notFinite(Dictionary{{"field", infinity}});
  LMRUtil::setDataObject(&notFinite, "archive");
  const Unarchivable unarchivable;
  LMRUtil::setDataObject(&unarchivable, "archive");

  EXPECT_EQ(host.log.messages(),
            (Lines{"LumoraSDK-the value cannot be stored", "LumoraSDK-the value cannot be stored",
                   "LumoraSDK-the object cannot be archived", "LumoraSDK-no archive of this"}));
  EXPECT_EQ(LMRUtil::getStringForKey("object"), "kept");
  EXPECT_EQ(LMRUtil::getDataObjectForKey("archive"), (Coder{{"field", "kept"}}));
}

TEST_F(SettingsTest, anUnreadableArchiveIsNone) {
  const Coder fields{{"one", "text \xC3\xA4 '\"\n"}, {"two", 2.5}, {"three", Value()}};
  const Note note(fields);
  LMRUtil::setDataObject(&note, "archive");
  ASSERT_EQ(LMRUtil::getDataObjectForKey("archive"), fields);
  const Data whole = *host.settings.object("archive").asData();

  for (std::size_t size = 0; size < whole.size(); ++size) {
    host.settings.setObject("archive",
                            Data(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size)));
    EXPECT_FALSE(LMRUtil::getDataObjectForKey("archive")) << "cut after " << size << " bytes";
  }
  for (std::size_t place = 0; place < whole.size(); ++place) {
    Data altered = whole;
    altered[place] = 0xFF;
    host.settings.setObject("archive", altered);
    EXPECT_FALSE(LMRUtil::getDataObjectForKey("archive")) << "altered at " << place;
  }
  for (const Value& other : {Value("{}"), Value(1), Value(Data{'[', ']'}), Value(Dictionary{{"one", 1}})}) {
    host.settings.setObject("archive", other);
    EXPECT_FALSE(LMRUtil::getDataObjectForKey("archive")) << other.description();
  }
}

TEST_F(SettingsTest, withoutAStoreReadsGiveDefaultsAndWritesDoNothing) {
  const Note note(Dictionary{{"field", "value"}});
  host.settings.setAvailable(false);
  LMRUtil::setObject("text", "key");
  LMRUtil::setInt(3, "key");
  LMRUtil::setBool(true, "key");
  LMRUtil::setDataObject(&note, "key");

  EXPECT_EQ(LMRUtil::getStringForKey("key"), "");
  EXPECT_EQ(LMRUtil::getIntForkey("key"), 0);
  EXPECT_FALSE(LMRUtil::getBoolForKey("key"));
  EXPECT_FALSE(LMRUtil::getDataObjectForKey("key"));
  host.settings.setAvailable(true);
  EXPECT_TRUE(host.settings.values().empty());
}

}  // namespace
}  // namespace lumora::tests
