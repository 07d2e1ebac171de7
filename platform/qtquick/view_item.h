#pragma once

#include <QtQml/qqmlregistration.h>
#include <QColor>
#include <QObject>
#include <QPointer>
#include <QQuickItem>
#include <QString>
#include <QUrl>
#include <memory>

#include "platform/qtquick/palette.h"
#include "veltrane/toolkit/signal.h"
#include "veltrane/toolkit/view_controller.h"

namespace veltrane::qtquick {

class FlowStage;

/// One controller as QML sees it, from the moment it is on display until its view has moved out.
/// Mirrors the controller's state under one `changed` signal and hands on what the user does.
class ViewItem : public QObject {
  Q_OBJECT
  QML_NAMED_ELEMENT(ViewItem)
  QML_UNCREATABLE("Views come from the stage")
  Q_PROPERTY(QUrl source READ source CONSTANT)
  Q_PROPERTY(QString className READ className CONSTANT)
  Q_PROPERTY(veltrane::qtquick::FlowStage* stage READ stage CONSTANT)
  Q_PROPERTY(veltrane::qtquick::Palette palette READ palette NOTIFY changed)
  Q_PROPERTY(Phase phase READ phase NOTIFY phaseChanged)
  Q_PROPERTY(Motion motion READ motion NOTIFY phaseChanged)
  Q_PROPERTY(bool active READ isActive NOTIFY phaseChanged)
  /// How far the view is below its place, as a share of its height.
  Q_PROPERTY(double lift READ lift WRITE setLift NOTIFY liftChanged)
  /// How much of the view has come in by fading, 0 to 1.
  Q_PROPERTY(double presence MEMBER presence_ NOTIFY presenceChanged)
  Q_PROPERTY(QQuickItem* content READ content WRITE setContent NOTIFY contentChanged)

 public:
  enum class Phase { Shown, Covered, Leaving };
  Q_ENUM(Phase)
  /// How the view gets from one phase to the next.
  enum class Motion { None, Push, Modal, Fade };
  Q_ENUM(Motion)

  ViewItem(std::shared_ptr<ViewController> controller, FlowStage& stage);
  ~ViewItem() override;

  const std::shared_ptr<ViewController>& controller() const { return controller_; }
  FlowStage* stage() const { return &stage_; }
  QUrl source() const { return source_; }
  void setSource(QUrl source) { source_ = std::move(source); }
  QString className() const;
  const Palette& palette() const { return palette_; }

  Phase phase() const { return phase_; }
  Motion motion() const { return motion_; }
  /// The user acts on this view: it is the topmost one.
  bool isActive() const { return active_; }
  void move(Phase phase, Motion motion, bool active);
  double lift() const { return lift_; }
  void setLift(double lift);
  /// A view that shows a message rather than a screen.
  virtual bool isAlert() const { return false; }
  /// The activity panel is up.
  virtual bool isLoading() const { return false; }

  /// The item that QML made for this view; null until it is there.
  QQuickItem* content() const { return content_; }
  void setContent(QQuickItem* content);

  /// QML: the view has come to rest in its phase.
  Q_INVOKABLE void settled();
  bool isSettled() const { return settled_; }

  /// What closes this view: the flow for a screen, the box for an alert.
  Q_INVOKABLE virtual void cancel() {}
  /// The system's dark or light has changed, or the controller.
  void refresh();

 signals:
  void changed();
  void phaseChanged();
  void contentChanged();
  void liftChanged();
  void presenceChanged();
  void hasSettled();

 protected:
  /// What this view's theme and document ask for.
  virtual PaletteWishes wishes() const;
  /// Runs after the palette is up to date and before `changed`.
  virtual void paletteChanged() {}

 private:
  std::shared_ptr<ViewController> controller_;
  FlowStage& stage_;
  QUrl source_;
  PaletteWishes wishes_;
  Palette palette_;
  Phase phase_ = Phase::Covered;
  Motion motion_ = Motion::None;
  bool active_ = false;
  bool settled_ = false;
  double lift_ = 0;
  double presence_ = 1;
  QPointer<QQuickItem> content_;
  Subscription subscription_;
};

}  // namespace veltrane::qtquick
