#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "veltrane/passkeys/passkey_sheet.h"

namespace veltrane::authenticator::testing {

/// Someone in front of a sheet, who answers each question in turn.
class Person {
 public:
  Person();

  /// Turns to another sheet.
  void attend(std::shared_ptr<PasskeySheet> sheet);

  std::string pin = "2580";
  std::string passphrase = "correct horse battery";
  std::size_t account = 0;
  /// Called before the person answers; false: it has dealt with the question, or leaves it open.
  std::function<bool(PasskeySheet&)> look = [](PasskeySheet&) { return true; };

  const std::shared_ptr<PasskeySheet>& sheet() const { return sheet_; }
  /// What has been asked since this was last called; `working` is no question.
  std::vector<PasskeyQuestion> takeQuestions();
  std::vector<PasskeyStep> takeSteps();

 private:
  void answer();

  std::shared_ptr<PasskeySheet> sheet_;
  Subscription changes_;
  std::vector<PasskeyQuestion> questions_;
};

}  // namespace veltrane::authenticator::testing
