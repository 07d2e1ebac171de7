#include "apps/window/passkey_player.h"

#include <QQuickItem>
#include <QQuickWindow>
#include <algorithm>
#include <utility>

#include "apps/window/gestures.h"
#include "platform/qtquick/passkey_item.h"

namespace veltrane::window {
namespace {

using qtquick::PasskeyItem;

constexpr const char* kPIN = "4071";
constexpr const char* kPassphrase = "a passphrase for this demo alone";

bool takesPIN(const PasskeyItem& panel) {
  return panel.step() == PasskeyItem::EnterPIN || panel.step() == PasskeyItem::NewPIN;
}

}  // namespace

std::string nameOf(const PasskeyItem& panel) {
  switch (panel.step()) {
    case PasskeyItem::Consent:
      return "passkey consent";
    case PasskeyItem::Account:
      return "passkey accounts";
    case PasskeyItem::Method:
      return "passkey methods";
    case PasskeyItem::InsertKey:
    case PasskeyItem::TouchKey:
    case PasskeyItem::SelectKey:
      return "security key";
    case PasskeyItem::EnterPIN:
    case PasskeyItem::NewPIN:
      return "passkey PIN";
    case PasskeyItem::Passphrase:
    case PasskeyItem::NewPassphrase:
      return "passkey passphrase";
    default:
      return "passkey notice";
  }
}

PasskeyPlayer::Refusal PasskeyPlayer::answer(PasskeyItem& panel) {
  switch (panel.step()) {
    case PasskeyItem::None:
    case PasskeyItem::Working:
      return std::nullopt;
    case PasskeyItem::Account:
    case PasskeyItem::Method:
      return pick(panel);
    case PasskeyItem::EnterPIN:
    case PasskeyItem::NewPIN:
    case PasskeyItem::Passphrase:
    case PasskeyItem::NewPassphrase:
      return hasTyped_ ? click(panel, "passkeyConfirm") : type(panel);
    default:
      break;
  }
  if (!panel.confirmTitle().isEmpty()) return click(panel, "passkeyConfirm");
  if (!panel.alternativeTitle().isEmpty()) return click(panel, "passkeyAlternative");
  return "the panel \"" + panel.title().toStdString() + "\" offers nothing that goes on";
}

PasskeyPlayer::Refusal PasskeyPlayer::click(PasskeyItem& panel, const char* name) {
  QQuickItem* const button = findItem(panel.content(), QString::fromLatin1(name));
  if (!button) return "there is no button to go on with";
  say_("pressed  " + button->property("text").toString().toStdString());
  const QPointF middle = button->mapToScene(QPointF(button->width() / 2, button->height() / 2));
  if (QRectF(QPointF(), QSizeF(window_.size())).contains(middle)) {
    window::click(*button);
  } else {  // a person would scroll to it, or use the keyboard
    button->forceActiveFocus(Qt::TabFocusReason);
    pressKey(window_, Qt::Key_Space);
  }
  return std::nullopt;
}

PasskeyPlayer::Refusal PasskeyPlayer::pick(PasskeyItem& panel) {
  const auto index = std::max<qsizetype>(panel.choices().indexOf(QStringLiteral("This device")), 0);
  QVariant choice;
  QMetaObject::invokeMethod(panel.content(), "choiceAt", Q_RETURN_ARG(QVariant, choice),
                            Q_ARG(QVariant, QVariant(static_cast<int>(index))));
  auto* const item = qobject_cast<QQuickItem*>(choice.value<QObject*>());
  if (!item) return "the choice cannot be seen";
  say_("picked   " + panel.choices().value(index).toStdString());
  window::click(*item);
  return std::nullopt;
}

PasskeyPlayer::Refusal PasskeyPlayer::type(PasskeyItem& panel) {
  if (hasTypedBefore_ && !panel.problem().isEmpty()) return panel.problem().toStdString();
  QQuickItem* const field = findItem(panel.content(), QStringLiteral("passkeyField"));
  if (!field) return "there is no field to type into";
  window::click(*field);
  const auto secret = QString::fromLatin1(takesPIN(panel) ? kPIN : kPassphrase);
  window::type(window_, secret);
  if (panel.takesTwo()) {
    // From a field that is not the last, Return leads to the next.
    pressKey(window_, Qt::Key_Return);
    window::type(window_, secret);
  }
  say_(takesPIN(panel) ? "typed    a PIN" : "typed    a passphrase");
  hasTyped_ = true;
  return std::nullopt;
}

}  // namespace veltrane::window
