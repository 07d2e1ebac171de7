// The ports as a phone's host fills them, with a native half that works on a thread of its own.
#include "apps/example/phone_sdks.h"

#include <thread>

#include "tests/connectors/hand_over_host.h"

namespace veltrane::testing {
namespace {

/// What the phone shows, in words.
struct Phone {
  std::vector<std::string> log;
  std::vector<std::string> take() { return std::exchange(log, {}); }
};

struct Screen final : example::NativeScreen {
  explicit Screen(Phone& p) : phone(p) {}
  ~Screen() override { phone.log.emplace_back("destroyed"); }
  void show(bool asFormSheet) override { phone.log.emplace_back(asFormSheet ? "sheet" : "shown"); }
  void hide() override { phone.log.emplace_back("hidden"); }
  Phone& phone;
};

struct SDKs final : example::NativeSDKs {
  explicit SDKs(Phone& p) : phone(p) {}
  bool isJailbroken() const override { return jailbroken; }
  std::unique_ptr<example::NativeScreen> make() const {
    return missing ? nullptr : std::make_unique<Screen>(phone);
  }
  std::unique_ptr<example::NativeScreen> makeScan(const NetverifyConfiguration& /*settings*/,
                                                  ScanEvents events) override {
    scan = std::move(events);
    return make();
  }
  std::unique_ptr<example::NativeScreen> makeCheck(const AuthenticationConfiguration& /*settings*/,
                                                   CheckEvents events) override {
    check = std::move(events);
    return make();
  }
  std::unique_ptr<example::NativeScreen> makeCapture(
      const OnfidoConfig& /*settings*/, std::function<void(OnfidoResponse)> responded) override {
    capture = std::move(responded);
    return make();
  }
  Phone& phone;
  ScanEvents scan;
  CheckEvents check;
  std::function<void(OnfidoResponse)> capture;
  bool jailbroken = false;
  bool missing = false;
};

class PhoneSDKs : public HandOverHost {
 protected:
  PhoneSDKs() {
    Platform ports = Platform::current();
    ports.netverify = std::make_shared<example::PhoneNetverifySDK>(sdks);
    ports.jumioAuthentication = std::make_shared<example::PhoneAuthenticationSDK>(sdks);
    ports.onfido = std::make_shared<example::PhoneOnfidoSDK>(sdks);
    Platform::install(ports);
  }
  void startJumio(const char* event) {
    HandOverHost::startJumio({property("event", '"' + std::string(event) + '"'),
                              property("apiKey", R"("k")"), property("clientSecret", R"("s")"),
                              property("webhookUrl", R"("w")"), property("credId", R"("C")"),
                              property("transactionReference", R"("T")"),
                              property("customerInternalReference", R"("R")")});
  }
  void startOnFido() {
    HandOverHost::startOnFido({property("token", R"("t")"), property("credId", R"("C")")});
  }
  /// As the vendor's SDK calls, on a thread of its own.
  template <typename Call>
  void vendorCalls(Call call) {
    std::thread(call).join();
    platform.mainQueue->run();
  }

  Phone phone;
  std::shared_ptr<SDKs> sdks = std::make_shared<SDKs>(phone);
};

TEST_F(PhoneSDKs, aScanIsShownHiddenAndDestroyed) {
  platform.device->idiom = InterfaceIdiom::pad;
  startJumio("registerInitiate");
  EXPECT_THAT(phone.take(), ElementsAre("sheet"));
  vendorCalls([this] { sdks->scan.finished("scan-1"); });
  EXPECT_THAT(phone.take(), ElementsAre("hidden", "destroyed"));
  EXPECT_EQ(sent()["parameters"]["credId"].text(), "C");
  vendorCalls([this] { sdks->scan.cancelled(std::nullopt, std::nullopt); });
  EXPECT_EQ(alertMessage(), "none") << "it has ended";
}

TEST_F(PhoneSDKs, aScanThatFailsIsTold) {
  startJumio("registerInitiate");
  vendorCalls([this] { sdks->scan.cancelled(NetverifyError{"9820", "no camera"}, "scan-1"); });
  EXPECT_EQ(alertMessage(), "Veltrane Flow: Unable to scan for document");
  EXPECT_THAT(phone.take(), ElementsAre("shown", "hidden", "destroyed"));
}

TEST_F(PhoneSDKs, aFaceCheckIsShownOnceItIsReady) {
  startJumio("loginInitiate");
  EXPECT_THAT(phone.take(), IsEmpty());
  vendorCalls([this] { sdks->check.ready(); });
  EXPECT_THAT(phone.take(), ElementsAre("shown"));
  vendorCalls([this] { sdks->check.finished(AuthenticationResult::success, "T-2"); });
  EXPECT_THAT(phone.take(), ElementsAre("hidden", "destroyed"));
  EXPECT_EQ(sent()["parameters"]["transactionReference"].text(), "T-2");
}

TEST_F(PhoneSDKs, aFaceCheckThatFailsLeavesNothingBehind) {
  startJumio("loginInitiate");
  vendorCalls([this] { sdks->check.failed({"9810", "cut"}, std::nullopt); });
  EXPECT_THAT(phone.take(), ElementsAre("destroyed"));
  vendorCalls([this] { sdks->check.ready(); });
  EXPECT_THAT(phone.take(), IsEmpty());
  EXPECT_TRUE(nothingHappened());
}

TEST_F(PhoneSDKs, aCaptureFlowDismissesItselfBeforeItResponds) {
  startOnFido();
  vendorCalls([this] { sdks->capture(onfido_response::Success{{FaceResult{.id = "f"}}}); });
  EXPECT_THAT(phone.take(), ElementsAre("shown", "hidden", "destroyed"));
  EXPECT_EQ(sent()["parameters"]["completeProps"][0]["id"].text(), "f");
  sdks->capture(onfido_response::Cancel{});
  platform.mainQueue->run();
  EXPECT_FALSE(platform.console->has("onFido flow cancelled by user..."));
}

TEST_F(PhoneSDKs, theEndOfTheFlowHidesWhatIsShown) {
  startOnFido();
  screen()->cancelPressed();
  platform.mainQueue->run();
  EXPECT_THAT(phone.take(), ElementsAre("shown", "hidden", "destroyed"));
  startJumio("registerInitiate");
  screen()->cancelPressed();
  platform.mainQueue->run();
  EXPECT_THAT(phone.take(), ElementsAre("shown", "hidden", "destroyed"));
}

TEST_F(PhoneSDKs, whatCannotBeMadeShowsNothing) {
  sdks->missing = true;
  startJumio("registerInitiate");
  EXPECT_TRUE(nothingHappened());
  sdks->jailbroken = true;
  sdks->missing = false;
  press();
  EXPECT_THAT(phone.take(), IsEmpty());
}

}  // namespace
}  // namespace veltrane::testing
