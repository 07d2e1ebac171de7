// The file: who may read it, what a copy of it is worth, and what becomes of a damaged one.
#include <gmock/gmock.h>
#include <sqlite3.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <fstream>

#include "platform/authenticator/authenticator_data.h"
#include "platform/authenticator/software_key_keeper.h"
#include "tests/authenticator/authenticator_test.h"
#include "veltrane/base/base64.h"

namespace veltrane::authenticator::testing {
namespace {

namespace fs = std::filesystem;
using ::testing::AllOf;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::SizeIs;

using Store = AuthenticatorTest;

mode_t modeOf(const fs::path& path) {
  struct stat found {};
  ::stat(path.c_str(), &found);
  return found.st_mode & 0777;
}

/// By another hand, while no authenticator is at the file.
void execute(const fs::path& file, const char* sql) {
  sqlite3* db = nullptr;
  sqlite3_open(file.c_str(), &db);
  ASSERT_EQ(sqlite3_exec(db, sql, nullptr, nullptr, nullptr), SQLITE_OK) << sqlite3_errmsg(db);
  sqlite3_close(db);
}

void overwrite(const fs::path& file, const std::string& bytes) {
  std::ofstream(file, std::ios::binary | std::ios::trunc) << bytes;
}

TEST_F(Store, IsItsOwnersAlone) {
  const mode_t former = ::umask(0);
  valueOf(device_.make(makeRequest()));
  EXPECT_EQ(modeOf(file_.parent_path()), 0700);
  for (const auto& entry : fs::directory_iterator(file_.parent_path())) {
    EXPECT_EQ(modeOf(entry), 0600) << entry;
  }
  fs::permissions(file_, fs::perms(0644));
  valueOf(remove(file_, "x"));
  EXPECT_EQ(modeOf(file_), 0600);
  ::umask(former);
}

TEST_F(Store, IsNotMadeByLooking) {
  EXPECT_EQ(device_.authenticator().holds("example.com", {}), false);
  EXPECT_THAT(stored(), IsEmpty());
  EXPECT_EQ(valueOf(remove(file_, "x")), false);
  EXPECT_EQ(valueOf(reset(file_)), 0);
  EXPECT_EQ(errorOf(device_.get(getRequest())).failure, PasskeyFailure::noneFound);
  EXPECT_FALSE(fs::exists(file_.parent_path()));
}

TEST_F(Store, ListsAndRemoves) {
  const auto alice = valueOf(device_.make(makeRequest("u1", "alice@example.com")));
  valueOf(device_.make(makeRequest("u2", "bob@example.com")));
  device_.restart();
  execute(file_, "VACUUM");  // puts the tables in another order
  const auto entries = stored();
  ASSERT_THAT(entries, SizeIs(2));
  const auto& entry = entries[entries[0].id == alice.id ? 0 : 1];
  EXPECT_EQ(entry.rpId, "example.com");
  EXPECT_EQ(entry.userName, "alice@example.com");
  EXPECT_EQ(entry.keeper, "machine");
  EXPECT_EQ(entry.algorithm, cose::kES256);
  EXPECT_TRUE(entry.isDiscoverable);
  EXPECT_TRUE(valueOf(remove(file_, alice.id)));
  EXPECT_FALSE(valueOf(remove(file_, alice.id)));
  EXPECT_EQ(errorOf(device_.get(getRequest({alice.id}))).failure, PasskeyFailure::noneFound);
  EXPECT_THAT(everything(), Not(HasSubstr("alice@")));
}

TEST_F(Store, ACopyIsWorthNothingWithAnotherWrappingKey) {
  const auto made = valueOf(device_.make(makeRequest()));
  TestDevice thief(file_, {keeperOf('x')});
  const TestPlatform platform(thief, console_);
  const auto error = errorOf(thief.get(getRequest({made.id})));
  EXPECT_EQ(error.failure, PasskeyFailure::failed);
  EXPECT_THAT(error.cause, HasSubstr("another wrapping key"));
}

// Nor does a row lend its key to another, whoever has the wrapping key.
TEST_F(Store, ASealedKeyIsBoundToItsRow) {
  valueOf(device_.make(makeRequest("u1")));
  valueOf(device_.make(makeRequest("u2")));
  device_.restart();
  execute(
      file_,
      "UPDATE credentials SET sealed = (SELECT sealed FROM credentials WHERE userId = x'7531')");
  device_.person.account = 0;
  const bool first = std::holds_alternative<Assertion>(device_.get(getRequest()));
  device_.person.account = 1;
  const bool second = std::holds_alternative<Assertion>(device_.get(getRequest()));
  EXPECT_NE(first, second);
  device_.restart();
  execute(file_, "UPDATE credentials SET rpId = 'example.net'");
  auto elsewhere = getRequest();
  elsewhere.rpId = "example.net";
  EXPECT_EQ(errorOf(device_.get(elsewhere)).failure, PasskeyFailure::failed);
}

TEST_F(Store, ADamagedOneIsSetAsideWithAnErrorAndANewOneBegins) {
  valueOf(device_.make(makeRequest("u1", "alice@example.com")));
  const std::string sound = readFile(file_);
  std::string garbled = sound;
  garbled.replace(4096, 2 * 4096, 2 * 4096, '\xa5');
  std::string headless = sound;
  headless.replace(0, 16, 16, '\0');
  const std::string damages[] = {headless, garbled, sound.substr(0, 5000)};
  int number = 0;
  for (const auto& damage : damages) {
    device_.restart();
    overwrite(file_, damage);
    const auto error = errorOf(device_.get(getRequest()));
    const auto name = "passkeys.db.damaged-" + std::to_string(++number);
    EXPECT_EQ(error.failure, PasskeyFailure::failed);
    EXPECT_THAT(error.cause, HasSubstr(name));
    EXPECT_EQ(readFile(file_.parent_path() / name), damage);
    EXPECT_THAT(console_->take(), ElementsAre(AllOf(HasSubstr(name), Not(HasSubstr("alice")))));
    EXPECT_EQ(errorOf(device_.get(getRequest())).failure, PasskeyFailure::noneFound);
    valueOf(device_.make(makeRequest()));
    EXPECT_THAT(stored(), SizeIs(1));
  }
}

// Looking at one changes nothing, whatever is found.
TEST_F(Store, ADamagedOneStaysWhereItIsWhenItIsListed) {
  valueOf(device_.make(makeRequest()));
  device_.restart();
  const std::string damaged = readFile(file_).substr(0, 5000);
  overwrite(file_, damaged);
  EXPECT_THAT(errorOf(list(file_)).cause, HasSubstr("is damaged"));
  EXPECT_EQ(device_.authenticator().holds("example.com", {}), std::nullopt);
  EXPECT_EQ(readFile(file_), damaged);
  EXPECT_THAT(errorOf(remove(file_, "x")).cause, HasSubstr("passkeys.db.damaged-1"));
}

// A name given by mistake costs nobody a file.
TEST_F(Store, WhatNeverWasOneIsRefusedAndLeftAlone) {
  const auto foreign = folder_ / "foreign.db";
  execute(foreign, "PRAGMA application_id = 7; CREATE TABLE notes(x); INSERT INTO notes VALUES(1)");
  const std::string database = readFile(foreign);
  const auto notes = folder_ / "notes";
  fs::create_directory(notes);
  const auto file = notes / "notes.txt";
  const std::string contents[] = {"Buy milk.\n", std::string(3000, 'x'), database,
                                  database.substr(0, 5000)};
  for (const auto& bytes : contents) {
    overwrite(file, bytes);
    fs::permissions(file, fs::perms(0644));
    TestDevice device(file);
    const TestPlatform platform(device, console_);
    for (const auto& error : {errorOf(list(file)), errorOf(remove(file, "x")), errorOf(reset(file)),
                              errorOf(device.make(makeRequest()))}) {
      EXPECT_THAT(error.cause, HasSubstr("left as it is"));
    }
    EXPECT_EQ(readFile(file), bytes);
    EXPECT_EQ(modeOf(file), 0644);
    EXPECT_EQ(std::distance(fs::directory_iterator(notes), {}), 1) << "nothing is laid beside it";
  }
  EXPECT_THAT(console_->take(), IsEmpty());
}

/// Without the right to write anywhere, even where tests run as root.
class AsReader {
 public:
  explicit AsReader(const fs::path& file) : file_(file) {
    for (auto folder = file.parent_path(); folder != fs::temp_directory_path();
         folder = folder.parent_path()) {
      fs::permissions(folder, fs::perms(0555));
    }
    fs::permissions(file, fs::perms(0444));
    if (isRoot_) EXPECT_EQ(::seteuid(kNobody), 0);
  }
  ~AsReader() {
    if (isRoot_) EXPECT_EQ(::seteuid(0), 0);
    for (auto folder = file_.parent_path(); folder != fs::temp_directory_path();
         folder = folder.parent_path()) {
      fs::permissions(folder, fs::perms(0700));
    }
  }
  AsReader(const AsReader&) = delete;
  AsReader& operator=(const AsReader&) = delete;

