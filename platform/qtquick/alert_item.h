#pragma once

#include <QtQml/qqmlregistration.h>
#include <QAbstractListModel>
#include <QString>
#include <vector>

#include "platform/qtquick/view_item.h"
#include "veltrane/toolkit/alert_controller.h"

namespace veltrane::qtquick {

class AlertItem;

/// The actions of an alert as a list model: all of a message box, the last one closing it; all but
/// the closing one of a sheet.
class AlertActions : public QAbstractListModel {
  Q_OBJECT
  QML_NAMED_ELEMENT(AlertActions)
  QML_UNCREATABLE("Alerts come from the stage")

 public:
  enum Role { TitleRole = Qt::UserRole + 1, NumberRole, ClosesRole, ViewRole };

  struct Action {
    QString title;
    bool closes;
  };

  AlertActions(std::vector<Action> actions, AlertItem& alert);
  int rowCount(const QModelIndex& parent = {}) const override;
  QVariant data(const QModelIndex& index, int role) const override;
  QHash<int, QByteArray> roleNames() const override;
  /// The number of the action of this title, -1 when there is none.
  int find(const QString& title) const;

 private:
  std::vector<Action> actions_;
  AlertItem& alert_;
};

/// A message box or a sheet of actions. Wears the colours of the screen below it.
class AlertItem : public veltrane::qtquick::ViewItem {
  Q_OBJECT
  QML_NAMED_ELEMENT(AlertItem)
  QML_UNCREATABLE("Views come from the stage")
  Q_PROPERTY(QString title READ title CONSTANT)
  Q_PROPERTY(QString message READ message CONSTANT)
  Q_PROPERTY(bool sheet READ isSheet CONSTANT)
  Q_PROPERTY(veltrane::qtquick::AlertActions* actions READ actions CONSTANT)
  /// Title of the action that only closes, empty when there is none.
  Q_PROPERTY(QString cancelTitle READ cancelTitle CONSTANT)

 public:
  /// `below`: the view under the alert when it opens; may be null.
  AlertItem(std::shared_ptr<ViewController> controller, FlowStage& stage, const ViewItem* below);

  QString title() const;
  QString message() const;
  bool isSheet() const;
  AlertActions* actions() const { return actions_.get(); }
  QString cancelTitle() const;
  bool isAlert() const override { return true; }

  /// `number` counts the actions that do more than close.
  Q_INVOKABLE void choose(int number);
  Q_INVOKABLE void cancel() override;

 protected:
  PaletteWishes wishes() const override { return wishes_; }

 private:
  AlertController& alert() const;

  PaletteWishes wishes_;
  std::unique_ptr<AlertActions> actions_;
};

}  // namespace veltrane::qtquick
