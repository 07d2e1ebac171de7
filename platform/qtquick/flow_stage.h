#pragma once

#include <QtQml/qqmlregistration.h>
#include <QAbstractListModel>
#include <QObject>
#include <memory>
#include <vector>

#include "platform/qtquick/palette.h"
#include "platform/qtquick/view_item.h"
#include "veltrane/toolkit/view_controller.h"

namespace veltrane::qtquick {

/// The views of a flow from the bottom to the top, those on their way out among them.
class FlowStage : public QAbstractListModel {
  Q_OBJECT
  QML_NAMED_ELEMENT(FlowStage)
  QML_UNCREATABLE("A presenter has one")
  /// True while a view of a flow is on display.
  Q_PROPERTY(bool showing READ isShowing NOTIFY viewsChanged)
  /// How much larger than designed the system wants text, 1 to 2.
  Q_PROPERTY(double textScale READ textScale WRITE setTextScale NOTIFY lookChanged)
  /// Layouts run from right to left.
  Q_PROPERTY(bool mirrored READ isMirrored WRITE setMirrored NOTIFY lookChanged)
  /// The system asks for dark colours.
  Q_PROPERTY(bool dark READ isDark WRITE setDark NOTIFY lookChanged)
  /// Views fade instead of moving.
  Q_PROPERTY(bool reducedMotion READ hasReducedMotion WRITE setReducedMotion NOTIFY lookChanged)
  /// Views come and go at once.
  Q_PROPERTY(bool still READ isStill WRITE setStill NOTIFY lookChanged)
  /// The user's last act came from a keyboard, so that the focus must be seen.
  Q_PROPERTY(bool keyboardInUse READ isKeyboardInUse NOTIFY keyboardInUseChanged)
  /// Where an on-screen keyboard begins, in the window's coordinates; -1 when there is none.
  Q_PROPERTY(double keyboardTop READ keyboardTop NOTIFY keyboardTopChanged)
  /// How much of the flow's foot it covers, in points.
  Q_PROPERTY(double coveredByKeyboard MEMBER coveredByKeyboard_ NOTIFY coveredByKeyboardChanged)

 public:
  enum Role { ViewRole = Qt::UserRole + 1 };

  FlowStage();
  ~FlowStage() override;

  /// What the host hands to `VTFlow::runFlow`.
  const std::shared_ptr<HostViewController>& host() const { return host_; }

  int rowCount(const QModelIndex& parent = {}) const override;
  QVariant data(const QModelIndex& index, int role) const override;
  QHash<int, QByteArray> roleNames() const override;

  bool isShowing() const;
  /// The view the user acts on; null when none is on display.
  ViewItem* activeView() const;
  /// Nothing moves any more.
  bool isSettled() const;

  /// Takes over the system's text size, direction and colours as they are now, other than those
  /// that the host has set.
  void followSystem();
  double textScale() const { return textScale_; }
  void setTextScale(double scale);
  bool isMirrored() const { return mirrored_; }
  void setMirrored(bool mirrored);
  bool isDark() const { return dark_; }
  void setDark(bool dark);
  bool hasReducedMotion() const { return reducedMotion_; }
  void setReducedMotion(bool reduced);
  bool isStill() const { return still_; }
  void setStill(bool still);
  bool isKeyboardInUse() const { return keyboardInUse_; }
  void setKeyboardInUse(bool inUse);
  double keyboardTop() const;

  /// What the host's theme asks for, on every screen.
  PaletteWishes themeWishes() const;

 signals:
  void viewsChanged();
  void lookChanged();
  void keyboardInUseChanged();
  void keyboardTopChanged();
  void coveredByKeyboardChanged();
  /// A view has come to rest, or one has gone.
  void settled();
  /// After the views have been brought up to date.
  void presentationChanged(const veltrane::PresentationChange& change);

 private:
  using Controllers = std::vector<std::shared_ptr<ViewController>>;

  static void collect(const std::shared_ptr<ViewController>& controller, Controllers& views);
  void sync(const PresentationChange& change);
  void retire(const Controllers& wanted, ViewItem::Motion motion);
  void place(const Controllers& wanted, double lift);
  void arrange(const Controllers& wanted, ViewItem::Motion motion);
  void insertView(std::size_t at, std::shared_ptr<ViewController> controller, double lift);
  void removeView(std::size_t at);
  void viewSettled(ViewItem* view);
  std::size_t indexOf(const std::shared_ptr<ViewController>& controller) const;
  void lookHasChanged();

  std::shared_ptr<HostViewController> host_;
  std::vector<std::unique_ptr<ViewItem>> views_;
  double textScale_ = 1;
  bool mirrored_ = false;
  bool dark_ = false;
  bool reducedMotion_ = false;
  bool still_ = false;
  bool keyboardInUse_ = false;
  double coveredByKeyboard_ = 0;
  bool hostSetTextScale_ = false;
  bool hostSetMirrored_ = false;
  bool hostSetDark_ = false;
  Subscription subscription_;
};

}  // namespace veltrane::qtquick
