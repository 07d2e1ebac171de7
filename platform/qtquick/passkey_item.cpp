#include "platform/qtquick/passkey_item.h"

#include <QAccessible>
#include <QCoreApplication>
#include <chrono>
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
constexpr std::chrono::milliseconds kLate{300};

QString nameOf(const std::string& text) {
  const QString name = toQString(text).simplified();
  if (name.size() <= kLongestName) return name;
  qsizetype head = kLongestName / 2;
  qsizetype tail = name.size() - kLongestName / 2;
  if (name.at(head).isLowSurrogate()) --head;
  if (name.at(tail).isLowSurrogate()) ++tail;
  return name.first(head) + QChar(0x2026) + name.sliced(tail);
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
  lateTimer_.setSingleShot(true);
  connect(&lateTimer_, &QTimer::timeout, this, &PasskeyItem::beLate);
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
  if (open_ && sheet->question().step != PasskeyStep::working) return show(sheet->question());
  work();
  if (wasOpen && !open_) emit closed();
}

void PasskeyItem::work() {
  if (!std::exchange(busy_, true)) lateTimer_.start(kLate);
  if (!open_) lateTimer_.stop();
  if (late_ && open_) return beLate();
  emit changed();
}

void PasskeyItem::beLate() {
  const auto sheet = sheet_.lock();
  if (!sheet || sheet->question().step != PasskeyStep::working) return;
  late_ = true;
  const auto& now = sheet->question();
  const bool hasName = !now.title.empty() && now.title != shown_.title;
  if (hasName || step() == None) shown_ = now;
  if (hasName && !std::exchange(choices_, {}).isEmpty()) emit choicesChanged();
  emit changed();
  if (hasName) emit asked();
  announce();
}

void PasskeyItem::show(const PasskeyQuestion& question) {
  lateTimer_.stop();
  late_ = false;
  const bool another =
      std::exchange(busy_, false) || question.step != shown_.step || question.title != shown_.title;
  const bool newProblem = question.problem != shown_.problem;
  shown_ = question;
  if (another) mismatch_ = false;
  QStringList choices;
  for (const auto& choice : question.choices) {
    choices << (question.step == PasskeyStep::method ? translatedPhrase(choice) : nameOf(choice));
  }
  const bool otherChoices = choices != choices_;
  choices_ = std::move(choices);
  emit changed();
  if (otherChoices) emit choicesChanged();
  if (another) emit asked();
  if (another || newProblem) announce();
}

QString PasskeyItem::title() const {
  return translatedPhrase(shown_.title);
}
QString PasskeyItem::message() const {
  return translatedPhrase(shown_.message);
}
QString PasskeyItem::relyingParty() const {
  return toQString(shown_.relyingParty);
}
QString PasskeyItem::account() const {
  return nameOf(shown_.account);
}
QString PasskeyItem::confirmTitle() const {
  return translatedPhrase(shown_.confirmTitle);
}
QString PasskeyItem::alternativeTitle() const {
  return translatedPhrase(shown_.alternativeTitle);
}
QString PasskeyItem::problem() const {
  return translatedPhrase(shown_.problem);
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
