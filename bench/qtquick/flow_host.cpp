#include "bench/qtquick/flow_host.h"

#include <QEventLoop>
#include <cstdlib>
#include <string>

#include "platform/qtquick/flow_stage.h"
#include "platform/qtquick/main_queue.h"
#include "platform/sqlite/sqlite_store.h"

namespace veltrane::bench {

FlowHost::FlowHost(std::shared_ptr<ConsoleSink> console) {
  std::string name = std::filesystem::temp_directory_path() / "rows-XXXXXX";
  if (mkdtemp(name.data())) folder_ = name;
  Platform platform = fakes.ports();
  platform.mainQueue = std::make_shared<qtquick::QtMainQueue>();
  platform.console = std::move(console);
  platform.settings = sqlite::open(folder_ / "settings");
  scope_ = std::make_unique<PlatformScope>(std::move(platform));
  window.resize(390, 844);
  window.show();
  presenter_ = std::make_unique<qtquick::FlowPresenter>(&window);
  presenter_->stage().setStill(true);
}

FlowHost::~FlowHost() {
  presenter_.reset();
  scope_.reset();
  std::filesystem::remove_all(folder_);
}

void FlowHost::present(const std::shared_ptr<ViewController>& flow) {
  presenter_->hostViewController()->present(flow, false);
}

void FlowHost::waitUntil(const std::function<bool()>& condition) {
  QEventLoop loop;
  const auto swapped = QObject::connect(&window, &QQuickWindow::frameSwapped, &loop, [&] {
    if (condition()) loop.quit();
  });
  window.update();
  loop.exec();
  QObject::disconnect(swapped);
}

void FlowHost::waitUntilGone() {
  waitUntil([&] { return !presenter_->stage().isShowing() && presenter_->stage().isSettled(); });
}

QQuickItem* FlowHost::rows() {
  const auto* view = presenter_->stage().activeView();
  if (!view || !view->content()) return nullptr;
  return view->content()->findChild<QQuickItem*>(QStringLiteral("rows"));
}

}  // namespace veltrane::bench
