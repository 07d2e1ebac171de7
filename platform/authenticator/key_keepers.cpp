#include "platform/authenticator/key_keepers.h"

#include <algorithm>
#include <utility>

#include "platform/authenticator/conversation.h"
#include "platform/authenticator/software_key_keeper.h"
#include "veltrane/base/text.h"

namespace veltrane::authenticator {
namespace {

PasskeyQuestion passphraseQuestion(PasskeyStep step, std::string problem) {
  PasskeyQuestion question{.step = step, .confirmTitle = "Continue"};
  question.problem = std::move(problem);
  if (step == PasskeyStep::newPassphrase) {
    question.title = "Choose a passphrase";
    question.message =
        "Unlike the PIN, it encrypts the keys of this device's passkeys. Nobody can reset it: "
        "whoever forgets it has lost them.";
    question.minimumLength = KeyKeepers::kShortestPassphrase;
  } else {
    question.title = "Enter your passphrase";
    question.message =
        "Unlike the PIN, it decrypts the keys of this device's passkeys. If you have forgotten it "
        "they are lost: cancel, and sign in another way.";
  }
  return question;
}

PasskeyError stretchingFailed() {
  return {.cause = "The passphrase cannot be checked: not enough memory, or damaged settings."};
}

std::optional<int> firstCommon(const std::vector<int>& wanted, const std::vector<int>& known) {
  const auto found = std::ranges::find_first_of(wanted, known);
  return found == wanted.end() ? std::nullopt : std::optional(*found);
}

}  // namespace

KeyKeepers::KeyKeepers(std::vector<KeyKeeperFactory> factories, CredentialStore& store,
                       StretchCost cost, std::filesystem::path folder)
    : factories_(std::move(factories)),
      store_(store),
      cost_(cost),
      folder_(std::move(folder)),
      keepers_(factories_.size()) {}

std::optional<PasskeyError> KeyKeepers::turnToStore() {
  auto id = store_.storeId();
  if (auto* error = std::get_if<PasskeyError>(&id)) return std::move(*error);
  if (std::get<std::string>(id) != storeId_) {
    storeId_ = std::get<std::string>(std::move(id));
    for (auto& keeper : keepers_) keeper.reset();
  }
  return std::nullopt;
}

KeyKeeper* KeyKeepers::at(std::size_t index) {
  auto& keeper = keepers_[index];
  if (!keeper) keeper = factories_[index]({storeId_, folder_});
  return keeper.get();
}

PasskeyResult<KeyKeepers::Choice> KeyKeepers::forNewKey(const std::vector<int>& algorithms,
                                                        Conversation& conversation) {
  if (auto error = turnToStore()) return std::move(*error);
  for (std::size_t i = 0; i < factories_.size(); ++i) {
    auto* const present = at(i);
    if (present == nullptr) continue;
    const auto algorithm = firstCommon(algorithms, present->algorithms());
    if (algorithm) return Choice{present, *algorithm, storeId_};
  }
  auto keeper = passphrase(conversation, true);
  if (auto* error = std::get_if<PasskeyError>(&keeper)) return std::move(*error);
  auto* const last = std::get<KeyKeeper*>(keeper);
  const auto algorithm = firstCommon(algorithms, last->algorithms());
  if (!algorithm) {
    return PasskeyError{.failure = PasskeyFailure::notSupported, .cause = "unknown algorithms"};
  }
  return Choice{last, *algorithm, storeId_};
}

PasskeyResult<KeyKeeper*> KeyKeepers::named(const std::string& name, Conversation& conversation) {
  if (name == kPassphrase) return passphrase(conversation, false);
  if (auto error = turnToStore()) return std::move(*error);
  for (std::size_t i = 0; i < factories_.size(); ++i) {
    auto* const present = at(i);
    if (present != nullptr && present->name() == name) return present;
  }
  return PasskeyError{.failure = PasskeyFailure::notSupported,
                      .cause = "What keeps this passkey's key (" + name + ") is not there."};
}

void KeyKeepers::drop(const KeyKeeper* keeper) {
  for (auto& present : keepers_) {
    if (present.get() == keeper) present.reset();
  }
}

PasskeyResult<KeyKeeper*> KeyKeepers::passphrase(Conversation& conversation, bool mayChoose) {
  while (true) {
    auto stored = store_.lock(LockKind::passphrase);
    if (auto* error = std::get_if<PasskeyError>(&stored)) return std::move(*error);
    const auto& lock = std::get<std::optional<Lock>>(stored);
    if (lock && passphraseKeeper_ && passphraseSalt_ == lock->salt) return passphraseKeeper_.get();
    passphraseKeeper_.reset();
    if (lock) {
      auto key = unlock(*lock, conversation);
      if (auto* error = std::get_if<PasskeyError>(&key)) return std::move(*error);
      passphraseSalt_ = lock->salt;
      passphraseKeeper_ = std::make_unique<SoftwareKeyKeeper>(std::string(kPassphrase),
                                                              std::get<Secret>(std::move(key)));
      continue;
    }
    if (!mayChoose) return PasskeyError{.cause = "The passphrase of this passkey is not there."};
    auto chosen = choose(conversation);
    if (auto* error = std::get_if<PasskeyError>(&chosen)) return std::move(*error);
    auto& made = std::get<std::optional<NewLock>>(chosen);
    if (!made) continue;
    passphraseSalt_ = made->lock.salt;
    passphraseKeeper_ =
        std::make_unique<SoftwareKeyKeeper>(std::string(kPassphrase), std::move(made->key));
  }
}

PasskeyResult<Secret> KeyKeepers::unlock(const Lock& lock, Conversation& conversation) {
  std::string problem;
  while (true) {
    auto answer = conversation.ask(passphraseQuestion(PasskeyStep::passphrase, problem));
    if (auto* error = std::get_if<PasskeyError>(&answer)) return std::move(*error);
    auto opening = openLock(lock, std::get<PasskeyAnswer>(answer).secret);
    if (!opening) return stretchingFailed();
    if (opening->isRight) return std::move(opening->key);
    problem = "Wrong passphrase.";
  }
}

/// Nothing when another process has chosen one meanwhile.
PasskeyResult<std::optional<NewLock>> KeyKeepers::choose(Conversation& conversation) {
  std::string problem;
  while (true) {
    auto answer = conversation.ask(passphraseQuestion(PasskeyStep::newPassphrase, problem));
    if (auto* error = std::get_if<PasskeyError>(&answer)) return std::move(*error);
    const Secret& chosen = std::get<PasskeyAnswer>(answer).secret;
    if (codePointCount(chosen.bytes()) >= kShortestPassphrase) {
      auto made = makeLock(chosen, cost_);
      if (!made) return stretchingFailed();
      auto added = store_.addLock(LockKind::passphrase, made->lock);
      if (auto* error = std::get_if<PasskeyError>(&added)) return std::move(*error);
      if (!std::get<bool>(added)) return std::nullopt;
      return made;
    }
    problem = "Use at least 8 characters.";
  }
}

}  // namespace veltrane::authenticator
