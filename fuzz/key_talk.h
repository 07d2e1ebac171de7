#pragma once

#include <memory>
#include <string>
#include <utility>
#include <variant>

#include "platform/fido2/conversation.h"
#include "platform/fido2/key_connection.h"
#include "platform/fido2/key_requests.h"
#include "tests/support/simulated_keys.h"
#include "veltrane/toolkit/main_queue.h"

// One request to one key, on one thread: the person answers everything at once.
namespace veltrane::fuzz {

class Inline final : public MainQueue {
 public:
  void async(Work work) override { work(); }
  void asyncAfter(Interval /*delay*/, Work /*work*/) override {}
  std::unique_ptr<Timer> repeatingTimer(Interval /*interval*/, Work /*tick*/) override {
    return nullptr;
  }
};

/// As long as a PIN may be: no key finds it too short.
inline const std::string kPIN(63, '1');

/// The first byte of an input: what is asked of the key.
struct Wish {
  explicit Wish(unsigned byte) : isMaking((byte & 1U) != 0), isRaw((byte & 8U) != 0) {
    verification = (byte & 2U) != 0 ? Requirement::required : Requirement::discouraged;
    if ((byte & 4U) != 0) ids = {std::string(16, 'a'), std::string(32, 'b'), std::string(64, 'c')};
  }
  bool isMaking;
  /// What follows are reports rather than answers.
  bool isRaw;
  Requirement verification;
  std::vector<std::string> ids;
};

using KeyResult = std::variant<int, MadeCredential, Assertion>;

template <typename Value>
KeyResult widened(std::variant<int, Value> result) {
  return std::visit([](auto& value) -> KeyResult { return std::move(value); }, result);
}

inline KeyResult talkTo(std::unique_ptr<fido2::KeyWire> wire, const Wish& wish) {
  const auto queue = std::make_shared<Inline>();
  const auto sheet = std::make_shared<PasskeySheet>();
  const auto answering = sheet->changed.subscribe([&] {
    sheet->enter(Secret(std::string_view(kPIN)));
    sheet->choose(sheet->question().choices.size() / 2);
  });
  const auto talk = std::make_shared<fido2::Conversation>(queue, sheet, [](auto) {});
  fido2::KeyConnection key(
      "key", std::move(wire), talk->halt(), fido2::KeyConnection::Clock::time_point::max(),
      {.silence = std::chrono::milliseconds(5), .farewell = std::chrono::milliseconds(1)});
  if (const int result = key.open(); result != FIDO_OK) return result;
  const fido2::Occasion occasion{.isMaking = wish.isMaking};
  if (!wish.isMaking) {
    return widened(fido2::getFrom(key, *talk, occasion,
                                  {.clientDataJSON = "{}",
                                   .rpId = "acme.example",
                                   .allowed = wish.ids,
                                   .userVerification = wish.verification}));
  }
  return widened(fido2::makeOn(key, *talk, occasion,
                               {.clientDataJSON = "{}",
                                .rpId = "acme.example",
                                .userId = "1",
                                .userName = "alice",
                                .algorithms = {cose::kES256, cose::kEdDSA, -35, -257},
                                .excluded = wish.ids,
                                .userVerification = wish.verification,
                                .residentKey = Requirement::preferred,
                                .wantsAttestation = true}));
}

}  // namespace veltrane::fuzz
