#include <gmock/gmock.h>
#include <sqlite3.h>
#include <sys/stat.h>

#include <cmath>
#include <cstdlib>
#include <limits>
#include <thread>

#include "settings_fixture.h"
#include "veltrane/flow/user_defaults_manager.h"

namespace veltrane::sqlite {
namespace {

namespace fs = std::filesystem;
using testing::IsEmpty;

mode_t modeOf(const fs::path& path) {
  struct stat found {};
  EXPECT_EQ(::stat(path.c_str(), &found), 0) << path;
  return found.st_mode & 0777;
}

class SettingsStore : public SettingsTest {};

TEST_F(SettingsStore, KeepsEachTypeAsWrittenAcrossReopening) {
  const std::string bytes("a\0b\xff\xc3", 5);
  const std::vector<std::pair<std::string, SettingValue>> values = {
      {"text", std::string("Grüße")},
      {"empty", std::string()},
      {"bytes", bytes},
      {"number", 0.1},
      {"whole", 120.0},
      {"minus zero", -0.0},
      {"infinite", std::numeric_limits<double>::infinity()},
      {"yes", true},
      {"no", false},
      {"theme", TextDictionary{{"background", "#fff"}, {"", ""}, {bytes, bytes}}},
      {"none", TextDictionary{}},
      {bytes, std::string("a key of any bytes")},
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

TEST_F(SettingsStore, AKeyHasOneValueOfTheLastType) {
  const auto store = openStore();
  const std::vector<SettingValue> values = {std::string("1"), 1.0, true, TextDictionary{{"1", "1"}},
                                            std::string("2")};
  for (const auto& value : values) {
    store->set("key", value);
    EXPECT_EQ(store->value("key"), value);
    EXPECT_EQ(openStore()->value("key"), value);
  }
  store->remove("key");
  store->remove("never there");
  EXPECT_EQ(store->value("key"), std::nullopt);
  EXPECT_EQ(openStore()->value("key"), std::nullopt);
}

TEST_F(SettingsStore, RowsOfAnotherTypeReadAsNothingAndCanBeReplaced) {
  openStore()->set("text", std::string("t"));
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

TEST_F(SettingsStore, SessionSettingsFallBackToTheirDefaults) {
  Platform platform;
  platform.settings = openStore();
  platform.console = console_;
  const PlatformScope scope(std::move(platform));
  EXPECT_EQ(UserDefaultsManager::getTimeout(), 120.0);
  EXPECT_FALSE(UserDefaultsManager::getIsSandbox());
  EXPECT_EQ(UserDefaultsManager::getApiKey(), std::nullopt);
  EXPECT_EQ(UserDefaultsManager::getUITheme(), std::nullopt);

  UserDefaultsManager::saveTimeout(-3.5);
  UserDefaultsManager::saveIsSandbox(true);
  UserDefaultsManager::saveApiKey("key");
  UserDefaultsManager::saveUITheme({{"labelTextColor", "#010203"}});
  EXPECT_EQ(UserDefaultsManager::getTimeout(), -3.5);
  EXPECT_TRUE(UserDefaultsManager::getIsSandbox());
  EXPECT_EQ(UserDefaultsManager::getApiKey(), "key");
  EXPECT_EQ(UserDefaultsManager::getUITheme(), (TextDictionary{{"labelTextColor", "#010203"}}));

  // Another program's hand: each of another type than asked for.
  execute("UPDATE settings SET type = 'text', value = '60'");
  EXPECT_EQ(UserDefaultsManager::getTimeout(), 120.0);
  EXPECT_FALSE(UserDefaultsManager::getIsSandbox());
  EXPECT_EQ(UserDefaultsManager::getUITheme(), std::nullopt);
  execute("UPDATE settings SET type = 'dictionary', value = x'A1616101'");
  EXPECT_EQ(UserDefaultsManager::getUITheme(), std::nullopt) << "an entry that is no text";
  EXPECT_EQ(UserDefaultsManager::getApiKey(), std::nullopt);
}

TEST_F(SettingsStore, IsReadableByItsOwnerOnlyWhateverTheMask) {
  for (const mode_t mask : {0, 022, 0777}) {
    const auto folder = folder_ / std::to_string(mask) / "deeper";
    const auto former = ::umask(0);
    if (mask != 0777) ::umask(mask);
    const auto store = open(folder / "settings.db");
    if (mask == 0777) ::umask(mask);
    store->set("key", std::string("secret"));
    ::umask(former);
    EXPECT_EQ(modeOf(folder), 0700);
    EXPECT_EQ(modeOf(folder.parent_path()), 0700);
    for (const auto& entry : fs::directory_iterator(folder)) {
      EXPECT_EQ(modeOf(entry.path()), 0600) << entry.path();
    }
    EXPECT_EQ(textIn(*open(folder / "settings.db"), "key"), "secret");
  }
}

TEST_F(SettingsStore, TightensAFileThatOthersCouldRead) {
  openStore()->set("key", std::string("secret"));
  fs::permissions(file_, fs::perms(0644));
  EXPECT_EQ(storedText("key"), "secret");
  EXPECT_EQ(modeOf(file_), 0600);
}

TEST_F(SettingsStore, ItsJournalIsReadableByTheOwnerOnly) {
  const auto former = ::umask(0);
  const auto store = openStore();
  store->set("key", std::string("first"));

  // A reader in the middle of its work holds the writer up while its journal is on disk.
  sqlite3* reader = nullptr;
  ASSERT_EQ(sqlite3_open(file_.c_str(), &reader), SQLITE_OK);
  ASSERT_EQ(sqlite3_exec(reader, "BEGIN; SELECT * FROM settings", nullptr, nullptr, nullptr),
            SQLITE_OK);
  std::thread writer([&] { store->set("key", std::string("second")); });
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
  store->set("accessToken", std::string("very-secret-token"));
  ASSERT_NE(readFile(file_).find("very-secret-token"), std::string::npos);
  store->remove("accessToken");
  EXPECT_EQ(readFile(file_).find("very-secret-token"), std::string::npos);
}

TEST_F(SettingsStore, SeesWhatAnotherOneWroteAtOnce) {
  const auto one = openStore();
  const auto other = openStore();
  for (int i = 0; i < 50; ++i) {
    one->set("key", static_cast<double>(i));
    ASSERT_EQ(other->value("key"), SettingValue(static_cast<double>(i)));
    other->set("key", std::to_string(i));
    ASSERT_EQ(textIn(*one, "key"), std::to_string(i));
  }
  other->remove("key");
  EXPECT_EQ(one->value("key"), std::nullopt);
}

TEST_F(SettingsStore, AnEqualValueCostsNoWrite) {
  const auto store = openStore();
  store->set("key", std::string("same"));
  const auto before = readFile(file_);
  store->set("key", std::string("same"));
  store->remove("absent");
  EXPECT_EQ(readFile(file_), before);
  openStore()->set("key", std::string("other"));
  store->set("key", std::string("same"));
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

class Environment {
 public:
  Environment(const char* name, const char* value) : name_(name) {
    if (const char* former = std::getenv(name)) former_ = former;
    value != nullptr ? ::setenv(name, value, 1) : ::unsetenv(name);
  }
  ~Environment() { former_ ? ::setenv(name_, former_->c_str(), 1) : ::unsetenv(name_); }
  Environment(const Environment&) = delete;
  Environment& operator=(const Environment&) = delete;

 private:
  const char* name_;
  std::optional<std::string> former_;
};

TEST(DefaultStoreFile, FollowsTheDataFolderOfTheUser) {
  const Environment home("HOME", "/home/somebody");
  {
    const Environment data("XDG_DATA_HOME", "/data");
    EXPECT_EQ(defaultStoreFile(), "/data/veltrane-flow/settings.db");
  }
  for (const char* unusable : {static_cast<const char*>(nullptr), "", "relative/data"}) {
    const Environment data("XDG_DATA_HOME", unusable);
    EXPECT_EQ(defaultStoreFile(), "/home/somebody/.local/share/veltrane-flow/settings.db");
  }
  const Environment none("HOME", nullptr);
  const Environment data("XDG_DATA_HOME", nullptr);
  EXPECT_TRUE(defaultStoreFile().is_absolute());
}

}  // namespace
}  // namespace veltrane::sqlite
