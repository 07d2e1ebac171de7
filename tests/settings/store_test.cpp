#include <gmock/gmock.h>
#include <sqlite3.h>
#include <sys/stat.h>

#include <cmath>
#include <cstdlib>
#include <limits>
#include <thread>

#include "settings_fixture.h"

namespace veltrane::sqlite {
namespace {

namespace fs = std::filesystem;
using ::testing::IsEmpty;

mode_t modeOf(const fs::path& path) {
  struct stat found {};
  EXPECT_EQ(::stat(path.c_str(), &found), 0) << path;
  return found.st_mode & 0777;
}

class SettingsStore : public SettingsTest {};

TEST_F(SettingsStore, KeepsEachTypeAsWrittenAcrossReopening) {
  const std::string bytes("a\0b\xff\xc3", 5);
  const std::vector<std::pair<std::string, SettingValue>> values = {
      {"text", "Grüße"},
      {"empty", ""},
      {"bytes", bytes},
      {"number", 0.1},
      {"whole", 120.0},
      {"minus zero", -0.0},
      {"infinite", std::numeric_limits<double>::infinity()},
      {"yes", true},
      {"no", false},
      {"theme", TextDictionary{{"background", "#fff"}, {"", ""}, {bytes, bytes}}},
      {"none", TextDictionary{}},
      {bytes, "a key of any bytes"},
  };
  const auto first = openStore();
  for (const auto& [key, value] : values) first->set(key, value);
  first->set("nan", std::nan(""));
  const auto second = openStore();
  for (const auto& [key, value] : values) {
    EXPECT_EQ(first->value(key), value) << key;
    EXPECT_EQ(second->value(key), value) << key;
  }
  EXPECT_TRUE(std::signbit(std::get<double>(*second->value("minus zero"))));
  EXPECT_TRUE(std::isnan(std::get<double>(*second->value("nan"))));
  EXPECT_EQ(second->value("absent"), std::nullopt);
}

TEST_F(SettingsStore, AKeyHasOneValueOfTheLastTypeForAllWhoHaveTheFileOpen) {
  const auto one = openStore();
  const auto other = openStore();
  const SettingValue values[] = {"1", 1.0, true, TextDictionary{{"1", "1"}}, "2"};
  for (int round = 0; round < 20; ++round) {
    for (const auto& value : values) {
      const auto& writer = round % 2 ? one : other;
      writer->set("key", value);
      EXPECT_EQ(one->value("key"), value);
      EXPECT_EQ(other->value("key"), value);
      EXPECT_EQ(openStore()->value("key"), value);
    }
  }
  one->remove("key");
  one->remove("never there");
  for (const auto& store : {one, other, openStore()}) EXPECT_EQ(store->value("key"), std::nullopt);
}

TEST_F(SettingsStore, RowsOfAnotherTypeReadAsNothingAndCanBeReplaced) {
  openStore()->set("text", "t");
  execute(
      "INSERT INTO settings VALUES('date', 'date', '2020-01-01'), ('blob', 'text', x'00'),"
      "('word', 'number', 'many'), ('maybe', 'flag', 'maybe'), ('half', 'dictionary', x'A16161'),"
      "('nontext', 'dictionary', x'A1616101'), ('list', 'dictionary', x'80'),"
      "('json', 'dictionary', '{}'), ('null', 'text', NULL)");
  const auto store = openStore();
  for (const char* key :
       {"date", "blob", "word", "maybe", "half", "nontext", "list", "json", "null"}) {
    EXPECT_EQ(store->value(key), std::nullopt) << key;
  }
  EXPECT_EQ(textIn(*store, "text"), "t");
  store->set("date", true);
  store->remove("half");
  EXPECT_EQ(openStore()->value("date"), SettingValue(true));
  execute("INSERT INTO settings VALUES('half', 'text', 'the removed row was really gone')");
  EXPECT_THAT(console_->take(), IsEmpty());
}

TEST_F(SettingsStore, IsReadableByItsOwnerOnlyWhateverTheMask) {
  for (const mode_t mask : {0, 022, 0777}) {
    const auto folder = folder_ / std::to_string(mask) / "deeper";
    const auto former = ::umask(0);
    if (mask != 0777) ::umask(mask);
    const auto store = open(folder / "settings.db");
    if (mask == 0777) ::umask(mask);
    store->set("key", "secret");
    ::umask(former);
    EXPECT_EQ(modeOf(folder), 0700);
    EXPECT_EQ(modeOf(folder.parent_path()), 0700);
    for (const auto& entry : fs::directory_iterator(folder)) {
      EXPECT_EQ(modeOf(entry.path()), 0600) << entry.path();
    }
    fs::permissions(folder / "settings.db", fs::perms(0644));
    EXPECT_EQ(textIn(*open(folder / "settings.db"), "key"), "secret");
    EXPECT_EQ(modeOf(folder / "settings.db"), 0600) << "others could read it";
  }
}

TEST_F(SettingsStore, ItsJournalIsReadableByTheOwnerOnly) {
  const auto former = ::umask(0);
  const auto store = openStore();
  store->set("key", "first");

  // A reader in the middle of its work holds the writer up while its journal is on disk.
  sqlite3* reader = nullptr;
  ASSERT_EQ(sqlite3_open(file_.c_str(), &reader), SQLITE_OK);
  ASSERT_EQ(sqlite3_exec(reader, "BEGIN; SELECT * FROM settings", nullptr, nullptr, nullptr),
            SQLITE_OK);
  std::thread writer([&] { store->set("key", "second"); });
  const fs::path journal = file_.string() + "-journal";
  while (!fs::exists(journal)) std::this_thread::yield();
  EXPECT_EQ(modeOf(journal), 0600);
  EXPECT_EQ(sqlite3_exec(reader, "COMMIT", nullptr, nullptr, nullptr), SQLITE_OK);
  writer.join();
  EXPECT_EQ(sqlite3_close(reader), SQLITE_OK);
  ::umask(former);
  EXPECT_EQ(storedText("key"), "second");
}

TEST_F(SettingsStore, ARemovedSecretIsNotLeftInTheFile) {
  const auto store = openStore();
  store->set("accessToken", "very-secret-token");
  ASSERT_NE(readFile(file_).find("very-secret-token"), std::string::npos);
  store->remove("accessToken");
  EXPECT_EQ(readFile(file_).find("very-secret-token"), std::string::npos);
}

TEST_F(SettingsStore, AnEqualValueCostsNoWrite) {
  const auto store = openStore();
  store->set("key", "same");
  const auto before = readFile(file_);
  store->set("key", "same");
  store->remove("absent");
  EXPECT_EQ(readFile(file_), before);
  openStore()->set("key", "other");
  store->set("key", "same");
  EXPECT_EQ(storedText("key"), "same") << "what another one wrote meanwhile counts";
}

TEST_F(SettingsStore, ManyThreadsReadAndWriteAtOnce) {
  constexpr int kThreads = 4;
  constexpr int kRounds = 25;
  const auto shared = openStore();
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&, t] {
      const auto own = t % 2 == 0 ? shared : openStore();
      const auto key = "thread" + std::to_string(t);
      for (int i = 0; i < kRounds; ++i) {
        own->set(key, static_cast<double>(i));
        EXPECT_EQ(own->value(key), SettingValue(static_cast<double>(i)));
        own->value("thread0");
        own->set("all", key);
        EXPECT_NE(textIn(*own, "all"), "-");
        if (i % 10 == 9) own->remove(key);
      }
    });
  }
  for (auto& thread : threads) thread.join();
  const auto after = openStore();
  for (int t = 0; t < kThreads; ++t) {
    EXPECT_EQ(after->value("thread" + std::to_string(t)), SettingValue(double{kRounds - 1}));
  }
  EXPECT_THAT(console_->take(), IsEmpty());
}

TEST(DefaultStoreFile, FollowsTheDataFolderOfTheUser) {
  const auto fileWith = [](const char* home, const char* data) {
    home ? ::setenv("HOME", home, 1) : ::unsetenv("HOME");
    data ? ::setenv("XDG_DATA_HOME", data, 1) : ::unsetenv("XDG_DATA_HOME");
    return defaultStoreFile();
  };
  const std::string home = std::getenv("HOME") ? std::getenv("HOME") : "/";
  EXPECT_EQ(fileWith("/home/somebody", "/data"), "/data/veltrane-flow/settings.db");
  for (const char* unusable : {static_cast<const char*>(nullptr), "", "relative/data"}) {
    EXPECT_EQ(fileWith("/home/somebody", unusable),
              "/home/somebody/.local/share/veltrane-flow/settings.db");
  }
  EXPECT_TRUE(fileWith(nullptr, nullptr).is_absolute());
  ::setenv("HOME", home.c_str(), 1);
}

}  // namespace
}  // namespace veltrane::sqlite
