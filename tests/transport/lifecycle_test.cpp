#include <gmock/gmock.h>

#include <atomic>
#include <cstdlib>

#include "tests/transport/exchanges.h"

namespace veltrane::testing {
namespace {

using namespace std::chrono_literals;

class Lifecycle : public ::testing::Test {
 protected:
  Lifecycle() {
    server.answer("/fast", 200, "fast");
    server.route("/silent",
                 [](const TestRequest&, TestConnection& connection) { connection.waitForClose(); });
  }

  TlsTestServer server;
  std::shared_ptr<curl::CurlTransport> transport = transportTrusting(server);
};

TEST_F(Lifecycle, TasksAreWhatIsUnderWayOldestFirst) {
  EXPECT_TRUE(transport->tasks().empty());
  std::vector<Exchanging> exchanges;
  for (const auto* target : {"/silent?1", "/silent?2", "/silent?3"}) {
    exchanges.push_back(start(*transport, getFrom(server.url(target))));
  }
  const auto tasks = transport->tasks();
  ASSERT_EQ(tasks.size(), 3u);
  for (std::size_t i = 0; i < 3; ++i) {
    EXPECT_EQ(tasks[i]->originalURL(), server.url("/silent?" + std::to_string(i + 1)));
    EXPECT_EQ(tasks[i]->state(), HTTPTaskState::running);
  }

  exchanges[1].handle.reset();
  EXPECT_EQ(tasks[1]->state(), HTTPTaskState::completed);
  ASSERT_EQ(transport->tasks().size(), 2u);
  EXPECT_EQ(transport->tasks()[1]->originalURL(), server.url("/silent?3"));
}

TEST_F(Lifecycle, ACancelledExchangeEndsWithoutAResponse) {
  auto exchange = start(*transport, getFrom(server.url("/silent")));
  const auto task = transport->tasks().at(0);
  ASSERT_TRUE(server.waitForRequests(1));
  std::this_thread::sleep_for(50ms);  // long enough for the transport to wait for the network
  task->cancel();
  EXPECT_NE(task->state(), HTTPTaskState::running);
  EXPECT_FALSE(resultOf(std::move(exchange.answer)));
  EXPECT_EQ(task->state(), HTTPTaskState::completed);
  EXPECT_TRUE(transport->tasks().empty());
  EXPECT_TRUE(server.waitUntilIdle());
  task->cancel();
  EXPECT_EQ(task->state(), HTTPTaskState::completed);
}

TEST_F(Lifecycle, ACompletedExchangeIsNoTaskInItsOwnCompletion) {
  std::promise<std::size_t> count;
  const auto handle = transport->send(getFrom(server.url("/fast")), [&](const Answer&) {
    count.set_value(transport->tasks().size());
  });
  EXPECT_EQ(resultOf(count.get_future()), 0u);
}

TEST_F(Lifecycle, ADroppedHandleClosesItsConnectionInSilence) {
  std::atomic<bool> called = false;
  auto captured = std::make_shared<int>(0);
  const std::weak_ptr<int> observed = captured;
  auto handle = transport->send(getFrom(server.url("/silent")),
                                [&called, captured](const Answer&) { called = true; });
  captured.reset();
  const auto task = transport->tasks().at(0);
  ASSERT_TRUE(server.waitForRequests(1));
  handle.reset();
  EXPECT_TRUE(observed.expired()) << "what the completion captured must not outlive the handle";
  task->cancel();
  EXPECT_TRUE(server.waitUntilIdle());
  transport.reset();  // waits for its thread
  EXPECT_FALSE(called);
}

// The counter is no atomic on purpose: were a completion to run after its handle is gone, the
// thread sanitizer would see the race, and everyone else the wrong sum.
TEST_F(Lifecycle, NothingRunsOnceTheHandleIsGone) {
  TlsTestServer plain({.plain = true});  // quick enough to meet the completion often
  plain.answer("/", 200, "");
  int completed = 0;
  for (int i = 0; i < 2000; ++i) {
    int calls = 0;
    auto handle = transport->send(getFrom(plain.url("/")), [&calls](const Answer&) {
      ++calls;
      std::this_thread::yield();
      ++calls;
    });
    std::this_thread::sleep_for(std::chrono::microseconds(i % 100 * 10));
    handle.reset();
    ASSERT_TRUE(calls == 0 || calls == 2) << calls;
    completed += calls / 2;
  }
  RecordProperty("completed", completed);
}

TEST_F(Lifecycle, DroppingWaitsForTheCompletionThatRuns) {
  std::promise<void> running;
  bool ended = false;
  auto handle = transport->send(getFrom(server.url("/fast")), [&](const Answer&) {
    running.set_value();
    std::this_thread::sleep_for(50ms);
    ended = true;
  });
  resultOf(running.get_future());
  handle.reset();
  EXPECT_TRUE(ended);
}

TEST_F(Lifecycle, ACompletionMaySendAgainAndDropHandlesItsOwnIncluded) {
  std::atomic<bool> silentCalled = false;
  auto silent =
      transport->send(getFrom(server.url("/silent")), [&](const Answer&) { silentCalled = true; });
  std::unique_ptr<HTTPRequestHandle> handle;
  std::promise<int> done;
  int answers = 0;
  std::function<void(Answer)> next = [&](const Answer& answer) {
    EXPECT_TRUE(answer);
    silent.reset();
    handle.reset();
    if (++answers == 10) {
      done.set_value(answers);
      return;
    }
    handle = transport->send(getFrom(server.url("/fast")), next);
  };
  const auto first = transport->send(getFrom(server.url("/fast")), next);
  EXPECT_EQ(resultOf(done.get_future()), 10);
  transport.reset();
  EXPECT_FALSE(silentCalled);
}

TEST_F(Lifecycle, DroppingTheTransportEndsEverythingInSilence) {
  std::atomic<int> called = 0;
  auto captured = std::make_shared<int>(0);
  const std::weak_ptr<int> observed = captured;
  std::vector<std::unique_ptr<HTTPRequestHandle>> handles;
  for (int i = 0; i < 20; ++i) {
    handles.push_back(transport->send(getFrom(server.url("/silent")),
                                      [&called, captured](const Answer&) { ++called; }));
    ASSERT_TRUE(i != 10 || server.waitForRequests(5));
  }
  captured.reset();
  const auto tasks = transport->tasks();
  transport.reset();
  EXPECT_TRUE(observed.expired());
  EXPECT_TRUE(server.waitUntilIdle());
  EXPECT_THAT(tasks, ::testing::Each(::testing::Pointee(
                         ::testing::Property(&HTTPTask::state, HTTPTaskState::completed))));
  tasks[0]->cancel();
  handles.clear();
  EXPECT_EQ(called, 0);
}

TEST_F(Lifecycle, TheTransportMayGoInsideACompletion) {
  for (int i = 0; i < 20; ++i) {
    auto doomed = transportTrusting(server);
    std::atomic<bool> silentCalled = false;
    auto silent =
        doomed->send(getFrom(server.url("/silent")), [&](const Answer&) { silentCalled = true; });
    std::promise<void> gone;
    auto* raw = doomed.get();
    const auto handle = raw->send(getFrom(server.url("/fast")), [&](const Answer& answer) {
      EXPECT_TRUE(answer);
      doomed.reset();
      gone.set_value();
    });
    resultOf(gone.get_future());
    silent.reset();
    EXPECT_FALSE(silentCalled);
  }
  EXPECT_TRUE(server.waitUntilIdle());
}

TEST_F(Lifecycle, NoCompletionFollowsTheOneThatDropsTheTransport) {
  std::promise<void> release;
  auto released = release.get_future().share();
  std::atomic<int> answered = 0;
  server.route("/held", [&](const TestRequest&, TestConnection& connection) {
    released.wait();
    connection.respond(200);
    ++answered;
  });
  auto* const raw = transport.get();
  std::atomic<int> completed = 0;
  auto captured = std::make_shared<int>(0);
  const std::weak_ptr<int> observed = captured;
  const auto dropper = [&](std::shared_ptr<int> token) {
    return [&, token = std::move(token)](const Answer&) {
      ++completed;
      transport.reset();
    };
  };
  const auto one = raw->send(getFrom(server.url("/held")), dropper(captured));
  const auto other = raw->send(getFrom(server.url("/held")), dropper(std::move(captured)));
  ASSERT_TRUE(server.waitForRequests(2));
  // Holds the transport's thread until both answers lie before it, to be read in one go.
  const auto first = raw->send(getFrom(server.url("/fast")), [&](const Answer&) {
    release.set_value();
    while (answered < 2) std::this_thread::yield();
  });
  while (!observed.expired())
    std::this_thread::yield();  // both completions have run or been dropped
  EXPECT_EQ(completed, 1);
}

// Made before libcurl starts and thus destroyed after it, as a host's global may be.
std::shared_ptr<curl::CurlTransport> keptToTheEnd;
std::unique_ptr<HTTPRequestHandle> handleKeptToTheEnd;

[[noreturn]] void endWithAnExchangeUnderWay() {
  static TlsTestServer server;  // ends between the transport and the TLS library
  server.route("/silent",
               [](const TestRequest&, TestConnection& connection) { connection.waitForClose(); });
  keptToTheEnd = transportTrusting(server);
  handleKeptToTheEnd =
      keptToTheEnd->send(getFrom(server.url("/silent")), [](const Answer&) { std::_Exit(3); });
  if (!server.waitForRequests(1)) std::_Exit(4);
  std::exit(0);
}

TEST(LifecycleDeathTest, TheProgramMayEndWithExchangesUnderWay) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(endWithAnExchangeUnderWay(), ::testing::ExitedWithCode(0), "");
}

TEST_F(Lifecycle, ManyThreadsMaySendListAndCancelAtOnce) {
  std::vector<std::thread> threads;
  std::atomic<int> answered = 0;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([&, t] {
      for (int i = 0; i < 25; ++i) {
        auto exchange = start(*transport, getFrom(server.url((i + t) % 5 ? "/fast" : "/silent")));
        for (const auto& task : transport->tasks()) {
          if (task->originalURL() == server.url("/silent")) task->cancel();
        }
        if ((i + t) % 7 == 0) continue;
        (void)resultOf(std::move(exchange.answer));
        ++answered;
      }
    });
  }
  for (auto& thread : threads) thread.join();
  EXPECT_GT(answered, 0);
  EXPECT_TRUE(transport->tasks().empty());
}

TEST(HeadStart, IsWaitedOutUnlessHurriedOrDropped) {
  TlsTestServer server;
  server.answer("/", 200, "here");
  const curl::Options patient{.authorityFile = server.authorityFile(),
                              .headStart = std::chrono::hours(1)};
  auto transport = curl::make(patient);
  auto waiting = start(*transport, getFrom(server.url("/")));
  EXPECT_EQ(waiting.answer.wait_for(std::chrono::milliseconds(50)), std::future_status::timeout);
  transport->hurry();
  EXPECT_EQ(resultOf(std::move(waiting.answer))->body, "here");
  auto dropped = start(*curl::make(patient), getFrom(server.url("/")));
  EXPECT_EQ(server.requests().size(), 1u);
}

}  // namespace
}  // namespace veltrane::testing
