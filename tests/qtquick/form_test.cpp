#include <gtest/gtest.h>

#include <QTest>

#include "tests/qtquick/front_end.h"

namespace veltrane::qtquick::test {
namespace {

using Form = FrontEnd;

TEST_F(Form, OpensOnItsFirstFieldAndTakesWhatIsTyped) {
  openForm({label("Welcome"), field("user"), field("city")});
  EXPECT_EQ(focused(), control("user"));
  type("alice");
  EXPECT_EQ(entered("user"), "alice");
  EXPECT_EQ(focused()->property("text").toString(), "alice");

  // In the middle of a text the caret stays where the user types.
  focused()->setProperty("cursorPosition", 2);
  type("XY");
  EXPECT_EQ(entered("user"), "alXYice");
  EXPECT_EQ(focused()->property("cursorPosition").toInt(), 4);
}

TEST_F(Form, TabGoesThroughEveryControlAndRound) {
  openForm({field("user"), secret("pin"), toggle("keep"), dropdown("region")});
  const std::vector<QQuickItem*> order = {
      control("user"),   control("pin"), item("showControl"), control("keep"),
      control("region"), item("button"), item("cancelButton")};
  for (std::size_t i = 0; i < order.size(); ++i) {
    EXPECT_EQ(focused(), order[i]) << "stop " << i;
    press(Qt::Key_Tab);
  }
  EXPECT_EQ(focused(), order.front());
  for (std::size_t i = order.size(); i-- > 0;) {
    press(Qt::Key_Backtab, Qt::ShiftModifier);
    EXPECT_EQ(focused(), order[i]) << "back to stop " << i;
  }
}

TEST_F(Form, TabReachesRowsBeyondTheWindow) {
  std::vector<std::string> fields;
  for (int i = 0; i < 40; ++i) fields.push_back(field("f" + std::to_string(i)));
  openForm(fields);
  const QRectF list = place(form());
  for (int i = 0; i < 40; ++i) {
    type("x");
    EXPECT_EQ(entered("f" + std::to_string(i)), "x");
    EXPECT_TRUE(list.contains(place(focused()))) << "field " << i << " cannot be seen";
    press(Qt::Key_Tab);
  }
  EXPECT_EQ(focused(), item("button"));
  press(Qt::Key_Backtab, Qt::ShiftModifier);
  type("y");
  EXPECT_EQ(entered("f39"), "xy");
}

TEST_F(Form, ReturnGoesOnToTheNextFieldAndThenPresses) {
  openForm({field("user"), secret("pin")});
  type("alice");
  press(Qt::Key_Return);
  EXPECT_EQ(focused(), control("pin"));
  type("1234");
  const auto before = platform_.transport->exchanges.size();
  press(Qt::Key_Return);
  ASSERT_EQ(platform_.transport->exchanges.size(), before + 1);
  const auto body = parsed(platform_.transport->last().request.body.value_or(""));
  EXPECT_EQ(body["parameters"]["user"].textValue(), "alice");
  EXPECT_EQ(body["parameters"]["pin"].textValue(), "1234");
}

TEST_F(Form, NothingIsSentTwice) {
  openForm({field("user")});
  type("alice");
  const auto before = platform_.transport->exchanges.size();
  click(item("button"));
  EXPECT_NE(item("activityPanel"), nullptr);
  EXPECT_DOUBLE_EQ(item("button")->opacity(), 0.45);
  click(item("button"));
  press(Qt::Key_Return);
  click(control("user"));
  press(Qt::Key_Return);
  EXPECT_EQ(platform_.transport->exchanges.size(), before + 1);
  platform_.transport->answer(200, R"({"success":1})");
  settle();
}

TEST_F(Form, EscapeCancels) {
  openForm({field("user")});
  press(Qt::Key_Escape);
  EXPECT_EQ(delegate_->calls, std::vector<std::string>{"veltraneError: User Cancelled"});
  EXPECT_FALSE(stage().isShowing());
}

TEST_F(Form, AReloadKeepsFocusTextAndCaret) {
  openForm({field("user"), field("city")});
  type("alice");
  focused()->setProperty("cursorPosition", 3);
  QQuickItem* const before = focused();
  auto& records = controller().viewModel->records;
  CellProperties added{.value = "Look at this", .type = CellType::label};
  records.front().value = "alice";
  records.insert(records.begin(), added);
  records.erase(records.begin() + 2);
  controller().mainTableView.reloadData();
  settle();
  EXPECT_EQ(focused(), before);
  EXPECT_EQ(before->property("text").toString(), "alice");
  EXPECT_EQ(before->property("cursorPosition").toInt(), 3);
  type("Z");
  EXPECT_EQ(entered("user"), "aliZce");
  EXPECT_EQ(control("user"), before);
}

TEST_F(Form, AScreenWithoutRowsStillHearsTheKeyboard) {
  openForm({field("user")});
  controller().viewModel->records.clear();
  controller().mainTableView.reloadData();
  settle();
  press(Qt::Key_Tab);
  EXPECT_EQ(focused(), item("cancelButton"));
  press(Qt::Key_Return);
  EXPECT_EQ(delegate_->calls.size(), 1U);
}

TEST_F(Form, WithoutFieldsTheFirstTabEntersTheForm) {
  openForm({label("Look at this")});
  press(Qt::Key_Tab);
  EXPECT_EQ(focused(), item("button"));
  press(Qt::Key_Tab);
  EXPECT_EQ(focused(), item("cancelButton"));
  press(Qt::Key_Tab);
  EXPECT_EQ(focused(), item("button"));
}

TEST_F(Form, ReturnPressesTheButtonOfAScreenWithoutFields) {
  openForm({label("Look at this")});
  const auto before = platform_.transport->exchanges.size();
  press(Qt::Key_Return);
  EXPECT_EQ(platform_.transport->exchanges.size(), before + 1);
}

TEST_F(Form, ALongListMakesFewDelegates) {
  std::vector<std::string> fields;
  for (int i = 0; i < 5000; ++i) fields.push_back(field("f" + std::to_string(i)));
  openForm(fields);
  EXPECT_LT(items("field").size(), 60U);
  control("f4999");
  EXPECT_LT(items("field").size(), 60U);
  EXPECT_EQ(control("f2500")->property("text").toString(), "");
  click(control("f2500"));
  type("middle");
  control("f1");
  EXPECT_EQ(control("f2500")->property("text").toString(), "middle");
  EXPECT_EQ(entered("f2500"), "middle");
}

TEST_F(Form, ASecretIsShownOnlyOnDemand) {
  openForm({secret("pin"), field("user")});
  type("s3cret");
  QQuickItem* const pin = control("pin");
  EXPECT_EQ(pin->property("displayText").toString(), QString("•").repeated(6));
  const auto hints = Qt::InputMethodHints(pin->property("inputMethodHints").toInt());
  EXPECT_TRUE(hints.testFlags(Qt::ImhSensitiveData | Qt::ImhHiddenText | Qt::ImhNoPredictiveText));

  QQuickItem* const show = item("showControl");
  EXPECT_EQ(show->property("text").toString(), "Show");
  click(show);
  EXPECT_EQ(pin->property("displayText").toString(), "s3cret");
  EXPECT_EQ(show->property("text").toString(), "Hide");
  EXPECT_EQ(focused(), pin);
  click(show);
  EXPECT_EQ(pin->property("displayText").toString(), QString("•").repeated(6));
  EXPECT_EQ(items("showControl").size(), 1U);

  // What was shown is hidden again once the user has been elsewhere.
  click(show);
  controller().present(std::make_shared<AlertController>("T", "M", AlertStyle::actionSheet), false);
  settle();
  stage().activeView()->controller()->dismiss(false);
  settle();
  EXPECT_EQ(pin->property("displayText").toString(), QString("•").repeated(6));
}

TEST_F(Form, ASecretHidesAgainOnceTheUserGoesOn) {
  openForm({secret("pin"), field("user")});
  type("s3cret");
  QQuickItem* const pin = control("pin");
  const auto isHidden = [pin] {
    return pin->property("displayText").toString() == QString("•").repeated(6);
  };
  // The control that shows it belongs to the field: from one to the other is not going on.
  press(Qt::Key_Tab);
  press(Qt::Key_Space);
  EXPECT_FALSE(isHidden());
  press(Qt::Key_Backtab, Qt::ShiftModifier);
  EXPECT_EQ(focused(), pin);
  EXPECT_FALSE(isHidden());
  press(Qt::Key_Tab);
  press(Qt::Key_Tab);
  EXPECT_EQ(focused(), control("user"));
  EXPECT_TRUE(isHidden());

  // Shown from elsewhere it has the focus, so that there is something to lose.
  click(item("showControl"));
  EXPECT_EQ(focused(), pin);
  EXPECT_FALSE(isHidden());
  click(control("user"));
  EXPECT_TRUE(isHidden());
}

TEST_F(Form, ASwitchTurnsByTheWholeRowAndByKeyboard) {
  openForm({toggle("keep")});
  const auto on = [&] { return controller().textFieldsKeyValues["keep"].boolean(); };
  const QRectF row = place(control("keep"));
  EXPECT_GE(row.height(), 48);
  QTest::mouseClick(&window_, Qt::LeftButton, {}, (row.topLeft() + QPointF(5, 20)).toPoint());
  settle();
  EXPECT_EQ(on(), true);
  press(Qt::Key_Space);
  EXPECT_EQ(on(), false);
}

TEST_F(Form, TheFieldStaysAboveAnOnScreenKeyboard) {
  std::vector<std::string> fields;
  for (int i = 0; i < 8; ++i) fields.push_back(field("f" + std::to_string(i)));
  openForm(fields);
  click(control("f7"));
  const auto keyboardCovers = [this](double height) {
    stage().setProperty("coveredByKeyboard", height);
    settle();
  };
  keyboardCovers(400);
  EXPECT_LE(place(focused()).bottom(), 844 - 400);
  keyboardCovers(0);
  EXPECT_EQ(form()->height(), form()->parentItem()->height());

  // A field loses its keyboard to an alert in front, and gets it back.
  keyboardCovers(400);
  controller().present(std::make_shared<AlertController>("T", "M", AlertStyle::alert), false);
  keyboardCovers(0);
  stage().activeView()->controller()->dismiss(false);
  settle();
  EXPECT_EQ(form()->height(), form()->parentItem()->height());
  keyboardCovers(400);
  EXPECT_LE(place(focused()).bottom(), 844 - 400);
}

}  // namespace
}  // namespace veltrane::qtquick::test
