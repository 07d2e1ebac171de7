#pragma once

#include <QObject>
#include <QPointer>
#include <QQuickItem>
#include <QVariantMap>
#include <memory>
#include <string_view>

#include "veltrane/toolkit/view_controller.h"

namespace veltrane {
class PasskeySheet;
}

QT_BEGIN_NAMESPACE
class QQmlEngine;
class QQuickWindow;
QT_END_NAMESPACE

namespace veltrane::qtquick {

class FlowStage;
class PasskeyItem;

/// Shows flows over a host's window or item. Make one on the user-interface thread, hand its
/// `hostViewController()` to `VTFlow::runFlow`, and keep it until the flow's outcome is there.
///
///     veltrane::qtquick::install();
///     veltrane::qtquick::FlowPresenter presenter(window);
///     vtFlow->runFlow({.flowId = "sign-in", .fromViewController =
///     presenter.hostViewController()});
///
/// What the presenter shows fills the window (or the item) and takes its keyboard until the flow
/// has gone; then the focus is where it was. The window or item may go first.
class FlowPresenter final : public QObject {
  Q_OBJECT

 public:
  /// Over everything in the window. Without an engine of the host's, which then outlives the
  /// presenter, it makes its own.
  explicit FlowPresenter(QQuickWindow* window, QQmlEngine* engine = nullptr);
  /// Over what is in the item, with the item's engine if it has one.
  explicit FlowPresenter(QQuickItem* item);
  ~FlowPresenter() override;

  std::shared_ptr<ViewController> hostViewController() const;

  /// Text size, direction, dark or light: from the system, a host may set others.
  FlowStage& stage() { return *stage_; }
  /// What holds the flow's views. Null when the module's files are missing or the parent is gone.
  QQuickItem* overlay() const { return overlay_; }

  /// Shows the sheet's questions above everything of the flow's until it is closed. False when
  /// there is nothing to show them on.
  bool show(const std::shared_ptr<PasskeySheet>& sheet);
  /// The panel of the sheet shown last; null when it has gone.
  PasskeyItem* passkey() const;

  /// The presenter whose flow is on display, that of the active window before others; else any of
  /// the active window; else the one made last. Null when there is none.
  static FlowPresenter* current();
  /// One of the presenters shows this sheet.
  static bool isShown(const PasskeySheet& sheet);

 signals:
  /// A passkey's panel shows another question, has come to rest, or has gone.
  void passkeyChanged();

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  FlowPresenter(QQuickItem* item, QQmlEngine* engine);
  void makeOverlay(QQmlEngine* engine);
  /// A file of the module, within the presenter's item; null, and a line on the console, when the
  /// file is missing.
  QQuickItem* make(QQmlEngine& engine, std::string_view file, QVariantMap properties);
  void rememberFocus();
  /// The focus comes back to where it was before the panel, or to the screen that is there now.
  void takeFocusBack();
  int claim() const;

  QPointer<QQuickItem> parent_;
  QPointer<QQuickItem> formerFocus_;
  QPointer<QQuickWindow> window_;
  std::unique_ptr<QQmlEngine> ownEngine_;
  std::unique_ptr<FlowStage> stage_;
  QPointer<QQuickItem> overlay_;
  QPointer<PasskeyItem> passkey_;
  QPointer<QQuickItem> focusBelowPasskey_;
  bool wasShowing_ = false;
};

}  // namespace veltrane::qtquick
