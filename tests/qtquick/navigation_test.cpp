#include <gtest/gtest.h>

#include <QPointer>

#include "platform/qtquick/alert_item.h"
#include "tests/qtquick/front_end.h"
#include "veltrane/toolkit/notification_center.h"

namespace veltrane::qtquick::test {
namespace {

using Navigation = FrontEnd;

std::string twoSteps() {
  const auto step = [](const std::string& name, const std::string& key, const std::string& more) {
    return config(name, R"("navTitle":{"value":")" + name +
                            R"("},"screenComponentList":{"value":[)" + field(key) + "]}," +
                            kButton + "," + kPostEvent + more);
  };
  return document(step("one", "user", R"(,"navbarBackgroundColor":{"value":"#112233"})") + "," +
                      step("two", "code", R"(,"navbarBackgroundColor":{"value":"#ffeedd"})"),
                  {view("ScreenTemplate1", "one"), view("ScreenTemplate1", "two")});
}

TEST_F(Navigation, GoesOnAndBackWithWhatWasTyped) {
  open(twoSteps());
  const auto first = screen();
  EXPECT_EQ(item("backButton"), nullptr);
  type("alice");
  press(Qt::Key_Return);
  platform_.transport->answer(200, R"({"success":1})");
  settle();
  ASSERT_NE(screen(), first);
  EXPECT_EQ(focused(), control("code"));
  EXPECT_EQ(screen()->title(), "two");
  EXPECT_EQ(screen()->palette().barBackground, QColor("#ffeedd"));

  click(item("backButton"));
  EXPECT_EQ(screen(), first);
  EXPECT_EQ(screen()->palette().barBackground, QColor("#112233"));
  EXPECT_EQ(control("user")->property("text").toString(), "alice");
  EXPECT_EQ(focused(), control("user"));
}

TEST_F(Navigation, MovesAndComesToRest) {
  stage().setStill(false);
  open(twoSteps());
  EXPECT_TRUE(stage().isSettled());
  type("alice");
  press(Qt::Key_Return);
  platform_.transport->answer(200, R"({"success":1})");
  settle();
  EXPECT_EQ(stage().rowCount(), 2 + 0);
  click(item("cancelButton"));
  waitFor([this] { return !stage().isShowing(); });
  EXPECT_EQ(stage().rowCount(), 0);
  EXPECT_FALSE(presenter_.overlay()->isVisible());
}

TEST_F(Navigation, ReducedMotionFades) {
  stage().setStill(false);
  stage().setReducedMotion(true);
  open(twoSteps());
  EXPECT_EQ(place(screen()->content()).topLeft(), QPointF(0, 0));
  EXPECT_TRUE(stage().isSettled());
}

TEST_F(Navigation, FullScreenHidesTheBarAndEscapeStillCancels) {
  openForm({field("user")}, R"("fullScreenMode":{"value":true})");
  EXPECT_EQ(item("cancelButton"), nullptr);
  press(Qt::Key_Tab);
  press(Qt::Key_Tab);
  EXPECT_EQ(focused(), control("user"));
  press(Qt::Key_Escape);
  EXPECT_EQ(delegate_->calls.size(), 1U);
}

TEST_F(Navigation, AScreenThatGivesWayKeepsItsBar) {
  open(twoSteps());
  auto* const first = screen();
  type("alice");
  press(Qt::Key_Return);
  platform_.transport->answer(200, R"({"success":1})");
  settle();
  auto* const second = screen();
  EXPECT_TRUE(second->canGoBack());
  const auto stack = controller().navigationController();
  stack->setNavigationBarHidden(true, false);
  EXPECT_TRUE(second->isBarHidden());
  EXPECT_FALSE(first->isBarHidden());

  const QPointer<ScreenItem> leaving(second);
  stage().setStill(false);
  stack->popViewController(true);
  ASSERT_FALSE(leaving.isNull());
  EXPECT_TRUE(leaving->canGoBack());
  stack->setNavigationBarHidden(false, false);
  EXPECT_FALSE(first->isBarHidden());
  ASSERT_FALSE(leaving.isNull());
  EXPECT_TRUE(leaving->isBarHidden());
}

TEST_F(Navigation, TheStartScreenOffersRetryAndCancel) {
  flow_ = VTFlow::make({.companyId = "co", .responseTimeOut = 60});
  flow_->delegate = delegate_;
  flow_->runFlow(
      VTFlow::ByFlowId{.flowId = "fl", .fromViewController = presenter_.hostViewController()});
  settle();
  EXPECT_EQ(item("startLabel")->property("text").toString(), "Loading flow...");
  EXPECT_EQ(item("retryButton"), nullptr);
  platform_.mainQueue->advance(std::chrono::seconds(10));
  settle();
  const auto before = platform_.transport->exchanges.size();
  press(Qt::Key_Tab);
  EXPECT_EQ(focused(), item("retryButton"));
  press(Qt::Key_Return);
  EXPECT_EQ(platform_.transport->exchanges.size(), before + 1);
  EXPECT_EQ(item("retryButton"), nullptr);
  click(item("cancelButton"));
  EXPECT_EQ(delegate_->calls, std::vector<std::string>{"veltraneError: User Cancelled"});
}

/// A controller that this front end knows nothing of.
struct Stranger final : FlowScreen {
  std::string_view className() const override { return "StrangerVC"; }
};

TEST_F(Navigation, AnUnknownScreenCanBeLeft) {
  openForm({field("user")});
  const auto stranger = std::make_shared<Stranger>();
  controller().navigationController()->pushViewController(stranger, true);
  settle();
  EXPECT_EQ(stage().activeView()->className(), "StrangerVC");
  click(item("backButton"));
  EXPECT_EQ(focused(), control("user"));
}

TEST_F(Navigation, AModalScreenRisesOverTheStackAndAlertsOverIt) {
  openForm({field("user")});
  auto* const below = stage().activeView();
  const auto modal = std::make_shared<Stranger>();
  controller().navigationController()->present(modal, true);
  settle();
  EXPECT_EQ(below->phase(), ViewItem::Phase::Covered);
  modal->present(std::make_shared<AlertController>("Title", "Message", AlertStyle::alert), true);
  settle();
  EXPECT_TRUE(stage().activeView()->isAlert());
  modal->dismiss(true);
  settle();
  EXPECT_EQ(stage().activeView(), below);
  EXPECT_EQ(focused(), control("user"));
}

}  // namespace
}  // namespace veltrane::qtquick::test
