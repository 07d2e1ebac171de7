#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/fido2/key_source.h"
#include "veltrane/passkeys/authenticator.h"

namespace veltrane::fido2 {

class KeyThread;

/// Security keys as an authenticator. All talk with keys is on one thread of its own, started with
/// the first request; a request waits for the one before it to wind down.
///
/// Destroying it answers open requests with `cancelled` and waits for the thread, at most
/// `Patience::farewell`. `Platform::mainQueue` has to be installed when a request is made.
class SecurityKeyAuthenticator final : public Authenticator {
 public:
  explicit SecurityKeyAuthenticator(std::shared_ptr<KeySource> source = usbKeys(),
                                    Patience patience = {});
  ~SecurityKeyAuthenticator() override;

  std::string attachment() const override { return "cross-platform"; }
  std::string displayName() const override { return "Security key"; }
  /// Nothing: a key has to be there to tell. False where libfido2 is not installed.
  std::optional<bool> holds(const std::string& rpId,
                            const std::vector<std::string>& allowed) const override;
  /// Whether there can be a key for it.
  bool canMake(const MakeCredential& request) const override;

  std::shared_ptr<void> make(MakeCredential request, std::shared_ptr<PasskeySheet> sheet,
                             Made made) override;
  std::shared_ptr<void> get(GetAssertion request, std::shared_ptr<PasskeySheet> sheet,
                            Got got) override;

 private:
  KeyThread& thread();

  const std::shared_ptr<KeySource> source_;
  const Patience patience_;
  std::unique_ptr<KeyThread> thread_;
};

}  // namespace veltrane::fido2
