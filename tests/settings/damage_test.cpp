#include <gmock/gmock.h>

#include <algorithm>
#include <functional>
#include <string>

#include "pattern.h"
#include "settings_fixture.h"
#include "tests/support/child.h"

namespace veltrane::sqlite {
namespace {

using veltrane::testing::Child;
namespace fs = std::filesystem;
using ::testing::AllOf;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::IsSupersetOf;
using ::testing::Not;
using ::testing::SizeIs;

class SettingsDamage : public SettingsTest {
 protected:
  // Several pages of values, so that there is a middle to damage.
  static void fill(KeyValueStore& store) {
    for (int i = 0; i < 8; ++i) {
      const auto key = "key" + std::to_string(i);
      store.set(key, pattern(key, 0));
    }
  }

  std::string fullFile() const {
    fill(*openStore());
    return readFile(file_);
  }

  void expectSetAsideOnce() {
    EXPECT_THAT(filesNamedLike("damaged"), ElementsAre("settings.db.damaged-1"));
    EXPECT_THAT(console_->take(),
                ElementsAre(AllOf(HasSubstr(file_.string()), HasSubstr("settings.db.damaged-1"),
                                  Not(HasSubstr("key0")))));
  }
};

using Damage = std::function<std::string(std::string)>;
const std::vector<std::pair<std::string, Damage>> kDamages = {
    {"no database", [](std::string) { return std::string(3000, 'x'); }},
    {"a word", [](std::string) { return std::string("xyz"); }},
    {"half of it",
     [](std::string bytes) { return bytes.substr(0, bytes.size() / 2 / 4096 * 4096); }},
    {"cut in the header", [](std::string bytes) { return bytes.substr(0, 60); }},
    {"cut in a page", [](std::string bytes) { return bytes.substr(0, bytes.size() / 2 + 777); }},
    {"no header", [](std::string bytes) { return bytes.replace(0, 100, 100, '\xa5'); }},
    {"garbage in the table's root",
     [](std::string bytes) { return bytes.replace(4096, 4096, 4096, '\xa5'); }},
    {"a page of zeros", [](std::string bytes) { return bytes.replace(4096, 4096, 4096, '\0'); }},
};

TEST_F(SettingsDamage, AFileFoundDamagedWhenOpenedIsSetAside) {
  const auto sound = fullFile();
  for (const auto& [name, damage] : kDamages) {
    SCOPED_TRACE(name);
    const auto damaged = damage(sound);
    writeFile(file_, damaged);
    const auto store = openStore();
    EXPECT_EQ(store->value("key0"), std::nullopt);
    store->set("key", "new");
    EXPECT_EQ(storedText("key"), "new");
    EXPECT_EQ(readFile(folder_ / "settings.db.damaged-1"), damaged) << "kept as it was found";
    expectSetAsideOnce();
    fs::remove(folder_ / "settings.db.damaged-1");
  }
}

TEST_F(SettingsDamage, DamageMetByALaterReadOrWriteIsMendedAndTheWriteDone) {
  const auto sound = fullFile();
  for (const auto& [name, damage] : kDamages) {
    for (const bool readFirst : {true, false}) {
      SCOPED_TRACE(name + (readFirst ? ", read" : ", written"));
      writeFile(file_, sound);
      const auto store = openStore();
      ASSERT_EQ(textIn(*store, "key0"), pattern("key0", 0));
      // The counter of changes differs too, as it would after another's write.
      auto damaged = damage(sound);
      if (damaged.size() > 28) damaged[27] = static_cast<char>(damaged[27] + 1);
      writeFile(file_, damaged);
      if (readFirst) {
        EXPECT_EQ(textIn(*store, "key7"), "-");
      }
      store->set("after", "new");
      EXPECT_EQ(textIn(*store, "after"), "new");
      EXPECT_EQ(storedText("after"), "new");
      expectSetAsideOnce();
      fs::remove(folder_ / "settings.db.damaged-1");
    }
  }
}

TEST_F(SettingsDamage, ALeftOverJournalDoesNotReachTheNewFile) {
  writeFile(file_, "damaged");
  writeFile(file_.string() + "-journal", std::string(9000, 'j'));
  openStore()->set("key", "new");
  EXPECT_EQ(storedText("key"), "new");
  EXPECT_THAT(filesNamedLike("journal"), IsEmpty());
}

TEST_F(SettingsDamage, ADatabaseOfAnotherShapeIsNoSettingsFile) {
  execute("CREATE TABLE settings(name TEXT, content TEXT); INSERT INTO settings VALUES('a', 'b')");
  const auto store = openStore();
  store->set("key", "new");
  EXPECT_EQ(storedText("key"), "new");
  expectSetAsideOnce();
}

TEST_F(SettingsDamage, AnEmptiedOrDeletedFileIsStartedAnew) {
  const auto store = openStore();
  for (const bool deleted : {true, false}) {
    fill(*store);
    deleted ? void(fs::remove(file_)) : fs::resize_file(file_, 0);
    EXPECT_EQ(textIn(*store, "key0"), "-");
    store->set("key", deleted ? "deleted" : "emptied");
    EXPECT_EQ(storedText("key"), deleted ? "deleted" : "emptied");
  }
}

TEST_F(SettingsDamage, ProcessesThatFindItAtOnceSetItAsideOnceAndLoseNothing) {
  for (int round = 0; round < 8; ++round) {
    SCOPED_TRACE(round);
    writeFile(file_, std::string(5000, 'x'));
    std::vector<std::unique_ptr<Child>> children;
    for (int c = 0; c < 4; ++c) {
      children.push_back(std::make_unique<Child>(
          SETTINGS_HELPER,
          std::vector<std::string>{file_.string(), "write", "c" + std::to_string(c) + "-", "4",
                                   std::to_string(round)}));
    }
    std::vector<std::string> acknowledged;
    for (auto& child : children) {
      for (auto& key : child->lines()) acknowledged.push_back(key);
      EXPECT_EQ(child->wait(), 0);
    }
    EXPECT_THAT(acknowledged, SizeIs(16));
    const auto store = openStore();
    for (const auto& key : acknowledged) EXPECT_EQ(textIn(*store, key), pattern(key, round));
    EXPECT_THAT(filesNamedLike("damaged"), SizeIs(round + 1)) << "one lay over another";
  }
}

TEST_F(SettingsDamage, AStoreThatIsOpenFollowsWhenAnotherProcessSetsItsFileAside) {
  const auto store = openStore();
  fill(*store);
  EXPECT_EQ(textIn(*store, "key0"), pattern("key0", 0));
  writeFile(file_, "no database any more");
  Child other(SETTINGS_HELPER, {file_.string(), "write", "other", "1", "0"});
  EXPECT_THAT(other.lines(), ElementsAre("other0"));
  EXPECT_EQ(textIn(*store, "other0"), pattern("other0", 0));
  store->set("mine", "kept");
  EXPECT_EQ(storedText("other0"), pattern("other0", 0));
  EXPECT_EQ(storedText("mine"), "kept");
  EXPECT_THAT(filesNamedLike("damaged"), SizeIs(1));
}

TEST_F(SettingsDamage, WhereNothingCanBeWrittenTheRunKeepsItsOwnValues) {
  writeFile(folder_ / "file", "");
  const auto store = open(folder_ / "file" / "settings.db");
  store->set("key", "for this run");
  store->set("flag", true);
  EXPECT_EQ(textIn(*store, "key"), "for this run");
  store->remove("key");
  EXPECT_EQ(store->value("key"), std::nullopt);
  EXPECT_EQ(store->value("flag"), SettingValue(true));
  EXPECT_THAT(console_->take(),
              ElementsAre(AllOf(HasSubstr("settings.db"), Not(HasSubstr("run\"")))));

  fs::remove(folder_ / "file");
  store->set("later", "written");
  EXPECT_EQ(textIn(*open(folder_ / "file" / "settings.db"), "later"), "written")
      << "tried again with each change";
}

TEST_F(SettingsDamage, AFolderThatIsNoFileIsLeftAlone) {
  fs::create_directory(file_);
  const auto store = openStore();
  store->set("key", "for this run");
  EXPECT_EQ(textIn(*store, "key"), "for this run");
  EXPECT_TRUE(fs::is_directory(file_));
  EXPECT_THAT(console_->take(), Not(IsEmpty()));
}

TEST_F(SettingsDamage, AFileThatMayOnlyBeReadIsRead) {
  openStore()->set("key", "there");
  fs::permissions(file_, fs::perms(0444));
  fs::permissions(folder_, fs::perms(0555));
  Child reader(SETTINGS_HELPER, {file_.string(), "as-nobody", "key"});
  EXPECT_THAT(reader.lines(), ElementsAre("kept")) << "its own value for its own run";
  EXPECT_EQ(reader.wait(), 0);
  fs::permissions(folder_, fs::perms(0755));
  EXPECT_EQ(storedText("key"), "there");
  EXPECT_THAT(filesNamedLike("damaged"), IsEmpty());
}

TEST_F(SettingsDamage, AFullDiskLeavesTheFileAsItWas) {
  const auto before = fullFile();
  Child limited(SETTINGS_HELPER, {file_.string(), "with-limit", "key", "4096"});
  EXPECT_THAT(limited.lines(), ElementsAre("kept"));
  EXPECT_EQ(limited.wait(), 0);
  EXPECT_EQ(storedText("key"), "-");
  EXPECT_EQ(storedText("key7"), pattern("key7", 0));
  EXPECT_THAT(filesNamedLike("damaged"), IsEmpty());
}

}  // namespace
}  // namespace veltrane::sqlite
