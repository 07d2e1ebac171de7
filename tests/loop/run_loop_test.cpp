#include "platform/loop/run_loop.h"

#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <thread>
#include <vector>

namespace veltrane::loop {
namespace {

using namespace std::chrono_literals;

// Far longer than any wait here takes; only a fault reaches it.
constexpr auto kLimit = 30s;

TEST(RunLoop, RunsWorkInOrderAndNeverInsideTheCall) {
  RunLoop loop;
  std::string log;
  loop.async([&] {
    loop.async([&] { log += 'c'; });
    log += 'a';
  });
  loop.postExternal([&] { log += 'b'; });
  EXPECT_EQ(log, "");
  loop.runUntilIdle();
  EXPECT_EQ(log, "abc");
}

TEST(RunLoop, DelayedWorkRunsByDueTimeThenByOrderNeverEarlyAndAnyDelayIsTaken) {
  RunLoop loop;
  std::string log;
  const auto start = std::chrono::steady_clock::now();
  loop.asyncAfter(30ms, [&] { log += 'c'; });
  loop.asyncAfter(1ms, [&] { log += 'b'; });
  loop.asyncAfter(30ms, [&] { log += 'd'; });
  loop.asyncAfter(MainQueue::Interval::max(), [&] { log += "never"; });
  loop.asyncAfter(MainQueue::Interval::min(), [&] { log += 'a'; });
  ASSERT_TRUE(loop.runUntil([&] { return log.size() == 4; }, kLimit));
  EXPECT_GE(std::chrono::steady_clock::now() - start, 30ms);
  EXPECT_FALSE(loop.runOnce());
  EXPECT_EQ(log, "abcd");
  EXPECT_TRUE(loop.hasQueuedWork());
}

TEST(RunLoop, QuitReturnsFromRunAfterTheRunningPieceAndKeepsTheRest) {
  RunLoop loop;
  std::string log;
  loop.async([&] {
    loop.quit();
    log += 'a';
  });
  loop.async([&] { log += 'b'; });
  loop.run();
  EXPECT_EQ(log, "a");

  loop.quit();
  loop.run();
  EXPECT_EQ(log, "a") << "a quit from before run counts";

  loop.runUntilIdle();
  EXPECT_EQ(log, "ab");
}

TEST(RunLoop, OnlyOwnWorkCountsAsQueued) {
  RunLoop loop;
  loop.postExternal([] {});
  const auto timer = loop.repeatingTimer(1ms, [] {});
  EXPECT_FALSE(loop.hasQueuedWork());

  bool insideCounts = true;
  loop.async([&] { insideCounts = loop.hasQueuedWork(); });
  EXPECT_TRUE(loop.hasQueuedWork());
  ASSERT_TRUE(loop.runUntil([&] { return !loop.hasQueuedWork(); }, kLimit));
  EXPECT_FALSE(insideCounts) << "the running piece is no longer queued";

  loop.asyncAfter(5ms, [] {});
  EXPECT_TRUE(loop.hasQueuedWork());
  EXPECT_TRUE(loop.runUntil([&] { return !loop.hasQueuedWork(); }, kLimit));
}

TEST(RunLoop, IdleHandlerHearsOfEachEmptyQueueOnce) {
  RunLoop loop;
  std::string log;
  loop.setIdleHandler([&] {
    log += '.';
    if (log == ".") loop.async([&] { log += 'a'; });
  });
  loop.runUntilIdle();
  EXPECT_EQ(log, ".a.") << "told at the start, and again after the work it queued";
  loop.runUntilIdle();
  EXPECT_EQ(log, ".a.") << "nothing has happened since";
  loop.postExternal([&] { log += 'b'; });
  loop.async([&] { log += 'c'; });
  loop.runUntilIdle();
  EXPECT_EQ(log, ".a.bc.");

  loop.setIdleHandler([&] { loop.quit(); });
  loop.run();
}

TEST(RunLoop, RepeatingTimerTicksUntilDroppedByATickOrBetweenThem) {
  RunLoop loop;
  int ticks = 0;
  auto timer = loop.repeatingTimer(1ms, [&] { ++ticks; });
  ASSERT_TRUE(loop.runUntil([&] { return ticks == 3; }, kLimit));
  // Dropped while a tick may be due already: it must not run any more.
  std::this_thread::sleep_for(3ms);
  timer.reset();
  int ownTicks = 0;
  const auto token = std::make_shared<int>(7);
  timer = loop.repeatingTimer(1ms, [&, token] {
    timer.reset();
    ownTicks += *token;  // What the tick owns must outlive it.
  });
  bool later = false;
  loop.asyncAfter(20ms, [&] { later = true; });
  ASSERT_TRUE(loop.runUntil([&] { return later; }, kLimit));
  EXPECT_EQ(ticks, 3);
  EXPECT_EQ(ownTicks, 7);
  EXPECT_EQ(token.use_count(), 1);
}

TEST(RunLoop, TicksMissedWhileBusyMergeIntoOne) {
  RunLoop loop;
  int ticks = 0;
  const auto timer = loop.repeatingTimer(10ms, [&] {
    if (++ticks == 1) std::this_thread::sleep_for(100ms);
  });
  ASSERT_TRUE(loop.runUntil([&] { return ticks == 1; }, kLimit));
  loop.runUntilIdle();
  EXPECT_LT(ticks, 10) << "unmerged, the 100 ms would be ten ticks";
}

TEST(RunLoop, TimerMayOutliveTheLoopAndDroppedWorkMayQueue) {
  std::unique_ptr<Timer> timer;
  bool ran = false;
  {
    RunLoop loop;
    timer = loop.repeatingTimer(1ms, [] {});
    const std::shared_ptr<void> queuesAsItGoes(nullptr, [&](void*) { loop.async([] {}); });
    loop.async([&, queuesAsItGoes] { ran = true; });
  }
  EXPECT_FALSE(ran);
}

TEST(RunLoop, TakesWorkFromManyThreadsKeepingEachOnesOrder) {
  constexpr int kThreads = 4;
  constexpr int kEach = 500;
  RunLoop loop;
  std::vector<std::vector<int>> seen(kThreads);
  int total = 0;
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&, t] {
      for (int i = 0; i < kEach; ++i) {
        const auto work = [&, t, i] {
          seen[t].push_back(i);
          if (++total == kThreads * kEach) loop.quit();
        };
        if (t % 2 == 0) {
          loop.async(work);
        } else {
          loop.postExternal(work);
        }
      }
    });
  }
  loop.run();
  for (auto& thread : threads) thread.join();
  for (const auto& order : seen) {
    EXPECT_EQ(order.size(), kEach);
    EXPECT_TRUE(std::is_sorted(order.begin(), order.end()));
  }
}

}  // namespace
}  // namespace veltrane::loop
