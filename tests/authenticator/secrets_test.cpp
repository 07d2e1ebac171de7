// What must never be found: a PIN, a passphrase, a wrapping key, a private key.
#include <gmock/gmock.h>

#include "platform/authenticator/software_key_keeper.h"
#include "tests/authenticator/authenticator_test.h"

namespace veltrane::authenticator::testing {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;

class Secrets : public AuthenticatorTest {
 protected:
  Secrets() : machine_(file_, {}), platform_(machine_, console_) {}
  TestDevice machine_;

 private:
  TestPlatform platform_;
};

TEST_F(Secrets, AreNotInTheFilesOrOnTheConsole) {
  auto making = makeRequest();
  making.userVerification = Requirement::required;
  machine_.person.pin = "planted-pin";
  machine_.person.passphrase = "planted-passphrase";
  valueOf(machine_.make(making));
  machine_.restart();
  auto getting = getRequest();
  getting.userVerification = Requirement::required;
  valueOf(machine_.get(getting));
  const auto lock = *valueOf(CredentialStore(file_).lock(LockKind::passphrase));
  const auto key = openLock(lock, Secret(std::string_view("planted-passphrase")))->key.copy();

  std::string leaks = everything();
  for (const auto& line : console_->take()) leaks += line;
  EXPECT_THAT(leaks, HasSubstr("alice@example.com"));  // names are plain: the search does search
  EXPECT_THAT(leaks, Not(HasSubstr("planted")));
  EXPECT_EQ(leaks.find(key.bytes()), std::string::npos);
}

TEST(SoftwareKeys, AreSealedToKeyContextAndAlgorithm) {
  const auto keeperWith = [](char fill, std::size_t size = 32) {
    return SoftwareKeyKeeper("k", Secret(std::string(size, fill)));
  };
  auto keeper = keeperWith('a');
  auto key = valueOf(keeper.makeKey(cose::kEdDSA, "context"));
  const auto signs = [&](SoftwareKeyKeeper& with, int algorithm, const std::string& sealed,
                         const char* context) {
    const auto result = with.sign(algorithm, sealed, context, "message");
    return std::holds_alternative<std::string>(result) &&
           verifies(key.publicKey, algorithm, "message", std::get<std::string>(result));
  };
  EXPECT_TRUE(signs(keeper, cose::kEdDSA, key.sealed, "context"));
  EXPECT_FALSE(signs(keeper, cose::kEdDSA, key.sealed, "contexT"));
  EXPECT_FALSE(signs(keeper, cose::kES256, key.sealed, "context"));
  auto other = keeperWith('b');
  EXPECT_FALSE(signs(other, cose::kEdDSA, key.sealed, "context"));
  auto none = keeperWith('a', 31);
  EXPECT_FALSE(signs(none, cose::kEdDSA, key.sealed, "context"));
  for (std::size_t i = 0; i < key.sealed.size(); ++i) {
    std::string changed = key.sealed;
    changed[i] ^= 1;
    EXPECT_FALSE(signs(keeper, cose::kEdDSA, changed, "context")) << i;
    EXPECT_FALSE(signs(keeper, cose::kEdDSA, key.sealed.substr(0, i), "context")) << i;
  }
}

}  // namespace
}  // namespace veltrane::authenticator::testing
