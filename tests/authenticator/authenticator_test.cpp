#include "tests/authenticator/authenticator_test.h"

#include <openssl/evp.h>
#include <openssl/x509.h>

#include <fstream>
#include <iterator>
#include <stdexcept>

#include "platform/authenticator/authenticator_data.h"

namespace fs = std::filesystem;

namespace veltrane::authenticator::testing {
namespace {

fs::path newFolder() {
  auto name = (fs::temp_directory_path() / "veltrane-authenticator-XXXXXX").string();
  if (mkdtemp(name.data()) == nullptr) throw std::runtime_error("mkdtemp");
  return name;
}

const unsigned char* asBytes(const std::string& text) {
  return reinterpret_cast<const unsigned char*>(text.data());
}

}  // namespace

AuthenticatorTest::AuthenticatorTest()
    : folder_(newFolder()),
      file_(folder_ / "data" / "passkeys.db"),
      device_(file_),
      platform_(device_, console_) {}

AuthenticatorTest::~AuthenticatorTest() {
  device_.stop();
  std::error_code ignored;
  fs::remove_all(folder_, ignored);
}

std::vector<PasskeyEntry> AuthenticatorTest::stored() const {
  return valueOf(list(file_));
}

std::string AuthenticatorTest::everything() const {
  std::string bytes;
  for (const auto& entry : fs::recursive_directory_iterator(folder_)) {
    if (entry.is_regular_file()) bytes += readFile(entry.path());
  }
  return bytes;
}

bool verifies(const std::string& spki, int algorithm, const std::string& message,
              const std::string& signature) {
  const auto* der = asBytes(spki);
  EVP_PKEY* key = d2i_PUBKEY(nullptr, &der, static_cast<long>(spki.size()));
  EVP_MD_CTX* context = EVP_MD_CTX_new();
  const EVP_MD* digest = algorithm == cose::kES256 ? EVP_sha256() : nullptr;
  const bool isRight = key != nullptr &&
                       EVP_DigestVerifyInit(context, nullptr, digest, nullptr, key) == 1 &&
                       EVP_DigestVerify(context, asBytes(signature), signature.size(),
                                        asBytes(message), message.size()) == 1;
  EVP_MD_CTX_free(context);
  EVP_PKEY_free(key);
  return isRight;
}

bool verifies(const MadeCredential& made, const GetAssertion& request, const Assertion& assertion) {
  return verifies(made.publicKey, made.algorithm,
                  assertion.authenticatorData + sha256(request.clientDataJSON),
                  assertion.signature);
}

bool hasFlag(const std::string& authenticatorData, std::uint8_t flag) {
  return (static_cast<unsigned char>(authenticatorData.at(32)) & flag) != 0;
}

std::string readFile(const fs::path& path) {
  std::ifstream stream(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), {}};
}

}  // namespace veltrane::authenticator::testing
