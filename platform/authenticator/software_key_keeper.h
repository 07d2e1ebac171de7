#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "platform/authenticator/key_keeper.h"
#include "veltrane/base/secret.h"

namespace veltrane::authenticator {

class SigningKeyMaker;

/// Keys made by OpenSSL and sealed with AES-256-GCM under a wrapping key that something else keeps.
/// ES256 and EdDSA (Ed25519). A sealed key is a version byte, the nonce, the encrypted key and its
/// tag; version, algorithm and context are authenticated with it. Plain keys are wiped.
class SoftwareKeyKeeper final : public KeyKeeper {
 public:
  static constexpr std::size_t kWrappingKeySize = 32;

  /// With a `wrappingKey` of any other size than `kWrappingKeySize` every call fails.
  SoftwareKeyKeeper(std::string name, Secret wrappingKey);
  ~SoftwareKeyKeeper() override;

  std::string name() const override { return name_; }
  std::vector<int> algorithms() const override;
  PasskeyResult<NewKey> makeKey(int algorithm, const KeyContext& context) override;
  PasskeyResult<std::string> sign(int algorithm, std::string_view sealed, const KeyContext& context,
                                  std::string_view message) override;
  PasskeyResult<std::string> renewed(int algorithm, std::string_view sealed,
                                     const KeyContext& context) override;

 private:
  std::string name_;
  Secret wrappingKey_;
  std::unique_ptr<SigningKeyMaker> maker_;
};

}  // namespace veltrane::authenticator
