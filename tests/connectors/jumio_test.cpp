#include <algorithm>

#include "tests/connectors/hand_over_host.h"

namespace veltrane::testing {
namespace {

class Jumio : public HandOverHost {
 protected:
  static Properties with(std::string_view event) {
    return {property("event", '"' + std::string(event) + '"'),
            property("apiKey", R"("tok-1")"),
            property("clientSecret", R"("sec-1")"),
            property("webhookUrl", R"("https://acme.example/hook")"),
            property("credId", R"("C")"),
            property("transactionReference", R"("T")"),
            property("customerInternalReference", R"("R")")};
  }
  /// The same with this property replaced, or taken away when the value is empty.
  static Properties but(Properties properties, std::string_view name, std::string_view value) {
    const std::string start = '"' + std::string(name) + "\":";
    std::erase_if(properties, [&](const auto& each) { return each.starts_with(start); });
    if (!value.empty()) properties.push_back(property(name, value));
    return properties;
  }
  FakeNetverify& scan() const { return *netverify->made.back(); }
  FakeAuthentication& check() const { return *authentication->made.back(); }
};

TEST_F(Jumio, aDocumentScanIsConfiguredPresentedAndItsReferencesAreSent) {
  startJumio(with("registerInitiate"));
  EXPECT_EQ(over().get(), &scan());
  EXPECT_EQ(scan().modalPresentationStyle, ModalPresentationStyle::pageSheet) << "the SDK's own";
  const auto& configuration = scan().configuration;
  EXPECT_EQ(configuration.apiToken, "tok-1");
  EXPECT_EQ(configuration.apiSecret, "sec-1");
  EXPECT_EQ(static_cast<int>(configuration.dataCenter), 0);
  EXPECT_EQ(configuration.callbackUrl, "https://acme.example/hook");
  EXPECT_EQ(configuration.customerInternalReference, "R");

  scan().finish("scan-9");
  EXPECT_EQ(over(), nullptr);
  EXPECT_EQ(scan().destroyed, 1);
  EXPECT_TRUE(platform.console->has("DELEGATE NetVerify success scan reference: scan-9"));
  EXPECT_EQ(sentParameters(),
            R"({"credId":"C","customerInternalReference":"R","transactionReference":"T"})");
  scan().finish("scan-9");
  scan().cancel();
  platform.mainQueue->run();
  EXPECT_EQ(requests(), 2u) << "an end counts once";
  EXPECT_EQ(alertMessage(), "none");
  serve("{}");
  EXPECT_EQ(screen()->userViewIndex, 2u);
}

TEST_F(Jumio, aScanIsAFormSheetOnATabletAndNothingWhereTheSDKMakesNone) {
  platform.device->idiom = InterfaceIdiom::pad;
  netverify->refuses = true;
  startJumio(with("registerInitiate"));
  EXPECT_TRUE(platform.console->has("NetverifyViewController is nil"));
  EXPECT_TRUE(nothingHappened());
  netverify->refuses = false;
  press();
  EXPECT_EQ(scan().modalPresentationStyle, ModalPresentationStyle::formSheet);
}

TEST_F(Jumio, aScanThatEndsWithoutADocumentIsToldAndCanBeTriedAgain) {
  startJumio(with("registerInitiate"));
  scan().cancel(NetverifyError{"9820", "no camera"}, "scan-2");
  platform.mainQueue->run();
  EXPECT_EQ(scan().destroyed, 1);
  EXPECT_EQ(alertMessage(), "Veltrane Flow: Unable to scan for document");
  EXPECT_TRUE(platform.console->has(
      "DELEGATE NetVerify error scan reference: scan-2 or error: 9820 no camera"));
  alert()->cancel();
  press();
  ASSERT_EQ(netverify->made.size(), 2u);
  scan().cancel();
  platform.mainQueue->run();
  EXPECT_TRUE(platform.console->has("DELEGATE NetVerify error scan reference: nil or error: nil"));
  alert()->cancel();
  EXPECT_TRUE(nothingHappened());
}

TEST_F(Jumio, aFaceCheckIsPresentedWhenReadyAndItsOwnReferenceIsSent) {
  auto properties = with("loginInitiate");
  properties = but(std::move(properties), "credId", "");
  properties = but(std::move(properties), "customerInternalReference", "7");
  startJumio(properties);
  const auto& configuration = check().configuration;
  EXPECT_EQ(configuration.apiToken, "tok-1");
  EXPECT_EQ(configuration.apiSecret, "sec-1");
  EXPECT_EQ(static_cast<int>(configuration.dataCenter), 0);
  EXPECT_EQ(configuration.callbackUrl, "https://acme.example/hook");
  EXPECT_EQ(configuration.enrollmentTransactionReference, "T");
  EXPECT_EQ(over(), nullptr) << "its screen is not there yet";
  check().ready();
  check().ready();
  EXPECT_EQ(over(), check().scan);

  check().finish("T-2", AuthenticationResult::failed);
  EXPECT_EQ(over(), nullptr);
  EXPECT_EQ(check().destroyed, 1);
  EXPECT_TRUE(platform.console->has(
      "DELEGATE authenticationController success; transactionReference: T-2"));
  EXPECT_EQ(sentParameters(), R"({"transactionReference":"T-2"})");
  check().finish("T-2");
  check().ready();
  EXPECT_EQ(requests(), 2u);
  EXPECT_EQ(over(), nullptr);
}

TEST_F(Jumio, aFaceCheckThatFailsLeavesTheScreenAsItWas) {
  startJumio(with("loginInitiate"));
  check().fail({"", "no face"}, "T-3");
  EXPECT_EQ(check().destroyed, 1) << "before its screen was there";
  EXPECT_TRUE(platform.console->has(
      "DELEGATE authenticationController didFinishWithError transactionReference: T-3 ERROR: no "
      "face"));
  press();
  check().ready();
  check().fail({"9810", "cut"});
  EXPECT_TRUE(platform.console->has(
      "DELEGATE authenticationController didFinishWithError transactionReference: nil ERROR: 9810 "
      "cut"));
  platform.mainQueue->run();
  EXPECT_TRUE(nothingHappened());
}

TEST_F(Jumio, secretsOfTheStepStayOffTheConsole) {
  startJumio(with("registerInitiate"));
  scan().finish();
  EXPECT_TRUE(platform.console->mentions("userViewprops: {\"apiKey\":\"•••\""));
  EXPECT_FALSE(platform.console->mentions("tok-1"));
  EXPECT_FALSE(platform.console->mentions("sec-1"));
}

struct Missing {
  const char* event;
  const char* name;
  const char* error;  // null: the step begins all the same
};

class JumioMissing : public Jumio, public ::testing::WithParamInterface<Missing> {
 protected:
  void expectIt() const {
    const auto& [event, name, error] = GetParam();
    const bool started = netverify->asked + authentication->asked == 1;
    EXPECT_EQ(started, error == nullptr) << event << " without " << name;
    if (error) {
      EXPECT_THAT(outcome->calls, ElementsAre("veltraneError: " + std::string(error)));
      EXPECT_EQ(requests(), 1u);
    }
  }
};

TEST_P(JumioMissing, aKeyThatIsMissingEndsTheFlowWhereItIsNeeded) {
  startJumio(but(with(GetParam().event), GetParam().name, ""));
  expectIt();
}
TEST_P(JumioMissing, aKeyThatIsNoTextEndsTheFlowWhereItIsNeeded) {
  startJumio(but(with(GetParam().event), GetParam().name, "5"));
  expectIt();
}
TEST_P(JumioMissing, anEmptyTextIsThere) {
  startJumio(but(with(GetParam().event), GetParam().name, R"("")"));
  const bool isEvent = GetParam().name == std::string("event");
  EXPECT_EQ(netverify->asked + authentication->asked, isEvent ? 0 : 1);
  EXPECT_THAT(outcome->calls, IsEmpty());
}

constexpr const char* kNoCredentials = "Missing Jumio credentials";
constexpr const char* kNoRegistration =
    "credId or customerInternalReference or transactionReference missing in Jumio, please contact "
    "Veltrane support";
constexpr const char* kNoLogin =
    "transactionReference missing in Jumio, please contact Veltrane support";

INSTANTIATE_TEST_SUITE_P(
    keys, JumioMissing,
    ::testing::Values(Missing{"registerInitiate", "event", kNoCredentials},
                      Missing{"registerInitiate", "apiKey", kNoCredentials},
                      Missing{"registerInitiate", "clientSecret", kNoCredentials},
                      Missing{"registerInitiate", "webhookUrl", kNoCredentials},
                      Missing{"registerInitiate", "credId", kNoRegistration},
                      Missing{"registerInitiate", "transactionReference", kNoRegistration},
                      Missing{"registerInitiate", "customerInternalReference", kNoRegistration},
                      Missing{"loginInitiate", "apiKey", kNoCredentials},
                      Missing{"loginInitiate", "clientSecret", kNoCredentials},
                      Missing{"loginInitiate", "webhookUrl", kNoCredentials},
                      Missing{"loginInitiate", "transactionReference", kNoLogin},
                      Missing{"loginInitiate", "credId", nullptr},
                      Missing{"loginInitiate", "customerInternalReference", nullptr}));

TEST_F(Jumio, aStepThatIsNotForThisDeviceDoesNothing) {
  startJumio(with("logoutInitiate"));
  EXPECT_TRUE(nothingHappened()) << "of another name";
  EXPECT_EQ(netverify->asked + authentication->asked, 0);
}

TEST_F(Jumio, aJailbrokenDeviceDoesNothingAtAll) {
  netverify->jailbroken = authentication->jailbroken = true;
  for (const auto* const event : {"registerInitiate", "loginInitiate"}) {
    startJumio(with(event));
    EXPECT_EQ(over(), nullptr);
    EXPECT_EQ(requests(), 1u);
    EXPECT_THAT(outcome->calls, IsEmpty());
    window->presentedViewController()->dismiss(false);
    platform.transport->exchanges.clear();
  }
  EXPECT_EQ(netverify->asked + authentication->asked, 0);
}

TEST_F(Jumio, withoutAnSDKTheUserIsToldAndStays) {
  netverify.reset();
  authentication.reset();
  install();
  for (const auto* const event : {"registerInitiate", "loginInitiate"}) {
    startJumio(with(event));
    EXPECT_EQ(alertMessage(), "Veltrane Flow: Your identity cannot be verified on this device.");
    alert()->cancel();
    EXPECT_TRUE(nothingHappened());
    press();
    EXPECT_NE(alert(), nullptr) << "its button works again";
    window->presentedViewController()->dismiss(false);
    platform.transport->exchanges.clear();
  }
}

TEST_F(Jumio, aSecondStartTakesThePlaceOfTheFirst) {
  startJumio(with("registerInitiate"));
  const auto first = netverify->made.back();
  press();
  ASSERT_EQ(netverify->made.size(), 2u);
  EXPECT_EQ(first->destroyed, 1);
  EXPECT_EQ(over().get(), &scan());
  first->finish();
  first->cancel();
  platform.mainQueue->run();
  EXPECT_EQ(requests(), 1u) << "the first one is not heard";
  EXPECT_EQ(over().get(), &scan());
  scan().finish();
  EXPECT_EQ(requests(), 2u);
}

TEST_F(Jumio, aSecondFaceCheckTakesThePlaceOfTheFirst) {
  startJumio(with("loginInitiate"));
  const auto first = authentication->made.back();
  press();
  ASSERT_EQ(authentication->made.size(), 2u);
  EXPECT_EQ(first->destroyed, 1);
  first->ready();
  EXPECT_EQ(over(), nullptr) << "the first one has no screen any more";
  check().ready();
  first->finish("T-1");
  first->fail({"", "late"});
  platform.mainQueue->run();
  EXPECT_EQ(requests(), 1u);
  EXPECT_EQ(over(), check().scan);
  check().finish("T-2");
  EXPECT_EQ(sentParameters(), R"({"transactionReference":"T-2"})");
}

TEST_F(Jumio, theEndOfTheFlowTakesTheHandOverWithIt) {
  startJumio(with("registerInitiate"));
  const auto last = netverify->made.back();
  const std::weak_ptr<FakeNetverify> gone = last;
  screen()->cancelPressed();
  platform.mainQueue->run();
  EXPECT_THAT(outcome->calls, ElementsAre("veltraneError: User Cancelled"));
  EXPECT_EQ(last->presentingViewController(), nullptr);
  EXPECT_EQ(last->destroyed, 1);
  last->finish();
  last->cancel();
  platform.mainQueue->run();
  EXPECT_EQ(requests(), 1u);
  EXPECT_EQ(outcome->calls.size(), 1u);
  EXPECT_EQ(std::count(shown.begin(), shown.end(), "alert AlertController"), 0);
}

class JumioOnLoad : public Jumio {
 protected:
  void SetUp() override {
    Jumio::SetUp();
    const auto own =
        R"("nextEvent":{"constructType":"vtEvent","eventType":"post","eventName":"verified"})";
    open(document(joined({own, kOnLoadEvent}),
                  {view("ThirdPartyiFrameTemplate"), view("ScreenTemplate2")}));
    EXPECT_EQ(sent()["eventName"].text(), "load");
    serve(R"({"event":"loginInitiate","apiKey":"k","clientSecret":"s","webhookUrl":"w",)"
          R"("transactionReference":"T"})");
    ASSERT_EQ(authentication->made.size(), 1u);
  }
};

TEST_F(JumioOnLoad, aScreenOfTheStepsOwnHandsOver) {
  EXPECT_EQ(check().configuration.enrollmentTransactionReference, "T");
  check().ready();
  check().finish("T-2");
  EXPECT_EQ(sentParameters(), R"({"transactionReference":"T-2"})");
  serve("{}");
  EXPECT_EQ(screen()->userViewIndex, 1u);
}

TEST_F(JumioOnLoad, aFaceCheckThatGetsReadyUnderTheNextScreenIsNotShown) {
  press();
  serve("{}");
  ASSERT_EQ(screen()->userViewIndex, 1u);
  check().ready();
  EXPECT_EQ(over(), nullptr);
  EXPECT_EQ(check().destroyed, 1);
}

TEST_F(Jumio, goingBackFromAScreenTakesItsHandOverAway) {
  const auto leadTo = [](int index) {
    return R"("nextEvent":{"constructType":"vtEvent","eventType":"nextUserView",)"
           R"("nextUserViewIndex":)" +
           std::to_string(index) + '}';
  };
  open(document(
      joined({leadTo(1), config("a", leadTo(2)), config("b", joined(with("registerInitiate")))}),
      {view("ScreenTemplate1"), view("ScreenTemplate2", "a"),
       view("ThirdPartyiFrameTemplate", "b")}));
  press();
  press();
  ASSERT_EQ(netverify->made.size(), 1u);
  EXPECT_EQ(over().get(), &scan());
  stack()->popViewController(false);
  platform.mainQueue->run();
  EXPECT_EQ(screen()->userViewIndex, 0u);
  EXPECT_EQ(scan().presentingViewController(), nullptr);
  EXPECT_EQ(scan().destroyed, 1);
  scan().finish();
  scan().cancel();
  platform.mainQueue->run();
  EXPECT_TRUE(nothingHappened());
}

TEST_F(Jumio, aFaceCheckThatGetsReadyTooLateIsNotShown) {
  startJumio(with("loginInitiate"));
  const auto late = authentication->made.back();
  screen()->cancelPressed();
  platform.mainQueue->run();
  EXPECT_EQ(late->destroyed, 1);
  late->ready();
  late->finish("T");
  EXPECT_EQ(late->scan->presentingViewController(), nullptr);
  EXPECT_EQ(requests(), 1u);
}

}  // namespace
}  // namespace veltrane::testing
