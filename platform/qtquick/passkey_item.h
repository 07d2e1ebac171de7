#pragma once

#include <QtQml/qqmlregistration.h>
#include <QColor>
#include <QObject>
#include <QPointer>
#include <QQuickItem>
#include <QString>
#include <QStringList>
#include <QTimer>
#include <memory>

#include "platform/qtquick/palette.h"
#include "platform/qtquick/secret_field.h"
#include "veltrane/passkeys/passkey_sheet.h"

namespace veltrane::qtquick {

class FlowStage;

/// Cancels what the sheet asks, if it still asks, once whoever asked has come back to the event
/// loop.
void cancelSoon(const std::weak_ptr<PasskeySheet>& sheet);

/// A passkey's sheet as QML sees it, from its first question until its panel has moved out. While
/// the sheet is `working` it goes on showing the last question, `busy`: usually the next one is
/// there before anyone has seen that there was none. Only after a moment it is `late`, and shows
/// what is being done if that has a title of its own.
class PasskeyItem : public QObject {
  Q_OBJECT
  QML_NAMED_ELEMENT(PasskeyItem)
  QML_UNCREATABLE("The presenter has one")
  Q_PROPERTY(veltrane::qtquick::FlowStage* stage READ stage CONSTANT)
  Q_PROPERTY(veltrane::qtquick::Palette palette READ palette NOTIFY lookChanged)
  /// For what went wrong.
  Q_PROPERTY(QColor problemColor READ problemColor NOTIFY lookChanged)

  Q_PROPERTY(Step step READ step NOTIFY changed)
  Q_PROPERTY(QString title READ title NOTIFY changed)
  Q_PROPERTY(QString message READ message NOTIFY changed)
  Q_PROPERTY(QString relyingParty READ relyingParty NOTIFY changed)
  Q_PROPERTY(QString account READ account NOTIFY changed)
  Q_PROPERTY(QStringList choices READ choices NOTIFY choicesChanged)
  Q_PROPERTY(QString confirmTitle READ confirmTitle NOTIFY changed)
  Q_PROPERTY(QString alternativeTitle READ alternativeTitle NOTIFY changed)
  Q_PROPERTY(QString problem READ problem NOTIFY changed)
  /// What was typed twice is not the same.
  Q_PROPERTY(bool mismatch READ isMismatch NOTIFY changed)
  Q_PROPERTY(int minimumLength READ minimumLength NOTIFY changed)
  /// A PIN or passphrase is to be typed; twice, for a new one.
  Q_PROPERTY(bool takesSecret READ takesSecret NOTIFY changed)
  Q_PROPERTY(bool takesTwo READ takesTwo NOTIFY changed)

  Q_PROPERTY(bool open READ isOpen NOTIFY changed)
  /// The person has answered; the next question is not there yet.
  Q_PROPERTY(bool busy READ isBusy NOTIFY changed)
  Q_PROPERTY(bool late READ isLate NOTIFY changed)
  Q_PROPERTY(bool cancellable READ isCancellable NOTIFY changed)

 public:
  /// As `PasskeyStep`, in its order.
  enum Step {
    None,
    Consent,
    Account,
    Method,
    InsertKey,
    TouchKey,
    SelectKey,
    EnterPIN,
    NewPIN,
    Passphrase,
    NewPassphrase,
    Notice,
    Working
  };
  Q_ENUM(Step)

  /// The stage outlives it; the sheet may go first.
  PasskeyItem(const std::shared_ptr<PasskeySheet>& sheet, FlowStage& stage, QObject* parent);
  /// A question that nobody can see any more is cancelled.
  ~PasskeyItem() override;

  bool shows(const PasskeySheet& sheet) const { return sheet_.lock().get() == &sheet; }

  FlowStage* stage() const { return &stage_; }
  const Palette& palette() const { return palette_; }
  QColor problemColor() const;

  Step step() const { return static_cast<Step>(shown_.step); }
  QString title() const;
  QString message() const;
  QString relyingParty() const;
  QString account() const;
  const QStringList& choices() const { return choices_; }
  QString confirmTitle() const;
  QString alternativeTitle() const;
  QString problem() const;
  bool isMismatch() const { return mismatch_; }
  int minimumLength() const { return static_cast<int>(shown_.minimumLength); }
  bool takesSecret() const;
  bool takesTwo() const { return step() == NewPIN || step() == NewPassphrase; }
  bool isOpen() const { return open_; }
  bool isBusy() const { return busy_; }
  bool isLate() const { return late_; }
  bool isCancellable() const { return cancellable_; }

  /// What QML made for it. Announced as a dialog.
  void setContent(QQuickItem* content);
  QQuickItem* content() const { return content_; }
  /// It has come to rest where it is to be seen.
  bool isSettled() const { return settled_; }

  // The person's acts.
  Q_INVOKABLE void confirm();
  Q_INVOKABLE void choose(int index);
  /// What has been typed, and typed again where a new secret is asked for. Fields that have been
  /// sent are wiped.
  Q_INVOKABLE void enter(veltrane::qtquick::SecretField* first,
                         veltrane::qtquick::SecretField* again);
  Q_INVOKABLE void useAlternative();
  Q_INVOKABLE void cancel();
  /// The person types again.
  Q_INVOKABLE void forgiveMismatch();

  /// QML: the panel has come in, or moved out.
  Q_INVOKABLE void settled();

 signals:
  void changed();
  void choicesChanged();
  void lookChanged();
  /// Another question is on display.
  void asked();
  void hasSettled();
  /// Nothing is asked any more; the panel moves out.
  void closed();
  void left();

 private:
  void follow();
  void show(const PasskeyQuestion& question);
  void work();
  void beLate();
  void followLook();
  void announce() const;

  std::weak_ptr<PasskeySheet> sheet_;
  FlowStage& stage_;
  Palette palette_;
  PasskeyQuestion shown_;
  QStringList choices_;
  QPointer<QQuickItem> content_;
  bool open_ = false;
  bool busy_ = false;
  bool late_ = false;
  bool cancellable_ = false;
  bool mismatch_ = false;
  bool settled_ = false;
  QTimer lateTimer_;
  Subscription subscription_;
};

}  // namespace veltrane::qtquick
