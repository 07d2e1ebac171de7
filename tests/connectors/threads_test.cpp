// SDKs that work on threads of their own and bring their results to the main queue.
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "platform/loop/run_loop.h"
#include "tests/support/fakes.h"
#include "veltrane/connectors/jumio_connector.h"
#include "veltrane/connectors/onfido_connector.h"

namespace veltrane::testing {
namespace {

constexpr int kHandOvers = 200;

/// The threads of all vendors, each of which tells one result.
class VendorThreads {
 public:
  VendorThreads() = default;
  VendorThreads(const VendorThreads&) = delete;
  VendorThreads& operator=(const VendorThreads&) = delete;
  ~VendorThreads() {
    for (auto& thread : threads_) thread.join();
  }
  /// Tells on the main queue what a thread has found out.
  void work(std::function<std::string()> find, std::function<void(std::string)> tell) {
    // The queue of the platform that is installed now: a later one may be, when the thread is done.
    threads_.emplace_back(
        [find = std::move(find), tell = std::move(tell), main = Platform::current().mainQueue] {
          main->async([found = find(), tell] { tell(found); });
        });
  }

 private:
  std::vector<std::thread> threads_;
};

class ThreadedNetverifySDK final : public NetverifySDK {
 public:
  bool isJailbrokenDevice() const override { return false; }
  std::shared_ptr<NetverifyViewController> makeNetverifyViewController(
      NetverifyConfiguration configuration) override {
    auto controller = std::make_shared<Controller>();
    // It holds nothing that the main thread may be letting go of.
    threads.work([reference = configuration.customerInternalReference] { return reference; },
                 [weak = std::weak_ptr(controller), to = configuration.delegate](auto reference) {
                   const auto delegate = to.lock();
                   const auto alive = weak.lock();
                   if (!delegate || !alive) return;
                   delegate->netverifyViewControllerDidFinish(*alive, {}, reference);
                 });
    return controller;
  }
  VendorThreads threads;

 private:
  struct Controller final : NetverifyViewController {
    void destroy() override {}
  };
};

class ThreadedOnfidoSDK final : public OnfidoSDK {
 public:
  std::shared_ptr<OnfidoFlow> makeFlow(const OnfidoConfig& configuration) override {
    return std::make_shared<Flow>(threads, configuration.sdkToken());
  }
  VendorThreads threads;

 private:
  struct Flow final : OnfidoFlow, std::enable_shared_from_this<Flow> {
    Flow(VendorThreads& t, std::string i) : threads(t), id(std::move(i)) {}
    void with(ResponseHandler h, bool /*dismiss*/) override { handler = std::move(h); }
    std::shared_ptr<HandOverViewController> run() override {
      threads.work([text = id] { return text; },
                   [weak = weak_from_this()](auto text) {
                     const auto alive = weak.lock();
                     if (!alive) return;
                     alive->handler(onfido_response::Success{{FaceResult{.id = text}}});
                   });
      return std::make_shared<HandOverViewController>();
    }
    VendorThreads& threads;
    std::string id;
    ResponseHandler handler;
  };
};

/// A screen that goes on to the next hand-over as soon as a result is there.
struct NextScreen final : ConnectorHost {
  void beginStep(const Dictionary& /*view*/, std::size_t /*index*/) override {}
  void sendNextEvent(const Dictionary& parameters) override { sent(parameters); }
  void presentOver(std::shared_ptr<ViewController> /*controller*/) override {}
  void showAlert(const std::string& message) override { FAIL() << message; }
  void notify(UserInfo /*userInfo*/) override { FAIL() << "nothing ends here"; }
  std::function<void(const Dictionary&)> sent;
};

class Threads : public ::testing::Test {
 protected:
  Threads() {
    Platform ports = platform.ports();
    ports.mainQueue = loop;
    ports.netverify = netverify;
    ports.onfido = onfido;
    Platform::install(ports);
  }
  static UserViewProps jumioView(int number) {
    return {{{"event", "registerInitiate"},
             {"apiKey", "k"},
             {"clientSecret", "s"},
             {"webhookUrl", "w"},
             {"credId", "C"},
             {"transactionReference", "T"},
             {"customerInternalReference", std::to_string(number)}}};
  }
  static UserViewProps onfidoView(int number) {
    return {{{"token", std::to_string(number)}, {"credId", "C"}}};
  }

  /// Hand-over after hand-over; each third one is stopped before its result can be there.
  template <typename Start>
  void handOverAll(Start start) {
    screen->sent = [&](const Dictionary& parameters) {
      results.push_back(parameters);
      loop->async([&] { next(start); });
    };
    next(start);
    EXPECT_TRUE(loop->runUntil([&] { return number > kHandOvers; }, std::chrono::seconds(60)));
  }
  template <typename Start>
  void next(Start start) {
    if (++number > kHandOvers) return;
    connector = start(number);
    if (number % 3 != 0) return;
    connector->stop();
    ++stopped;
    loop->async([this, start] { next(start); });
  }

  FakePlatform platform;
  std::shared_ptr<loop::RunLoop> loop = std::make_shared<loop::RunLoop>();
  std::shared_ptr<ThreadedNetverifySDK> netverify = std::make_shared<ThreadedNetverifySDK>();
  std::shared_ptr<ThreadedOnfidoSDK> onfido = std::make_shared<ThreadedOnfidoSDK>();
  std::shared_ptr<NextScreen> screen = std::make_shared<NextScreen>();
  std::shared_ptr<IdentityConnector> connector;
  std::vector<Dictionary> results;
  int number = 0;
  int stopped = 0;
};

TEST_F(Threads, aScansResultIsThatOfItsOwnHandOver) {
  handOverAll([this](int which) {
    const auto jumio = std::make_shared<JumioConnector>(screen);
    jumio->startJumio(jumioView(which), 0);
    return jumio;
  });
  ASSERT_EQ(results.size() + stopped, kHandOvers);
  int last = 0;
  for (const auto& result : results) {
    const int which = std::stoi(result["customerInternalReference"].textValue());
    EXPECT_GT(which, last);
    EXPECT_NE(which % 3, 0) << "it was stopped";
    last = which;
  }
}

TEST_F(Threads, aCaptureFlowsResultIsThatOfItsOwnHandOver) {
  handOverAll([this](int which) {
    const auto connector = std::make_shared<OnfidoConnector>(screen);
    connector->startOnFido(onfidoView(which), 0);
    return connector;
  });
  ASSERT_EQ(results.size() + stopped, kHandOvers);
  for (const auto& result : results) {
    EXPECT_NE(std::stoi(result["completeProps"][0]["id"].textValue()) % 3, 0) << "it was stopped";
  }
}

}  // namespace
}  // namespace veltrane::testing
