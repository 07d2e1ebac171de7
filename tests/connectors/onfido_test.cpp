#include <limits>

#include "tests/connectors/hand_over_host.h"
#include "veltrane/toolkit/notification_center.h"

namespace veltrane::testing {
namespace {

class Onfido : public HandOverHost {
 protected:
  static Properties usual() {
    return {property("token", R"("tok-1")"), property("credId", R"("C")")};
  }
  FakeOnfidoRun& run() const { return *onfido->runs.back(); }
};

TEST_F(Onfido, theCaptureFlowIsConfiguredAndItsResultsAreSentInTheirOrder) {
  startOnFido(usual());
  EXPECT_EQ(run().configuration.sdkToken(), "tok-1");
  EXPECT_FALSE(run().configuration.expireHandler());
  EXPECT_THAT(run().configuration.steps(),
              ElementsAre(OnfidoStep::welcome, OnfidoStep::document, OnfidoStep::face));
  EXPECT_TRUE(run().dismisses);
  EXPECT_EQ(over(), run().screen);

  const DocumentResult front{
      .href = "/d/1", .id = "d1", .type = "passport", .side = "front", .createdAt = 1700000000.25};
  const FaceResult face{.id = "f1",
                        .href = "/f/1",
                        .createdAt = 5.5,
                        .fileName = "a.jpg",
                        .fileType = "image/jpeg",
                        .fileSize = 12};
  run().respond(onfido_response::Success{{face, OtherResult{}, front}});
  const std::string results =
      R"([{"createdAt":5.5,"fileName":"a.jpg","fileSize":12,"fileType":"image/jpeg",)"
      R"("href":"/f/1","id":"f1"},{"createdAt":1700000000.25,"href":"/d/1","id":"d1",)"
      R"("side":"front","type":"passport"}])";
  EXPECT_EQ(over(), nullptr);
  EXPECT_EQ(sentParameters(),
            R"({"completeProps":)" + results + R"(,"credId":"C","success":true})");
  EXPECT_TRUE(platform.console->has("onFido results:" + results));
  EXPECT_FALSE(platform.console->mentions("tok-1"));
  EXPECT_FALSE(run().dropped) << "while it is the one that calls";
  platform.mainQueue->run();
  EXPECT_TRUE(run().dropped);
  serve("{}");
  EXPECT_EQ(screen()->userViewIndex, 2u);
}

TEST_F(Onfido, whatAResultDoesNotGiveIsLeftOut) {
  startOnFido(usual());
  const DocumentResult timeless{.id = "d1", .createdAt = std::numeric_limits<double>::quiet_NaN()};
  run().respond(onfido_response::Success{{timeless, FaceResult{}}});
  EXPECT_EQ(sentParameters(), R"({"completeProps":[{"id":"d1"},{}],"credId":"C","success":true})");
}

TEST_F(Onfido, aSuccessWithoutResultsIsSentOnceAllTheSame) {
  startOnFido(usual());
  run().respond(onfido_response::Success{});
  EXPECT_EQ(sentParameters(), R"({"completeProps":[],"credId":"C","success":true})");
  run().respond(onfido_response::Success{});
  platform.mainQueue->run();
  EXPECT_EQ(requests(), 2u) << "an end counts once";
}

TEST_F(Onfido, anErrorIsThereForAHostToObserveAndTheUserStays) {
  startOnFido(usual());
  std::vector<std::string> told;
  const auto observing = NotificationCenter::defaultCenter().addObserver(
      kVtFlowNotification, [&](const Notification& notification) {
        const auto error = std::any_cast<OnfidoError>(notification.userInfo->at("error"));
        told.push_back(error.type + ": " + error.message);
      });
  run().respond(onfido_response::Error{{"expired_token", "too late"}});
  platform.mainQueue->run();
  EXPECT_THAT(told, ElementsAre("expired_token: too late"));
  EXPECT_TRUE(nothingHappened());
  press();
  EXPECT_EQ(onfido->runs.size(), 2u) << "the button works again";
}

TEST_F(Onfido, aCancelSendsNothingAndSaysWhoseItWas) {
  startOnFido(usual());
  run().respond(onfido_response::Cancel{OnfidoCancelReason::userExit});
  EXPECT_TRUE(platform.console->has("onFido flow cancelled by user..."));
  EXPECT_FALSE(platform.console->has("onFido flow unknown error..."));
  press();
  run().respond(onfido_response::Cancel{OnfidoCancelReason::other});
  EXPECT_TRUE(platform.console->has("onFido flow unknown error..."));
  EXPECT_TRUE(nothingHappened());
}

TEST_F(Onfido, aMissingTokenOrIdEndsTheFlow) {
  const std::vector<Properties> wrong = {
      {property("credId", R"("C")")},
      {property("token", R"("tok-1")")},
      {property("token", "5"), property("credId", R"("C")")},
      {property("token", R"("tok-1")"), property("credId", "[]")},
  };
  for (const auto& properties : wrong) {
    outcome->calls.clear();
    startOnFido(properties);
    EXPECT_THAT(outcome->calls, ElementsAre("veltraneError: onFido Token or credId missing"));
  }
  EXPECT_EQ(onfido->asked, 0);
  startOnFido({property("token", R"("")"), property("credId", R"("")")});
  EXPECT_EQ(run().configuration.sdkToken(), "") << "presence counts, not content";
}

TEST_F(Onfido, aConfigurationThatTheSDKRefusesShowsNothing) {
  onfido->refuses = true;
  startOnFido(usual());
  EXPECT_TRUE(nothingHappened());
  EXPECT_FALSE(OnfidoConfig::builder().withWelcomeStep().build()) << "without a token";
  EXPECT_FALSE(OnfidoConfig::builder().withSDKToken("t").build()) << "without a step";
}

TEST_F(Onfido, aFlowWithoutAScreenShowsNothingAndCanBeTriedAgain) {
  startOnFido(usual());
  run().respond(onfido_response::Cancel{});
  struct Screenless final : OnfidoSDK {
    struct Flow final : OnfidoFlow {
      void with(ResponseHandler /*handler*/, bool /*dismiss*/) override {}
      std::shared_ptr<HandOverViewController> run() override { return nullptr; }
    };
    std::shared_ptr<OnfidoFlow> makeFlow(const OnfidoConfig& /*configuration*/) override {
      return std::make_shared<Flow>();
    }
  };
  Platform ports = Platform::current();
  ports.onfido = std::make_shared<Screenless>();
  Platform::install(ports);
  press();
  EXPECT_TRUE(nothingHappened());
}

TEST_F(Onfido, withoutAnSDKTheUserIsToldAndStays) {
  onfido.reset();
  install();
  startOnFido(usual());
  EXPECT_EQ(alertMessage(), "Veltrane Flow: Your identity cannot be verified on this device.");
  alert()->cancel();
  EXPECT_TRUE(nothingHappened());
}

TEST_F(Onfido, aSecondStartTakesThePlaceOfTheFirst) {
  startOnFido(usual());
  const auto first = onfido->runs.back();
  press();
  EXPECT_TRUE(first->dropped);
  EXPECT_EQ(over(), run().screen);
  first->handler(onfido_response::Success{});
  EXPECT_EQ(requests(), 1u) << "the first one is not heard";
  EXPECT_EQ(over(), run().screen);
}

TEST_F(Onfido, aFlowThatDoesNotDismissItselfIsDismissed) {
  startOnFido(usual());
  run().handler(onfido_response::Success{});
  EXPECT_EQ(over(), nullptr);
  EXPECT_EQ(requests(), 2u);
}

TEST_F(Onfido, theEndOfTheFlowTakesTheHandOverWithIt) {
  startOnFido(usual());
  const auto last = onfido->runs.back();
  screen()->cancelPressed();
  platform.mainQueue->run();
  EXPECT_TRUE(last->dropped);
  last->handler(onfido_response::Success{});
  platform.mainQueue->run();
  EXPECT_EQ(requests(), 1u);
  EXPECT_THAT(outcome->calls, ElementsAre("veltraneError: User Cancelled"));
}

TEST_F(Onfido, aStepHasEventsOfItsOwnAndTheScreenBelowKeepsIts) {
  startOnFido(usual());
  run().respond(onfido_response::Success{});
  EXPECT_EQ(sent()["eventName"].text(), "verified");
  press();
  EXPECT_EQ(onfido->runs.size(), 1u) << "the step's request is under way";
  screen()->viewModel->postProcess = parsed(R"({"eventName":"not this one"})");
  serve("{}");
  EXPECT_EQ(screen()->userViewIndex, 2u);
}

}  // namespace
}  // namespace veltrane::testing
