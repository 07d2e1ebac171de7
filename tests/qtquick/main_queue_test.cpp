#include "platform/qtquick/main_queue.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QElapsedTimer>
#include <functional>
#include <thread>
#include <vector>

namespace veltrane::qtquick {
namespace {

using Interval = MainQueue::Interval;

void waitFor(const std::function<bool()>& condition) {
  QElapsedTimer time;
  time.start();
  while (!condition() && time.elapsed() < 10'000) {
    QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 10);
  }
  ASSERT_TRUE(condition());
}

TEST(QtMainQueue, RunsWorkLaterAndInOrderOnItsThread) {
  QtMainQueue queue;
  std::vector<int> order;
  const auto here = std::this_thread::get_id();
  queue.async([&] { order.push_back(1); });
  std::thread other([&] {
    queue.async([&] {
      EXPECT_EQ(std::this_thread::get_id(), here);
      order.push_back(2);
    });
    queue.asyncAfter(Interval(1), [&] {
      EXPECT_EQ(std::this_thread::get_id(), here);
      order.push_back(3);
    });
  });
  other.join();
  EXPECT_TRUE(order.empty());
  waitFor([&] { return order.size() == 3; });
  EXPECT_EQ(order, (std::vector<int>{1, 2, 3}));
}

TEST(QtMainQueue, ADroppedTimerIsSilentEvenWhenItDropsItself) {
  QtMainQueue queue;
  int ticks = 0;
  std::unique_ptr<Timer> timer;
  timer = queue.repeatingTimer(Interval(1), [&] {
    if (++ticks == 3) timer.reset();
  });
  waitFor([&] { return ticks == 3; });
  bool later = false;
  queue.asyncAfter(Interval(20), [&] { later = true; });
  waitFor([&] { return later; });
  EXPECT_EQ(ticks, 3);
}

TEST(QtMainQueue, ATimeBeyondWhatQtCountsIsStillFarAwayAndOneThatHasPassedIsNow) {
  QtMainQueue queue;
  int early = 0;
  queue.asyncAfter(Interval::max(), [&] { ++early; });
  const auto timer = queue.repeatingTimer(Interval(1LL << 32), [&] { ++early; });
  bool now = false;
  queue.asyncAfter(Interval(-1), [&] { now = true; });
  waitFor([&] { return now; });
  EXPECT_EQ(early, 0);
}

TEST(QtMainQueue, WorkOfAQueueThatHasGoneNeverRuns) {
  bool ran = false;
  auto queue = std::make_unique<QtMainQueue>();
  queue->async([&] { ran = true; });
  queue->asyncAfter(Interval(0), [&] { ran = true; });
  queue.reset();
  QtMainQueue other;
  bool after = false;
  other.asyncAfter(Interval(5), [&] { after = true; });
  waitFor([&] { return after; });
  EXPECT_FALSE(ran);
}

}  // namespace
}  // namespace veltrane::qtquick
