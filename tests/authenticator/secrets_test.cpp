// What must never be found: a PIN, a passphrase, a wrapping key, a private key.
#include <gmock/gmock.h>
#include <openssl/evp.h>

#include "platform/authenticator/signing_key.h"
#include "platform/authenticator/software_key_keeper.h"
#include "tests/authenticator/authenticator_test.h"
#include "tests/support/memory_search.h"

namespace veltrane::authenticator::testing {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;
using veltrane::testing::countInMemory;

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

TEST_F(Secrets, AreNotLeftInMemory) {
  const std::string turnedPIN(std::string("niP-").append(6, 'z'));
  const std::string turnedPassphrase(std::string("esarhP-").append(9, 'q'));
  const auto planted = [](const std::string& turned) {
    return Secret(std::string(turned.rbegin(), turned.rend()));
  };
  machine_.person.look = [&](PasskeySheet& sheet) {
    const auto step = sheet.question().step;
    if (step == PasskeyStep::consent) return true;
    const bool isPIN = step == PasskeyStep::newPIN || step == PasskeyStep::enterPIN;
    return sheet.enter(planted(isPIN ? turnedPIN : turnedPassphrase)), false;
  };
  auto making = makeRequest();
  making.userVerification = Requirement::required;
  valueOf(machine_.make(making));
  machine_.restart();
  auto getting = getRequest();
  getting.userVerification = Requirement::required;
  valueOf(machine_.get(getting));
  {
    const Secret kept = planted(turnedPIN);
    EXPECT_EQ(countInMemory(turnedPIN), 1);  // the search does search
  }
  EXPECT_EQ(countInMemory(turnedPIN), 0);
  EXPECT_EQ(countInMemory(turnedPassphrase), 0);
}

/// As Ed25519 keys are kept: the public key, which ends its SubjectPublicKeyInfo, behind the other.
Secret withPublic(const Secret& key, const MadeCredential& made) {
  std::string both;
  both.reserve(64);  // at once, so that no part of it is left behind
  both.append(key.bytes()).append(made.publicKey, made.publicKey.size() - 32);
  return Secret(std::move(both));
}

/// The private key of a passkey that `keeperOf('k')` has sealed, turned around.
std::string turnedPrivateKey(const std::string& sealed) {
  const std::string wrappingKey(SoftwareKeyKeeper::kWrappingKeySize, 'k');
  const auto* bytes = reinterpret_cast<const unsigned char*>(sealed.data());
  constexpr int kPrivate = 32;
  std::string plain(kPrivate, '\0');
  int size = 0;
  EVP_CIPHER_CTX* const context = EVP_CIPHER_CTX_new();
  EVP_DecryptInit_ex(context, EVP_aes_256_gcm(), nullptr,
                     reinterpret_cast<const unsigned char*>(wrappingKey.data()), bytes + 1);
  EVP_DecryptUpdate(context, reinterpret_cast<unsigned char*>(plain.data()), &size, bytes + 13,
                    kPrivate);
  EVP_CIPHER_CTX_free(context);
  std::string turned(plain.rbegin(), plain.rend());
  Secret::wipe(plain);
  return turned;
}

using PrivateKeys = AuthenticatorTest;

TEST_F(PrivateKeys, AreInNoFileAndNotLeftInMemory) {
  for (const int algorithm : {cose::kES256, cose::kEdDSA}) {
    auto making = makeRequest();
    making.algorithms = {algorithm};
    making.wantsAttestation = true;
    const auto made = valueOf(device_.make(making));
    EXPECT_TRUE(verifies(made, getRequest(), valueOf(device_.get(getRequest({made.id})))));
    const auto stored = valueOf(CredentialStore(file_).find("example.com", {made.id})).at(0);
    const auto turned = turnedPrivateKey(stored.sealed);
    EXPECT_EQ(countInMemory(turned), 0) << algorithm;
    {
      const Secret key(std::string(turned.rbegin(), turned.rend()));
      const auto own = valueOf(signWith(
          algorithm == cose::kES256 ? key.copy() : withPublic(key, made), algorithm, "message"));
      EXPECT_TRUE(verifies(made.publicKey, algorithm, "message", own)) << "it is that key";
      EXPECT_EQ(everything().find(key.bytes()), std::string::npos);
    }
    EXPECT_EQ(countInMemory(turned), 0) << algorithm;
  }
}

TEST(SoftwareKeys, AreSealedToKeyContextAndAlgorithm) {
  const auto keeperWith = [](char fill, std::size_t size = 32) {
    return SoftwareKeyKeeper("k", Secret(std::string(size, fill)));
  };
  auto keeper = keeperWith('a');
  const KeyContext context("id", "context");
  auto key = valueOf(keeper.makeKey(cose::kEdDSA, context));
  const auto signs = [&](SoftwareKeyKeeper& with, int algorithm, const std::string& sealed,
                         const KeyContext& bound) {
    const auto result = with.sign(algorithm, sealed, bound, "message");
    return std::holds_alternative<std::string>(result) &&
           verifies(key.publicKey, algorithm, "message", std::get<std::string>(result));
  };
  EXPECT_TRUE(signs(keeper, cose::kEdDSA, key.sealed, context));
  EXPECT_FALSE(signs(keeper, cose::kEdDSA, key.sealed, {"id", "contexT"}));
  EXPECT_FALSE(signs(keeper, cose::kEdDSA, key.sealed, {"idc", "ontext"}));
  EXPECT_FALSE(signs(keeper, cose::kES256, key.sealed, context));
  auto other = keeperWith('b');
  EXPECT_FALSE(signs(other, cose::kEdDSA, key.sealed, context));
  auto none = keeperWith('a', 31);
  EXPECT_FALSE(signs(none, cose::kEdDSA, key.sealed, context));
  for (std::size_t i = 0; i < key.sealed.size(); ++i) {
    std::string changed = key.sealed;
    changed[i] ^= 1;
    EXPECT_FALSE(signs(keeper, cose::kEdDSA, changed, context)) << i;
    EXPECT_FALSE(signs(keeper, cose::kEdDSA, key.sealed.substr(0, i), context)) << i;
  }
}

}  // namespace
}  // namespace veltrane::authenticator::testing
