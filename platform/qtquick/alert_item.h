#pragma once

#include <QStringList>

#include "platform/qtquick/view_item.h"
#include "veltrane/toolkit/alert_controller.h"

namespace veltrane::qtquick {

/// A message box or a sheet of actions. Wears the colours of the screen below it.
class AlertItem : public ViewItem {
  Q_OBJECT
  QML_NAMED_ELEMENT(AlertItem)
  QML_UNCREATABLE("Views come from the stage")
  Q_PROPERTY(QString title READ title CONSTANT)
  Q_PROPERTY(QString message READ message CONSTANT)
  Q_PROPERTY(bool sheet READ isSheet CONSTANT)
  /// Titles of the actions other than the one that only closes, and their numbers.
  Q_PROPERTY(QStringList choices READ choices CONSTANT)
  /// Title of the action that only closes, empty when there is none.
  Q_PROPERTY(QString cancelTitle READ cancelTitle CONSTANT)

 public:
  /// `below`: the view under the alert when it opens; may be null.
  AlertItem(std::shared_ptr<ViewController> controller, FlowStage& stage, const ViewItem* below);

  QString title() const;
  QString message() const;
  bool isSheet() const;
  QStringList choices() const;
  QString cancelTitle() const;
  bool isAlert() const override { return true; }

  /// `index` counts `choices`.
  Q_INVOKABLE void choose(int index);
  Q_INVOKABLE void cancel() override;

 protected:
  PaletteWishes wishes() const override { return wishes_; }

 private:
  AlertController& alert() const;

  PaletteWishes wishes_;
};

}  // namespace veltrane::qtquick
