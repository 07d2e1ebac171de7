#pragma once

#include <memory>

#include "platform/qtquick/row_model.h"
#include "platform/qtquick/view_item.h"
#include "veltrane/toolkit/navigation_controller.h"

namespace veltrane {
class FlowScreen;
class ScreenTemplate1VC;
class StartFlowVC;
}  // namespace veltrane

namespace veltrane::qtquick {

/// A screen with a navigation bar.
class ScreenItem : public veltrane::qtquick::ViewItem {
  Q_OBJECT
  QML_NAMED_ELEMENT(ScreenItem)
  QML_UNCREATABLE("Views come from the stage")
  Q_PROPERTY(QString title READ title NOTIFY changed)
  Q_PROPERTY(bool canGoBack READ canGoBack NOTIFY changed)
  Q_PROPERTY(bool barHidden READ isBarHidden NOTIFY changed)
  Q_PROPERTY(bool loading READ isLoading NOTIFY changed)

 public:
  ScreenItem(std::shared_ptr<ViewController> controller, FlowStage& stage);

  QString title() const;
  bool canGoBack() const { return canGoBack_; }
  bool isBarHidden() const { return barHidden_; }

  Q_INVOKABLE void back();
  Q_INVOKABLE void cancel() override;

 protected:
  PaletteWishes wishes() const override;

 private:
  void followBar();

  Subscription navigationSubscription_;
  bool canGoBack_ = false;
  bool barHidden_ = false;
};

/// The generic screen: a list of rows and the activity panel.
class TemplateScreenItem : public veltrane::qtquick::ScreenItem {
  Q_OBJECT
  QML_NAMED_ELEMENT(TemplateScreenItem)
  QML_UNCREATABLE("Views come from the stage")
  Q_PROPERTY(veltrane::qtquick::RowModel* rows READ rows CONSTANT)
  Q_PROPERTY(bool busy READ isBusy NOTIFY changed)
  Q_PROPERTY(double marginTop READ marginTop NOTIFY changed)
  Q_PROPERTY(double marginLeft READ marginLeft NOTIFY changed)
  Q_PROPERTY(double marginBottom READ marginBottom NOTIFY changed)
  Q_PROPERTY(double marginRight READ marginRight NOTIFY changed)
  /// Points of the list's foot that a keyboard covers, with room above it.
  Q_PROPERTY(double keyboardInset READ keyboardInset NOTIFY changed)

 public:
  TemplateScreenItem(std::shared_ptr<ViewController> controller, FlowStage& stage);
  ~TemplateScreenItem() override;

  RowModel* rows() const { return rows_.get(); }
  bool isBusy() const;
  bool isLoading() const override;
  double marginTop() const;
  double marginLeft() const;
  double marginBottom() const;
  double marginRight() const;
  double keyboardInset() const;

  /// An on-screen keyboard covers `height` points of the screen's foot; 0: none does.
  Q_INVOKABLE void keyboardCovers(double height);

 protected:
  PaletteWishes wishes() const override;
  void paletteChanged() override { rows_->refresh(); }

 private:
  ScreenTemplate1VC& screen() const;

  std::unique_ptr<RowModel> rows_;
};

/// The screen that waits for the flow.
class StartScreenItem : public veltrane::qtquick::ScreenItem {
  Q_OBJECT
  QML_NAMED_ELEMENT(StartScreenItem)
  QML_UNCREATABLE("Views come from the stage")
  Q_PROPERTY(QString text READ text NOTIFY changed)
  Q_PROPERTY(bool spinning READ isSpinning NOTIFY changed)
  Q_PROPERTY(bool retryVisible READ isRetryVisible NOTIFY changed)

 public:
  using ScreenItem::ScreenItem;
  QString text() const;
  bool isSpinning() const;
  bool isRetryVisible() const;
  Q_INVOKABLE void retry();
  Q_INVOKABLE void cancel() override;

 private:
  StartFlowVC& screen() const;
};

}  // namespace veltrane::qtquick
