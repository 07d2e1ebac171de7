#include "apps/vtflow/drive/passkey_user.h"

#include "veltrane/toolkit/main_queue.h"

namespace veltrane::tool {
namespace {

constexpr std::string_view kPIN = "135790";
constexpr std::string_view kPassphrase = "a passphrase for tests";

void agree(PasskeySheet& sheet) {
  switch (sheet.question().step) {
    case PasskeyStep::none:
    case PasskeyStep::working:
      return;
    case PasskeyStep::consent:
      return sheet.confirm();
    case PasskeyStep::account:
    case PasskeyStep::method:
      return sheet.choose(0);
    case PasskeyStep::enterPIN:
    case PasskeyStep::newPIN:
      return sheet.enter(Secret(kPIN));
    case PasskeyStep::passphrase:
    case PasskeyStep::newPassphrase:
      return sheet.enter(Secret(kPassphrase));
    case PasskeyStep::insertKey:
    case PasskeyStep::touchKey:
    case PasskeyStep::selectKey:
    case PasskeyStep::notice:
      return sheet.cancel();
  }
}

}  // namespace

void PasskeyUser::present(const std::shared_ptr<PasskeySheet>& sheet) {
  const auto typed = std::make_shared<bool>(false);
  const auto answer = [weak = std::weak_ptr(sheet), agrees = agrees_, typed] {
    const auto shown = weak.lock();
    if (!shown) return;
    // The same answer again would not be right this time.
    const bool isRefused = *typed && !shown->question().problem.empty();
    if (!agrees || isRefused) return shown->cancel();
    *typed = takesSecret(shown->question().step);
    agree(*shown);
  };
  sheet_ = sheet;
  changed_ = sheet->changed.subscribe([answer] { MainQueue::current().async(answer); });
  MainQueue::current().async(answer);
}

bool PasskeyUser::isAsked() const {
  const auto sheet = sheet_.lock();
  return sheet && sheet->isOpen();
}

}  // namespace veltrane::tool
