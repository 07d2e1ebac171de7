#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "veltrane/passkeys/passkey_failure.h"

namespace veltrane {

class PasskeySheet;

/// COSE algorithm identifiers, from the IANA registry "COSE Algorithms".
namespace cose {
constexpr int kES256 = -7;
constexpr int kEdDSA = -8;
}  // namespace cose

enum class Requirement : std::uint8_t { discouraged, preferred, required };

/// Texts that hold bytes say so; all others are UTF-8.
struct MakeCredential {
  /// Serialised client data; the authenticator hashes it with SHA-256.
  std::string clientDataJSON;
  std::string rpId;
  std::string rpName;
  /// Bytes, 1 to 64.
  std::string userId;
  std::string userName;
  std::string userDisplayName;
  /// COSE identifiers the server takes, best first; never empty.
  std::vector<int> algorithms;
  /// Credential ids (bytes): an authenticator that holds one answers `excluded`.
  std::vector<std::string> excluded;
  Requirement userVerification = Requirement::preferred;
  Requirement residentKey = Requirement::discouraged;
  /// Whether the server wants the authenticator's own statement; otherwise format "none" is made.
  bool wantsAttestation = false;
  std::chrono::milliseconds timeout{};
};

/// All texts are bytes.
struct MadeCredential {
  std::string id;
  std::string authenticatorData;
  /// CBOR with "fmt", "attStmt" and "authData".
  std::string attestationObject;
  /// SubjectPublicKeyInfo in DER; empty when the algorithm has none that is known here.
  std::string publicKey;
  int algorithm = 0;
  /// "internal", "usb", "nfc", ...
  std::vector<std::string> transports;
  /// Whether it can be found without its id; nothing when the authenticator does not tell.
  std::optional<bool> isDiscoverable;
};

struct GetAssertion {
  std::string clientDataJSON;
  std::string rpId;
  /// Credential ids (bytes); empty: any discoverable one.
  std::vector<std::string> allowed;
  Requirement userVerification = Requirement::preferred;
  std::chrono::milliseconds timeout{};
};

/// All texts are bytes.
struct Assertion {
  std::string id;
  std::string authenticatorData;
  std::string signature;
  std::optional<std::string> userHandle;
};

/// Port: makes and uses credentials, as a security key or this machine does. The client that calls
/// it has checked origin and relying party, and watches the time-out itself.
///
/// Called on the main thread. An adapter may work on a thread of its own; it asks the person
/// through `sheet`, on the main thread alone, and answers once there. Dropping the returned handle
/// cancels: no answer comes, and nothing half-made is left behind. The answer may drop it.
class Authenticator {
 public:
  using Made = std::function<void(PasskeyResult<MadeCredential>)>;
  using Got = std::function<void(PasskeyResult<Assertion>)>;

  virtual ~Authenticator() = default;

  /// "platform" or "cross-platform".
  virtual std::string attachment() const = 0;
  /// A line to pick it by: "This device", "Security key".
  virtual std::string displayName() const = 0;
  /// Whether it holds a credential that the request could use, told at once and without the person.
  /// Nothing: it cannot tell before a key is there.
  virtual std::optional<bool> holds(const std::string& rpId,
                                    const std::vector<std::string>& allowed) const = 0;
  /// Whether it can make a credential of one of these algorithms, verified as required.
  virtual bool canMake(const MakeCredential& request) const = 0;

  virtual std::shared_ptr<void> make(MakeCredential request, std::shared_ptr<PasskeySheet> sheet,
                                     Made made) = 0;
  virtual std::shared_ptr<void> get(GetAssertion request, std::shared_ptr<PasskeySheet> sheet,
                                    Got got) = 0;
};

}  // namespace veltrane
