#include <gio/gio.h>
#include <gmock/gmock.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <future>
#include <set>

#include "platform/authenticator/secret_service_key.h"
#include "tests/authenticator/lock_out.h"
#include "tests/support/temporary_folder.h"
#include "veltrane/passkeys/authenticator.h"

// Each suite wants a desktop session of the kind that it is named after: see desktop.sh.
namespace veltrane::testing {
namespace {

using authenticator::makeSecretServiceKeyKeeper;
using authenticator::probeSecretService;
using authenticator::secretServiceKey;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using namespace std::chrono_literals;

authenticator::SecretServiceOptions store(const std::string& id,
                                          std::chrono::milliseconds limit = 60s) {
  return {.folder = std::getenv("XDG_RUNTIME_DIR"), .storeId = id, .limit = limit};
}

/// The key, or why there is none.
std::string keyOf(const authenticator::SecretServiceOptions& options) {
  auto result = secretServiceKey(options);
  if (auto* error = std::get_if<PasskeyError>(&result)) return "no: " + error->cause;
  return std::string(std::get<Secret>(result).bytes());
}

/// That nothing is kept, for the same reason whoever asks, and that something can be done.
void expectTrouble(const std::string& cause, std::chrono::milliseconds limit = 60s) {
  const auto status = probeSecretService(limit);
  EXPECT_FALSE(status.usable);
  EXPECT_THAT(status.cause, HasSubstr(cause));
  EXPECT_THAT(status.remedy, Not(IsEmpty()));
  EXPECT_THAT(keyOf(store("a", limit)), HasSubstr("no: " + status.cause.substr(0, cause.size())));
  EXPECT_FALSE(makeSecretServiceKeyKeeper(store("a", limit)));
}

TEST(Unlocked, KeepsTheKeysOfAnAuthenticatorThatLocks) {
  const TemporaryFolder folder;
  authenticator::testing::expectLockOut(
      folder.path() / "passkeys.db",
      [](const authenticator::StorePlace& place) {
        return makeSecretServiceKeyKeeper({.folder = place.folder, .storeId = place.id});
      },
      "secret-service");
}

TEST(Unlocked, KeepsAKeyForEachStore) {
  const auto status = probeSecretService();
  EXPECT_TRUE(status.usable) << status.cause;
  const auto key = keyOf(store("a"));
  EXPECT_EQ(key.size(), 32U);
  EXPECT_EQ(keyOf(store("a")), key);
  EXPECT_NE(keyOf(store("b")), key);
  EXPECT_THAT(keyOf({.folder = "/no such folder", .storeId = "a"}), HasSubstr("/no such folder"));
}

TEST(Unlocked, OneThatIsWantedByManyAtOnceIsMadeOnce) {
  std::array<std::future<std::string>, 8> all;
  for (auto& key : all) key = std::async(std::launch::async, [] { return keyOf(store("many")); });
  std::set<std::string> keys;
  for (auto& key : all) keys.insert(key.get());
  EXPECT_EQ(keys.size(), 1U);
  EXPECT_EQ(keys.begin()->size(), 32U);
}

TEST(Unlocked, AKeeperSignsWithWhatAnotherOneSealed) {
  const authenticator::KeyContext kContext("id", "example.com");
  const auto key = std::get<authenticator::KeyKeeper::NewKey>(
      makeSecretServiceKeyKeeper(store("a"))->makeKey(cose::kES256, kContext));
  const auto keeper = makeSecretServiceKeyKeeper(store("a"));
  const auto stranger = makeSecretServiceKeyKeeper(store("b"));
  EXPECT_EQ(keeper->name(), "secret-service");
  EXPECT_TRUE(std::holds_alternative<std::string>(
      keeper->sign(cose::kES256, key.sealed, kContext, "message")));
  EXPECT_TRUE(std::holds_alternative<PasskeyError>(
      stranger->sign(cose::kES256, key.sealed, kContext, "message")));
}

// Whichever way the last one goes, and also while a program runs that has the key still.
TEST(Unlocked, TheKeyGoesWithTheLastPasskey) {
  using namespace authenticator::testing;
  const TemporaryFolder folder;
  const auto file = folder.path() / "passkeys.db";
  std::vector<std::string> ids;
  TestDevice device(
      file, {[&](const authenticator::StorePlace& place) {
        ids.push_back(place.id);
        return makeSecretServiceKeyKeeper({.folder = place.folder, .storeId = place.id});
      }});
  const TestPlatform platform(device, std::make_shared<RecordingConsole>());
  const auto remove = [&](const MadeCredential& made) {
    EXPECT_TRUE(valueOf(authenticator::remove(file, made.id)));
  };
  const auto first = valueOf(device.make(makeRequest("u1")));
  const auto second = valueOf(device.make(makeRequest("u2")));
  const auto key = keyOf(store(ids.at(0)));
  remove(first);
  EXPECT_EQ(keyOf(store(ids.at(0))), key);
  remove(second);
  EXPECT_NE(keyOf(store(ids.at(0))), key) << "made anew";
  valueOf(authenticator::forgetSecretServiceKey(store(ids.at(0))));

  const auto third = valueOf(device.make(makeRequest("u3")));
  ASSERT_EQ(ids.size(), 2U);
  const auto later = keyOf(store(ids.at(1)));
  device.restart();
  EXPECT_FALSE(valueOf(device.get(getRequest({third.id}))).signature.empty());
  EXPECT_EQ(valueOf(authenticator::reset(file)), 1U);
  EXPECT_NE(keyOf(store(ids.at(1))), later);
}

TEST(Unlocked, AServiceThatHangsIsLeftAlone) {
  const auto key = keyOf(store("a"));
  const pid_t keyring = std::atoi(std::getenv("KEYRING"));
  kill(keyring, SIGSTOP);
  expectTrouble("The secret service has not answered", 100ms);
  kill(keyring, SIGCONT);
  EXPECT_EQ(keyOf(store("a")), key);
}

// The last of its suite: only a person could open the keyring again.
TEST(Unlocked, OneThatIsThenLockedIsToldAndNobodyIsAsked) {
  ASSERT_EQ(keyOf(store("a")).size(), 32U);
  ASSERT_EQ(std::system("dbus-send --print-reply --dest=org.freedesktop.secrets "
                        "/org/freedesktop/secrets org.freedesktop.Secret.Service.Lock "
                        "array:objpath:/org/freedesktop/secrets/collection/login > /dev/null"),
            0);
  expectTrouble("The keyring is locked.");
  EXPECT_THAT(keyOf(store("never kept")), HasSubstr("The keyring is locked."));
}

TEST(New, AServiceWithoutAKeyringIsToldAndNoneIsMade) {
  expectTrouble("There is no default keyring.");
}

TEST(None, ABusWithoutASecretServiceIsToldAndItsEndIsNotOurs) {
  auto* bus = g_bus_get_sync(G_BUS_TYPE_SESSION, nullptr, nullptr);
  ASSERT_TRUE(bus);
  expectTrouble("No secret service is on the session bus");
  EXPECT_FALSE(g_dbus_connection_get_exit_on_close(bus));
  g_object_unref(bus);
}

/// A place for a bus in a folder of this test's own, named to whoever looks for one.
class NoBus : public ::testing::Test {
 protected:
  NoBus() {
    folder_ = (std::filesystem::temp_directory_path() / "veltrane-bus-XXXXXX").string();
    if (!mkdtemp(folder_.data())) throw std::runtime_error("mkdtemp");
    setenv("XDG_RUNTIME_DIR", folder_.c_str(), 1);
    unsetenv("DBUS_SESSION_BUS_ADDRESS");
  }
  ~NoBus() override { std::filesystem::remove_all(folder_); }
  std::string path() const { return folder_ + "/bus"; }

 private:
  std::string folder_;
};

TEST_F(NoBus, IsToldAtOnceAndNoneIsStarted) {
  expectTrouble("There is no D-Bus session.");
}

TEST_F(NoBus, OneThatIsGoneIsTold) {
  setenv("DBUS_SESSION_BUS_ADDRESS", ("unix:path=" + path()).c_str(), 1);
  expectTrouble("The session bus cannot be reached: ");
}

TEST_F(NoBus, OneThatNeverAnswersIsLeftAlone) {
  const int bus = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_un address{.sun_family = AF_UNIX, .sun_path = {}};
  path().copy(address.sun_path, sizeof address.sun_path - 1);
  ASSERT_EQ(bind(bus, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
  ASSERT_EQ(listen(bus, 8), 0);
  expectTrouble("The secret service has not answered", 100ms);
  close(bus);
}

}  // namespace
}  // namespace veltrane::testing
