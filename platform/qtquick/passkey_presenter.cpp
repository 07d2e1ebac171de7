#include "platform/qtquick/passkey_presenter.h"

#include "platform/qtquick/flow_presenter.h"
#include "platform/qtquick/passkey_item.h"
#include "veltrane/base/console.h"

namespace veltrane::qtquick {
namespace {

void show(const std::shared_ptr<PasskeySheet>& sheet) {
  if (!sheet || !sheet->isOpen() || FlowPresenter::isShown(*sheet)) return;
  FlowPresenter* presenter = FlowPresenter::current();
  if (presenter && presenter->show(sheet)) return;
  console::print("A passkey's question cannot be shown: there is no window for it.");
  cancelSoon(sheet);
}

}  // namespace

void QtPasskeyPresenter::present(const std::shared_ptr<PasskeySheet>& sheet) {
  std::erase_if(watched_, [&](const Watched& one) {
    const auto other = one.sheet.lock();
    return !other || other == sheet;
  });
  const std::weak_ptr<PasskeySheet> weak = sheet;
  watched_.push_back({weak, sheet->changed.subscribe([weak] { show(weak.lock()); })});
  show(sheet);
}

}  // namespace veltrane::qtquick
