#pragma once

#include <memory>
#include <utility>
#include <vector>

#include "platform/qtquick/passkey_item.h"
#include "platform/qtquick/passkey_presenter.h"
#include "tests/qtquick/front_end.h"

namespace veltrane::qtquick::test {

/// A sheet, shown over a form or over nothing, and the person who answers it.
class PasskeyFrontEnd : public FrontEnd {
 protected:
  ~PasskeyFrontEnd() override {
    sheet_.reset();
    settle();
  }

  static PasskeyQuestion question(PasskeyStep step) {
    return {.step = step,
            .title = "Title",
            .relyingParty = "acme.example",
            .account = "alice@acme.example",
            .confirmTitle = "Go on"};
  }
  void ask(PasskeyQuestion question) {
    port_.present(sheet_);
    sheet_->ask(std::move(question), [this](PasskeyAnswer answer) {
      answers_.push_back(answer.kind);
      choice_ = answer.choice;
      secret_ = std::move(answer.secret);
    });
    settle();
  }

  QQuickItem* panel() { return presenter_.passkey() ? presenter_.passkey()->content() : nullptr; }
  std::vector<QQuickItem*> parts(const char* name) {
    std::vector<QQuickItem*> found;
    for (QQuickItem* each : visibleItems(panel())) {
      if (each->objectName() == QLatin1String(name)) found.push_back(each);
    }
    return found;
  }
  /// The first of what the person sees under that name; null when there is nothing.
  QQuickItem* part(const char* name) {
    const auto found = parts(name);
    return found.empty() ? nullptr : found.front();
  }
  QString textOf(const char* name) {
    return part(name) ? part(name)->property("text").toString() : QString();
  }
  int typed(std::size_t field = 0) {
    return parts("passkeyField").at(field)->property("length").toInt();
  }

  QtPasskeyPresenter port_;
  std::shared_ptr<PasskeySheet> sheet_ = std::make_shared<PasskeySheet>();
  std::vector<PasskeyAnswer::Kind> answers_;
  std::size_t choice_ = 99;
  Secret secret_;
};

}  // namespace veltrane::qtquick::test
