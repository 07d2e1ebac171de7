#pragma once

#include <memory>

#include "veltrane/passkeys/passkey_sheet.h"

namespace veltrane::tool {

/// The person of a driven flow, who answers every question of a passkey's sheet at once: agrees or
/// cancels, takes the first of several choices, and has one PIN and one passphrase. What those open
/// is for tests: both stand in this program.
class PasskeyUser final : public PasskeyPresenter {
 public:
  explicit PasskeyUser(bool agrees) : agrees_(agrees) {}
  void present(const std::shared_ptr<PasskeySheet>& sheet) override;
  /// A passkey is being made or used.
  bool isAsked() const;

 private:
  bool agrees_;
  std::weak_ptr<PasskeySheet> sheet_;
  Subscription changed_;
};

}  // namespace veltrane::tool
