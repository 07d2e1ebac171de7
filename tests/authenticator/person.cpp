#include "tests/authenticator/person.h"

#include <utility>

namespace veltrane::authenticator::testing {

Person::Person() {
  attend(std::make_shared<PasskeySheet>());
}

void Person::attend(std::shared_ptr<PasskeySheet> sheet) {
  sheet_ = std::move(sheet);
  changes_ = sheet_->changed.subscribe([this] { answer(); });
  answer();
}

std::vector<PasskeyQuestion> Person::takeQuestions() {
  return std::exchange(questions_, {});
}

std::vector<PasskeyStep> Person::takeSteps() {
  std::vector<PasskeyStep> steps;
  for (const auto& question : takeQuestions()) steps.push_back(question.step);
  return steps;
}

void Person::answer() {
  const PasskeyStep step = sheet_->question().step;
  if (step == PasskeyStep::working || step == PasskeyStep::none) return;
  questions_.push_back(sheet_->question());
  if (!look(*sheet_)) return;
  if (step == PasskeyStep::account) return sheet_->choose(account);
  if (step == PasskeyStep::enterPIN || step == PasskeyStep::newPIN) {
    return sheet_->enter(Secret(std::string_view(pin)));
  }
  if (step == PasskeyStep::passphrase || step == PasskeyStep::newPassphrase) {
    return sheet_->enter(Secret(std::string_view(passphrase)));
  }
  sheet_->confirm();
}

}  // namespace veltrane::authenticator::testing
