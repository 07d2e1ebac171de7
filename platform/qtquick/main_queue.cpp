#include "platform/qtquick/main_queue.h"

#include <QMetaObject>
#include <QTimer>
#include <algorithm>
#include <limits>
#include <utility>

namespace veltrane::qtquick {
namespace {

/// Qt counts milliseconds in an int and takes what does not fit for another number.
MainQueue::Interval withinQt(MainQueue::Interval wanted) {
  constexpr MainQueue::Interval kLongest{std::numeric_limits<int>::max()};
  return std::clamp(wanted, MainQueue::Interval(0), kLongest);
}

class QtTimer final : public Timer {
 public:
  QtTimer(MainQueue::Interval interval, MainQueue::Work tick)
      : tick_(std::make_shared<MainQueue::Work>(std::move(tick))) {
    // A tick may drop its own timer, so the work is kept for as long as it runs.
    QObject::connect(&timer_, &QTimer::timeout, [this] {
      const auto keep = tick_;
      (*keep)();
    });
    timer_.start(withinQt(interval));
  }

 private:
  QTimer timer_;
  std::shared_ptr<MainQueue::Work> tick_;
};

}  // namespace

QtMainQueue::QtMainQueue() : context_(std::make_unique<QObject>()) {}
QtMainQueue::~QtMainQueue() = default;

void QtMainQueue::async(Work work) {
  QMetaObject::invokeMethod(context_.get(), std::move(work), Qt::QueuedConnection);
}

void QtMainQueue::asyncAfter(Interval delay, Work work) {
  // A timer belongs to the thread that starts it, so it is started over there.
  async([context = context_.get(), delay, work = std::move(work)] {
    QTimer::singleShot(withinQt(delay), context, work);
  });
}

std::unique_ptr<Timer> QtMainQueue::repeatingTimer(Interval interval, Work tick) {
  return std::make_unique<QtTimer>(interval, std::move(tick));
}

}  // namespace veltrane::qtquick
