#include <gtest/gtest.h>

#include <QTest>

#include "platform/qtquick/alert_item.h"
#include "tests/qtquick/front_end.h"

namespace veltrane::qtquick::test {
namespace {

using Dialogs = FrontEnd;

TEST_F(Dialogs, ADropdownIsChosenFromByKeyboard) {
  openForm({field("user"), dropdown("region")});
  QQuickItem* const button = control("region");
  press(Qt::Key_Tab);
  EXPECT_EQ(focused(), button);
  press(Qt::Key_Space);
  ASSERT_NE(item("actionSheet"), nullptr);
  EXPECT_EQ(focused()->property("text").toString(), "Europe");
  press(Qt::Key_Down);
  press(Qt::Key_Tab);
  EXPECT_EQ(focused()->property("text").toString(), "Asia");
  press(Qt::Key_Up);
  press(Qt::Key_Return);
  EXPECT_EQ(item("actionSheet"), nullptr);
  EXPECT_EQ(entered("region"), "Americas");
  EXPECT_EQ(focused(), button);
}

TEST_F(Dialogs, ASheetIsWavedAway) {
  openForm({dropdown("region")});
  const auto open = [&] { click(control("region")); };
  open();
  press(Qt::Key_Escape);
  EXPECT_EQ(item("actionSheet"), nullptr);
  open();
  click(item("sheetDismiss"));
  EXPECT_EQ(item("actionSheet"), nullptr);
  open();
  QTest::mouseClick(&window_, Qt::LeftButton, {}, {195, 100});
  settle();
  EXPECT_EQ(item("actionSheet"), nullptr);
  EXPECT_FALSE(controller().textFieldsKeyValues.contains("region"));
  EXPECT_TRUE(delegate_->calls.empty());
}

TEST_F(Dialogs, ALongSheetScrollsToTheChoiceThatHasTheKeyboard) {
  std::string options;
  for (int i = 0; i < 60; ++i) options += (i ? ",\"o" : "\"o") + std::to_string(i) + '"';
  openForm({component("dropdown", "many", R"("")",
                      R"({"displayName":"Many","options":[)" + options + "]}")});
  click(control("many"));
  const QRectF sheet = place(item("choices"));
  EXPECT_GE(sheet.top(), 0);
  EXPECT_LT(items("sheetAction").size(), 40U);
  for (int i = 0; i < 40; ++i) press(Qt::Key_Down);
  EXPECT_EQ(focused()->property("text").toString(), "o40");
  EXPECT_TRUE(sheet.contains(place(focused())));
  press(Qt::Key_Return);
  EXPECT_EQ(entered("many"), "o40");
}

TEST_F(Dialogs, AnAlertTakesTheKeyboardAndGivesItBack) {
  openForm({field("user"), field("city")});
  press(Qt::Key_Tab);
  QQuickItem* const city = focused();
  type(" ");
  press(Qt::Key_Return);
  auto* const alert = qobject_cast<AlertItem*>(stage().activeView());
  ASSERT_NE(alert, nullptr);
  EXPECT_EQ(item("alertMessage")->property("text").toString(), "Please input city");
  EXPECT_EQ(focused(), item("alertAction"));

  // What lies below can be neither reached nor typed into.
  press(Qt::Key_Tab);
  EXPECT_EQ(focused(), item("alertAction"));
  type("x");
  QTest::mouseClick(&window_, Qt::LeftButton, {}, {195, 200});
  settle();
  EXPECT_EQ(stage().activeView(), alert);

  press(Qt::Key_Return);
  ASSERT_NE(screen(), nullptr);
  EXPECT_EQ(entered("city"), " ");
  EXPECT_EQ(focused(), city);

  press(Qt::Key_Return);
  press(Qt::Key_Escape);
  EXPECT_EQ(focused(), city);
  EXPECT_TRUE(delegate_->calls.empty());
}

}  // namespace
}  // namespace veltrane::qtquick::test
