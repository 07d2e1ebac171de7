#include "veltrane/passkeys/passkey_sheet.h"

#include <algorithm>
#include <utility>

namespace veltrane {
namespace {

/// Characters of UTF-8 text as code points.
std::size_t lengthOf(std::string_view text) {
  return static_cast<std::size_t>(std::ranges::count_if(
      text, [](char c) { return (static_cast<unsigned char>(c) & 0xC0U) != 0x80U; }));
}

}  // namespace

bool takesSecret(PasskeyStep step) {
  return step == PasskeyStep::enterPIN || step == PasskeyStep::newPIN ||
         step == PasskeyStep::passphrase || step == PasskeyStep::newPassphrase;
}

void PasskeySheet::ask(PasskeyQuestion question, Answer answer) {
  question_ = std::move(question);
  answer_ = std::move(answer);
  showsOffer_ = question_.alternativeTitle.empty();
  if (showsOffer_) question_.alternativeTitle = offerTitle_;
  changed();
}

void PasskeySheet::offer(std::string title, std::function<void()> action) {
  offerTitle_ = std::move(title);
  offerAction_ = std::move(action);
}

void PasskeySheet::work(std::function<void()> cancelled) {
  cancelled_ = std::move(cancelled);
  question_ = {.step = PasskeyStep::working};
  changed();
}

void PasskeySheet::close() {
  if (!isOpen()) return;
  answer_ = nullptr;
  cancelled_ = nullptr;
  question_ = {};
  changed();
}

void PasskeySheet::confirm() {
  if (takesSecret(question_.step) || !question_.choices.empty()) return;
  if (!question_.confirmTitle.empty()) reply({.kind = PasskeyAnswer::Kind::confirmed});
}

void PasskeySheet::choose(std::size_t index) {
  if (index >= question_.choices.size()) return;
  reply({.kind = PasskeyAnswer::Kind::confirmed, .choice = index});
}

void PasskeySheet::enter(Secret secret) {
  if (!takesSecret(question_.step)) return;
  if (lengthOf(secret.bytes()) < question_.minimumLength) {
    question_.problem = "Use at least " + std::to_string(question_.minimumLength) + " characters.";
    changed();
    return;
  }
  reply({.kind = PasskeyAnswer::Kind::confirmed, .secret = std::move(secret)});
}

void PasskeySheet::useAlternative() {
  if (question_.alternativeTitle.empty()) return;
  if (!showsOffer_) return reply({.kind = PasskeyAnswer::Kind::alternative});
  answer_ = nullptr;
  question_ = {.step = PasskeyStep::working, .title = std::move(question_.title)};
  const auto action = offerAction_;
  changed();
  action();
}

void PasskeySheet::cancel() {
  if (answer_) return reply({.kind = PasskeyAnswer::Kind::cancelled});
  const auto cancelled = cancelled_;
  if (isOpen() && cancelled) cancelled();
}

void PasskeySheet::reply(PasskeyAnswer answer) {
  if (!answer_) return;
  const Answer callback = std::exchange(answer_, nullptr);
  question_ = {.step = PasskeyStep::working, .title = std::move(question_.title)};
  changed();
  callback(std::move(answer));
}

}  // namespace veltrane
