#pragma once

#include <QQuickItem>
#include <QQuickWindow>
#include <filesystem>
#include <functional>
#include <memory>

#include "platform/qtquick/flow_presenter.h"
#include "tests/support/fakes.h"

namespace veltrane::bench {

/// A window that shows flows, with settings in a file as a host has them, Qt's own queue, and a
/// network and a decoder that the benchmark answers for.
class FlowHost {
 public:
  explicit FlowHost(std::shared_ptr<ConsoleSink> console);
  ~FlowHost();

  void present(const std::shared_ptr<ViewController>& flow);
  /// Returns after the first frame at whose end the condition holds.
  void waitUntil(const std::function<bool()>& condition);
  /// After the flow has been dismissed.
  void waitUntilGone();
  /// The list of the screen on display; null while there is none.
  QQuickItem* rows();

  testing::FakePlatform fakes;
  QQuickWindow window;

 private:
  std::filesystem::path folder_;
  std::unique_ptr<PlatformScope> scope_;
  std::unique_ptr<qtquick::FlowPresenter> presenter_;
};

}  // namespace veltrane::bench
