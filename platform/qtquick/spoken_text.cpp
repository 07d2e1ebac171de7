#include "platform/qtquick/spoken_text.h"

#include <QAccessible>

#include "veltrane/platform.h"
#include "veltrane/toolkit/main_queue.h"

namespace veltrane::qtquick {

SpokenText::SpokenText(QObject* parent)
    : QObject(parent), self_(std::make_shared<SpokenText*>(this)) {}

SpokenText::~SpokenText() = default;

void SpokenText::setText(const QString& text) {
  if (text == text_) return;
  text_ = text;
  emit textChanged();
  isLate_ = isPausing_ && !isUrgent_;
  if (!isLate_) speak();
}

void SpokenText::setUrgent(bool urgent) {
  if (urgent == isUrgent_) return;
  isUrgent_ = urgent;
  emit urgentChanged();
  if (isUrgent_ && isLate_) speak();
}

void SpokenText::componentComplete() {
  isMade_ = true;
  speak();
}

void SpokenText::speak() {
  if (!isMade_) return;
  isLate_ = false;
  // Before the turn is taken: a pause after what was said before still has to end.
  if (text_.isEmpty()) return;
  ++turn_;
  if (speaker_) {
    // Some programs read names that change, some notifications that show up, others wait for an
    // alert.
    for (const auto type :
         {QAccessible::NameChanged, QAccessible::ObjectShow, QAccessible::Alert}) {
      QAccessibleEvent event(speaker_, type);
      QAccessible::updateAccessibility(&event);
    }
  }
  emit spoken(text_);
  isPausing_ = true;
  after(kPause, &SpokenText::pauseIsOver);
  after(kRepeat, &SpokenText::speak);
}

/// Unless something else has been said by then.
void SpokenText::after(std::chrono::milliseconds delay, void (SpokenText::*what)()) {
  MainQueue::current().asyncAfter(delay, [self = std::weak_ptr(self_), turn = turn_, what] {
    const auto alive = self.lock();
    if (alive && (*alive)->turn_ == turn) ((*alive)->*what)();
  });
}

void SpokenText::pauseIsOver() {
  isPausing_ = false;
  if (isLate_) speak();
}

}  // namespace veltrane::qtquick
