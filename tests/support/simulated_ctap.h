#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

struct evp_pkey_st;

namespace veltrane::testing {

class PINProtocol;

/// What a simulated key does; may be changed between requests.
struct KeyBehaviour {
  /// Empty: none set.
  std::string pin;
  bool takesPIN = true;
  /// By which PINs are sent: 1 or 2.
  int pinProtocol = 1;
  int tries = 8;
  bool wantsNewPIN = false;
  /// A fingerprint reader, and whether it knows the finger.
  bool hasReader = false;
  bool readerKnows = true;
  bool keepsResident = true;
  bool isFull = false;
  std::vector<int> algorithms{-7, -8};
  std::size_t mostIds = 8;
  /// Instead of a touch: a status.
  std::uint8_t refusal = 0;
};

/// The mind of a security key: CTAP 2.0 with either PIN protocol, made of OpenSSL alone. One thread
/// at a time.
class SimulatedCtap {
 public:
  struct Reply {
    /// Status and CBOR.
    std::string bytes;
    /// Set: what the reply is once the key has been touched.
    std::function<std::string()> whenTouched;
  };

  explicit SimulatedCtap(KeyBehaviour behaviour);
  ~SimulatedCtap();

  /// A command byte and its CBOR.
  Reply answer(std::string_view request);
  /// As when it is inserted: three wrong PINs in a row are forgotten.
  void powerUp();

  KeyBehaviour behaviour;
  /// Of all commands so far.
  std::string commands;

 private:
  using Key = std::shared_ptr<evp_pkey_st>;
  struct Credential {
    std::string id, rpId, userId, userName, displayName;
    int algorithm = 0;
    bool isResident = false;
    Key key;
  };
  struct Message;

  std::string info() const;
  Reply make(const Message& message);
  Reply get(const Message& message);
  Reply pinCommand(const Message& message);
  std::string getToken(const Message& message, const PINProtocol& protocol);
  std::string setPIN(const Message& message, const PINProtocol& protocol, bool isChange);
  /// A status; 0: right.
  std::uint8_t checkPIN(const std::string& encrypted, const PINProtocol& protocol);
  /// A status; 0: `verified` tells whether the person is.
  std::uint8_t checkPerson(const Message& message, int authParam, const std::string& hash,
                           bool isMaking, bool& verified) const;
  std::string store(const Message& message, int algorithm, bool isResident, bool verified);
  std::string assertion(const Credential& credential, const std::string& hash, std::uint8_t flags,
                        std::size_t count);
  bool holdsOneOf(const std::vector<std::string>& ids, const std::string& rpId) const;

  std::vector<Credential> credentials_;
  std::vector<std::string> following_;
  Key agreement_;
  std::string token_;
  int wrongInARow_ = 0;
  std::uint32_t counter_ = 0;
};

}  // namespace veltrane::testing
