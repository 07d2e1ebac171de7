#include "platform/qtquick/passkey_item.h"

#include <QAccessible>
#include <QCoreApplication>
#include <utility>

#include "platform/qtquick/convert.h"
#include "platform/qtquick/flow_stage.h"
#include "platform/qtquick/words.h"

namespace veltrane::qtquick {
namespace {

static_assert(static_cast<int>(PasskeyItem::Working) == static_cast<int>(PasskeyStep::working));

constexpr double kText = 4.5;
/// Longer names are cut in their middle: the two ends are what tells them apart.
constexpr qsizetype kLongestName = 96;

QString nameOf(const std::string& text) {
  const QString name = toQString(text).simplified();
  if (name.size() <= kLongestName) return name;
  const qsizetype half = kLongestName / 2;
  return name.left(half) + QChar(0x2026) + name.right(half);
}

}  // namespace

void cancelSoon(const std::weak_ptr<PasskeySheet>& sheet) {
  QMetaObject::invokeMethod(
      QCoreApplication::instance(),
      [sheet] {
        if (const auto waiting = sheet.lock()) waiting->cancel();
      },
      Qt::QueuedConnection);
}

PasskeyItem::PasskeyItem(const std::shared_ptr<PasskeySheet>& sheet, FlowStage& stage,
                         QObject* parent)
    : QObject(parent), sheet_(sheet), stage_(stage) {
  subscription_ = sheet->changed.subscribe([this] { follow(); });
  connect(&stage, &FlowStage::lookChanged, this, &PasskeyItem::followLook);
  connect(&stage, &FlowStage::viewsChanged, this, &PasskeyItem::followLook);
  followLook();
  follow();
}

PasskeyItem::~PasskeyItem() {
  delete content_;
  if (open_) cancelSoon(sheet_);
}

// The colours of the screen that asks.
void PasskeyItem::followLook() {
  const ViewItem* view = stage_.activeView();
  palette_ = view ? view->palette() : Palette::derive(stage_.themeWishes());
  emit lookChanged();
}

QColor PasskeyItem::problemColor() const {
  return readable(QColor("#C62828"), palette_.background, kText);
}

void PasskeyItem::follow() {
  const auto sheet = sheet_.lock();
  const bool wasOpen = std::exchange(open_, sheet && sheet->isOpen());
  cancellable_ = sheet && sheet->canCancel();
  if (!open_) {
    busy_ = true;
  } else if (const auto& now = sheet->question();
             now.step == PasskeyStep::working && !cancellable_ && now.title == shown_.title) {
    busy_ = true;
  } else {
    return show(now);
  }
  emit changed();
  if (wasOpen && !open_) emit closed();
}

void PasskeyItem::show(const PasskeyQuestion& question) {
  const bool another =
      std::exchange(busy_, false) || question.step != shown_.step || question.title != shown_.title;
  const bool newProblem = question.problem != shown_.problem;
  shown_ = question;
  if (another) mismatch_ = false;
  QStringList choices;
  for (const auto& choice : question.choices) choices << nameOf(choice);
  const bool otherChoices = choices != choices_;
  choices_ = std::move(choices);
  emit changed();
  if (otherChoices) emit choicesChanged();
  if (another) emit asked();
  if (another || newProblem) announce();
}

QString PasskeyItem::title() const {
  return translated(shown_.title);
}
QString PasskeyItem::message() const {
  return translated(shown_.message);
}
QString PasskeyItem::relyingParty() const {
  return toQString(shown_.relyingParty);
}
QString PasskeyItem::account() const {
  return nameOf(shown_.account);
}
QString PasskeyItem::confirmTitle() const {
  return translated(shown_.confirmTitle);
}
QString PasskeyItem::alternativeTitle() const {
  return translated(shown_.alternativeTitle);
}
QString PasskeyItem::problem() const {
  return translated(shown_.problem);
}
bool PasskeyItem::takesSecret() const {
  return step() == EnterPIN || step() == Passphrase || takesTwo();
}

void PasskeyItem::setContent(QQuickItem* content) {
  content_ = content;
  connect(content, &QObject::destroyed, this, &QObject::deleteLater);
  announce();
}

// Screen readers speak up for it at once.
void PasskeyItem::announce() const {
  if (!content_) return;
  for (const auto type : {QAccessible::DialogStart, QAccessible::Alert}) {
    QAccessibleEvent event(content_.data(), type);
    QAccessible::updateAccessibility(&event);
  }
}

void PasskeyItem::confirm() {
  if (const auto sheet = sheet_.lock()) sheet->confirm();
}

void PasskeyItem::choose(int index) {
  const auto sheet = sheet_.lock();
  if (sheet && index >= 0) sheet->choose(static_cast<std::size_t>(index));
}

void PasskeyItem::enter(SecretField* first, SecretField* again) {
  const auto sheet = sheet_.lock();
  if (!sheet || busy_ || !takesSecret() || first->length() == 0) return;
  Secret secret = first->secret();
  if (first->length() >= minimumLength()) {
    if (takesTwo() && again && !again->equals(*first)) {
      mismatch_ = true;
      again->wipe();
      emit changed();
      announce();
      return;
    }
    first->wipe();
    if (again) again->wipe();
  }
  sheet->enter(std::move(secret));
}

void PasskeyItem::useAlternative() {
  if (const auto sheet = sheet_.lock()) sheet->useAlternative();
}

void PasskeyItem::cancel() {
  if (const auto sheet = sheet_.lock()) sheet->cancel();
}

void PasskeyItem::forgiveMismatch() {
  if (std::exchange(mismatch_, false)) emit changed();
}

void PasskeyItem::settled() {
  settled_ = open_;
  emit hasSettled();
  if (open_) return;
  // A question that comes now gets a panel of its own.
  sheet_.reset();
  subscription_.reset();
  emit left();
}

}  // namespace veltrane::qtquick
