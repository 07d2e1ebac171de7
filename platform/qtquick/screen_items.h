#pragma once

#include <memory>

#include "platform/qtquick/row_model.h"
#include "platform/qtquick/view_item.h"
#include "veltrane/toolkit/navigation_controller.h"

namespace veltrane {
class FlowScreen;
class MfaScreen1VC;
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

  virtual QString title() const;
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

/// A screen that is a list of rows.
class ListScreenItem : public veltrane::qtquick::ScreenItem {
  Q_OBJECT
  QML_NAMED_ELEMENT(ListScreenItem)
  QML_UNCREATABLE("Views come from the stage")
  Q_PROPERTY(veltrane::qtquick::RowModel* rows READ rows CONSTANT)
  /// What the user has asked for is under way.
  Q_PROPERTY(bool busy READ isBusy NOTIFY changed)
  Q_PROPERTY(double marginTop READ marginTop NOTIFY changed)
  Q_PROPERTY(double marginLeft READ marginLeft NOTIFY changed)
  Q_PROPERTY(double marginBottom READ marginBottom NOTIFY changed)
  Q_PROPERTY(double marginRight READ marginRight NOTIFY changed)

 public:
  /// The table belongs to the controller.
  ListScreenItem(std::shared_ptr<ViewController> controller, FlowStage& stage, TableView& table,
                 RowModel::Identify identify);
  ~ListScreenItem() override;

  RowModel* rows() const { return rows_.get(); }
  virtual bool isBusy() const { return false; }
  /// The screen may go on without the user.
  virtual bool isPolling() const { return false; }
  virtual EdgeInsets margins() const;
  double marginTop() const { return margins().top; }
  double marginLeft() const { return margins().left; }
  double marginBottom() const { return margins().bottom; }
  double marginRight() const { return margins().right; }

 protected:
  void paletteChanged() override { rows_->refresh(); }

 private:
  std::unique_ptr<RowModel> rows_;
};

/// The generic screen: a form and the activity panel.
class TemplateScreenItem : public veltrane::qtquick::ListScreenItem {
  Q_OBJECT
  QML_NAMED_ELEMENT(TemplateScreenItem)
  QML_UNCREATABLE("Views come from the stage")
  /// Points of the list's foot that a keyboard covers, with room above it.
  Q_PROPERTY(double keyboardInset READ keyboardInset NOTIFY changed)

 public:
  TemplateScreenItem(std::shared_ptr<ViewController> controller, FlowStage& stage);

  bool isBusy() const override;
  bool isPolling() const override;
  bool isLoading() const override;
  EdgeInsets margins() const override;
  double keyboardInset() const;

  /// An on-screen keyboard covers `height` points of the screen's foot; 0: none does.
  Q_INVOKABLE void keyboardCovers(double height);

 protected:
  PaletteWishes wishes() const override;

 private:
  ScreenTemplate1VC& screen() const;
};

/// The list of methods to choose from.
class MethodScreenItem : public veltrane::qtquick::ListScreenItem {
  Q_OBJECT
  QML_NAMED_ELEMENT(MethodScreenItem)
  QML_UNCREATABLE("Views come from the stage")
  /// What stands in place of the list; empty while there is one.
  Q_PROPERTY(QString emptyText READ emptyText NOTIFY changed)

 public:
  MethodScreenItem(std::shared_ptr<ViewController> controller, FlowStage& stage);

  QString emptyText() const;
  bool isBusy() const override;

  /// The user has chosen this row.
  Q_INVOKABLE void choose(int row);

 private:
  MfaScreen1VC& screen() const;
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
