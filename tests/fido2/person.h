#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "platform/fido2/security_key_authenticator.h"
#include "platform/loop/run_loop.h"
#include "tests/support/simulated_keys.h"
#include "veltrane/passkeys/passkey_sheet.h"
#include "veltrane/platform.h"

namespace veltrane::testing {

inline MakeCredential registration() {
  return {.clientDataJSON = R"({"type":"webauthn.create","challenge":"AAAA"})",
          .rpId = "acme.example",
          .rpName = "Acme",
          .userId = "user-1",
          .userName = "alice",
          .userDisplayName = "Alice A.",
          .algorithms = {cose::kES256, cose::kEdDSA},
          .userVerification = Requirement::discouraged};
}
inline GetAssertion signIn(std::vector<std::string> allowed = {}) {
  return {.clientDataJSON = R"({"type":"webauthn.get","challenge":"BBBB"})",
          .rpId = "acme.example",
          .allowed = std::move(allowed),
          .userVerification = Requirement::discouraged};
}

/// Somebody in front of a sheet, with keys at hand: for each step, what to do the next time it
/// shows. Does it later than the sheet shows it, as a person would.
class Person : public ::testing::Test {
 protected:
  using Act = std::function<void()>;

  Person() { watch(); }
  ~Person() override { authenticator.reset(); }

  void when(PasskeyStep step, Act act) { acts_[step].push_back(std::move(act)); }
  void whenAskedForPIN(const std::string& pin, PasskeyStep step = PasskeyStep::enterPIN) {
    when(step, [this, pin] { sheet->enter(Secret(std::string_view(pin))); });
  }
  void cancelAt(PasskeyStep step) {
    when(step, [this] { sheet->cancel(); });
  }

  void startMake(MakeCredential request = registration()) {
    handle = authenticator->make(std::move(request), sheet, [this](auto result) {
      made = std::move(result);
      ++answers;
    });
  }
  void startGet(GetAssertion request = signIn()) {
    handle = authenticator->get(std::move(request), sheet, [this](auto result) {
      got = std::move(result);
      ++answers;
    });
  }
  void awaitAnswer() {
    const int before = std::exchange(answers, 0);
    ASSERT_EQ(before, 0);
    // The limit is for a test that fails.
    ASSERT_TRUE(loop->runUntil([this] { return answers > 0; }, std::chrono::seconds(60)));
    loop->runUntilIdle();
    EXPECT_EQ(std::exchange(answers, 0), 1);
    EXPECT_FALSE(sheet->isOpen());
  }
  MadeCredential make(MakeCredential request = registration()) {
    startMake(std::move(request));
    awaitAnswer();
    return made && made->index() == 0 ? std::get<MadeCredential>(*made) : MadeCredential();
  }
  PasskeyError failToMake(MakeCredential request = registration()) {
    startMake(std::move(request));
    awaitAnswer();
    return made && made->index() == 1 ? std::get<PasskeyError>(*made) : PasskeyError();
  }
  Assertion get(GetAssertion request = signIn()) {
    startGet(std::move(request));
    awaitAnswer();
    return got && got->index() == 0 ? std::get<Assertion>(*got) : Assertion();
  }
  PasskeyError failToGet(GetAssertion request = signIn()) {
    startGet(std::move(request));
    awaitAnswer();
    return got && got->index() == 1 ? std::get<PasskeyError>(*got) : PasskeyError();
  }

  /// A key that talks may have all the time that a busy machine takes.
  std::unique_ptr<fido2::SecurityKeyAuthenticator> newAuthenticator(
      std::chrono::milliseconds silence = std::chrono::minutes(1)) const {
    return std::make_unique<fido2::SecurityKeyAuthenticator>(
        keys, fido2::Patience{.glance = std::chrono::milliseconds(5),
                              .silence = silence,
                              .farewell = std::chrono::milliseconds(100)});
  }
  std::shared_ptr<SimulatedKey> insert(const std::string& path, KeyBehaviour behaviour = {}) {
    auto key = std::make_shared<SimulatedKey>(std::move(behaviour));
    keys->plugIn(path, key);
    return key;
  }
  /// Takes a key out and, once that has been noticed, plugs one in.
  void exchangeKey(const std::string& path, std::shared_ptr<SimulatedKey> key) {
    keys->pullOut(path);
    const std::size_t enough = keys->looks() + 2;
    noticing_ = loop->repeatingTimer(std::chrono::milliseconds(1), [=, this] {
      if (keys->looks() < enough) return;
      keys->plugIn(path, key);
      loop->async([this] { noticing_.reset(); });
    });
  }
  std::vector<PasskeyStep> steps() const {
    std::vector<PasskeyStep> steps;
    for (const auto& question : seen) steps.push_back(question.step);
    return steps;
  }
  /// The last question of a step.
  PasskeyQuestion lastOf(PasskeyStep step) const {
    const auto found = std::find_if(seen.rbegin(), seen.rend(),
                                    [step](const auto& question) { return question.step == step; });
    return found != seen.rend() ? *found : PasskeyQuestion();
  }

  const std::shared_ptr<loop::RunLoop> loop = std::make_shared<loop::RunLoop>();
  const PlatformScope scope{[this] {
    Platform platform;
    platform.mainQueue = loop;
    return platform;
  }()};
  const std::shared_ptr<PasskeySheet> sheet = std::make_shared<PasskeySheet>();
  const std::shared_ptr<SimulatedKeys> keys = std::make_shared<SimulatedKeys>();
  std::unique_ptr<fido2::SecurityKeyAuthenticator> authenticator = newAuthenticator();
  std::shared_ptr<void> handle;
  std::optional<PasskeyResult<MadeCredential>> made;
  std::optional<PasskeyResult<Assertion>> got;
  int answers = 0;
  std::vector<PasskeyQuestion> seen;

 private:
  void watch() {
    watching_ = sheet->changed.subscribe([this] {
      const auto step = sheet->question().step;
      if (step == PasskeyStep::none || step == PasskeyStep::working) return;
      seen.push_back(sheet->question());
      auto& waiting = acts_[step];
      if (waiting.empty()) return;
      loop->async(std::move(waiting.front()));
      waiting.pop_front();
    });
  }

  std::map<PasskeyStep, std::deque<Act>> acts_;
  Subscription watching_;
  std::unique_ptr<Timer> noticing_;
};

}  // namespace veltrane::testing