 private:
  static constexpr uid_t kNobody = 65534;
  const bool isRoot_ = ::geteuid() == 0;
  const fs::path file_;
};

TEST_F(Store, IsListedByWhoMayOnlyReadIt) {
  valueOf(device_.make(makeRequest()));
  device_.stop();
  fs::remove(fs::path(file_) += ".lock");
  const AsReader reader(file_);
  EXPECT_THAT(stored(), SizeIs(1));
  EXPECT_EQ(std::distance(fs::directory_iterator(file_.parent_path()), {}), 1);
}

// The user interface asks whether there is a passkey while another program may be writing one.
TEST_F(Store, TellsWhatItHoldsWithoutWaiting) {
  const auto made = valueOf(device_.make(makeRequest()));
  const auto& authenticator = device_.authenticator();
  EXPECT_EQ(authenticator.holds("example.com", {made.id}), true);
  sqlite3* writer = nullptr;
  ASSERT_EQ(sqlite3_open(file_.c_str(), &writer), SQLITE_OK);
  ASSERT_EQ(sqlite3_exec(writer, "BEGIN EXCLUSIVE", nullptr, nullptr, nullptr), SQLITE_OK);
  // Waiting would end in a failure that takes its time; this one comes from the first look.
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(authenticator.holds("example.com", {made.id}), std::nullopt);
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(10));
  sqlite3_exec(writer, "COMMIT", nullptr, nullptr, nullptr);
  sqlite3_close(writer);
  EXPECT_EQ(authenticator.holds("example.com", {made.id}), true);
}

/// A store as the first programs made it, with the public keys of its two passkeys.
const char* const kFormerRows =
    "INSERT INTO credentials VALUES"
    "(x'bb6ffc86c1ec2ee9edce027e60450739806f0849d4fb1eeb1471878754ff7984', 'example.com', x'7530',"
    " 'alice@example.com', 'Alice', -7, 'machine',"
    " x'"
    "01998e079baefff60569f3b864da39d89d9533e724aa786a26798e090ae2c8f1a011bd7396763ae687d9bc19c1c2"
    "a51ffd7ac08094a87d1231636f15d3', 0, 1, 1795276812),"
    "(x'ff8251b457e15a281e4550c4e986781f9e0b79e039bcf2b14e48685816a47265', 'example.com', x'7531',"
    " 'alice@example.com', 'Alice', -8, 'machine',"
    " x'"
    "01dbd701c40d9d4fa7b9fb4fcafe94df2cd0b40c9d0d9701099161e625cbae601a99f55a7be1fd4244142052d1d2"
    "d22059f8525c45ff01fdde85e84eea7db62f7e9f93594c7212950e628b443db149e5ba3c19055bc5849a93b5699bf8"
    "', 0, 1, 1795276812);"
    "PRAGMA application_id = 0";
const char* const kFormerKeys[] = {
    "MFkwEwYHKoZIzj0CAQYIKoZIzj0DAQcDQgAEJ_Ixs-VBXJgvpxFN2o4QJ81PPeLmqE0pXWl9lfpXi_dUIlUVaoUFh4ka"
    "HAZJ8WfndlLy2QPeCb3Pdm_GjnyEFQ",
    "MCowBQYDK2VwAyEAYzlQ2raB2tBa9uflHq5wF5HhEsoGqVoyqDdhxKmbYwk"};

std::vector<std::string> sealedKeys(const fs::path& file) {
  std::vector<std::string> keys;
  for (const auto& credential : valueOf(CredentialStore(file).find("example.com", {}))) {
    keys.push_back(credential.sealed);
  }
  return keys;
}

TEST_F(Store, OneOfTheFirstVersionSignsAndIsSealedAnew) {
  valueOf(CredentialStore(file_).storeId());
  execute(file_, kFormerRows);
  for (const std::size_t account : {0, 1}) {
    device_.person.account = account;
    for (int round = 0; round < 2; ++round) {
      const auto assertion = valueOf(device_.get(getRequest()));
      const auto key = base64URLDecoded(kFormerKeys[account]);
      EXPECT_TRUE(verifies(*key, account == 0 ? cose::kES256 : cose::kEdDSA,
                           assertion.authenticatorData + sha256(getRequest().clientDataJSON),
                           assertion.signature));
      EXPECT_EQ(sealedKeys(file_)[account][0], 2);
    }
  }
  EXPECT_THAT(console_->take(), IsEmpty());
}

// Nothing is made that only a key opens which has just been thrown away.
TEST_F(Store, OneThatIsResetUnderARequestTakesNoKeyOfTheFormerOne) {
  TestDevice machine(file_, {});
  const TestPlatform platform(machine, console_);
  valueOf(machine.make(makeRequest()));
  const auto id = valueOf(CredentialStore(file_).storeId());
  const auto credential = valueOf(CredentialStore(file_).find("example.com", {})).at(0);
  valueOf(reset(file_));
  EXPECT_THAT(errorOf(CredentialStore(file_).add(credential, id)).cause, HasSubstr("reset"));
  EXPECT_THAT(stored(), IsEmpty());
}

TEST_F(Store, OneThatTakesThePlaceOfAnotherHasAWrappingKeyOfItsOwn) {
  TestDevice device(file_, {[](const StorePlace& store) {
                      return std::make_unique<SoftwareKeyKeeper>(
                          "machine", Secret(std::string_view(store.id)));
                    }});
  const TestPlatform platform(device, console_);
  const auto former = valueOf(device.make(makeRequest()));
  valueOf(device.get(getRequest({former.id})));
  fs::rename(file_, folder_ / "former.db");
  const auto made = valueOf(device.make(makeRequest()));
  device.restart();
  EXPECT_TRUE(verifies(made, getRequest(), valueOf(device.get(getRequest()))));
}

// What a stranger has put into the file never runs.
TEST_F(Store, ForeignTablesAreDamage) {
  valueOf(device_.make(makeRequest()));
  const char* const additions[] = {
      "CREATE TRIGGER t AFTER UPDATE ON credentials BEGIN DELETE FROM locks; END",
      "CREATE VIEW v AS SELECT * FROM credentials", "CREATE TABLE another(x)"};
  for (const char* addition : additions) {
    device_.restart();
    execute(file_, addition);
    EXPECT_THAT(errorOf(device_.get(getRequest())).cause, HasSubstr("tables of another kind"));
    valueOf(device_.make(makeRequest()));
  }
}

TEST_F(Store, OneOfALaterVersionIsLeftAlone) {
  valueOf(device_.make(makeRequest()));
  device_.restart();
  execute(file_, "PRAGMA user_version = 2; CREATE TABLE another(x)");
  const std::string bytes = readFile(file_);
  EXPECT_THAT(errorOf(device_.make(makeRequest())).cause, HasSubstr("later version"));
  EXPECT_EQ(readFile(file_), bytes);
}

TEST_F(Store, AFolderThatCannotBeMadeIsAnError) {
  overwrite(folder_ / "file", "");
  TestDevice device(folder_ / "file" / "passkeys.db");
  const TestPlatform platform(device, console_);
  const auto error = errorOf(device.make(makeRequest()));
  EXPECT_EQ(error.failure, PasskeyFailure::failed);
  EXPECT_THAT(error.cause, HasSubstr("cannot be used"));
}

}  // namespace
}  // namespace veltrane::authenticator::testing
