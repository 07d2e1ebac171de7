#include <gtest/gtest.h>

#include <QAccessible>
#include <QTest>

#include "tests/qtquick/front_end.h"
#include "veltrane/toolkit/navigation_controller.h"

namespace veltrane::qtquick::test {
namespace {

class Methods : public FrontEnd {
 protected:
  void openThree() {
    open(methodList(method("Passkey", "Use this device", "", kOwnScreen) + "," +
                    method("Push", "", "", kOwnScreen) + "," + method("Nothing", "No screens")));
  }
  bool isOpen() { return screen() != nullptr; }
  std::size_t screens() {
    const auto stack = std::dynamic_pointer_cast<NavigationController>(
        presenter_.hostViewController()->presentedViewController());
    return stack ? stack->viewControllers().size() : 0;
  }
  /// Within the row: a press that is not followed by what it queues.
  void tap(int row) {
    QTest::mouseClick(&window_, Qt::LeftButton, {}, place(items("method")[row]).center().toPoint());
  }
  QQuickItem* part(int row, const char* name) {
    for (QQuickItem* each : visibleItems(items("method")[row])) {
      if (each->objectName() == QLatin1String(name)) return each;
    }
    return nullptr;
  }
};

TEST_F(Methods, AreChosenByKeyboard) {
  openThree();
  EXPECT_EQ(listScreen()->title(), "Verify");
  press(Qt::Key_Tab);
  EXPECT_EQ(focused(), items("method")[0]);
  EXPECT_NE(part(0, "ring"), nullptr);
  press(Qt::Key_Tab);
  EXPECT_EQ(focused(), item("cancelButton"));
  press(Qt::Key_Tab);
  press(Qt::Key_Up);
  EXPECT_EQ(focused(), items("method")[0]);
  for (int i = 0; i < 5; ++i) press(Qt::Key_Down);
  EXPECT_EQ(focused(), items("method")[2]);
  press(Qt::Key_Up);
  press(Qt::Key_Return);
  EXPECT_TRUE(isOpen());
  click(item("backButton"));
  EXPECT_EQ(focused(), items("method")[1]) << "where the user was";
  press(Qt::Key_Space);
  EXPECT_TRUE(isOpen());
}

TEST_F(Methods, TheFirstOneIsReadyForAKeyboardInUse) {
  stage().setKeyboardInUse(true);
  openThree();
  EXPECT_EQ(focused(), items("method")[0]);
}

TEST_F(Methods, ADoubleTapOpensOneScreen) {
  openThree();
  tap(0);
  tap(1);
  settle();
  EXPECT_EQ(screens(), 2U);
  click(item("backButton"));
  EXPECT_EQ(screens(), 1U);
  click(items("method")[2]);
  EXPECT_TRUE(stage().activeView()->isAlert()) << "a method without screens";
  press(Qt::Key_Return);
  tap(1);
  settle();
  EXPECT_EQ(screens(), 2U) << "the list was not usable after the alert";
}

TEST_F(Methods, TellWhatTheyAreAndTakeTheScreenReadersPress) {
  openThree();
  const auto told = [&](int row) {
    return QAccessible::queryAccessibleInterface(items("method")[row]);
  };
  EXPECT_EQ(told(0)->role(), QAccessible::Button);
  EXPECT_EQ(told(0)->text(QAccessible::Name), "Passkey, Use this device");
  EXPECT_EQ(told(1)->text(QAccessible::Name), "Push");
  told(1)->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
  settle();
  EXPECT_TRUE(isOpen());
}

TEST_F(Methods, AnEmptyListSaysSo) {
  open(methodList(""));
  QQuickItem* const label = item("emptyLabel");
  ASSERT_NE(label, nullptr);
  EXPECT_EQ(label->property("text").toString(), "There is no way to sign in here at the moment.");
  EXPECT_NEAR(place(label).center().x(), 195, 1);
  EXPECT_EQ(QAccessible::queryAccessibleInterface(label)->text(QAccessible::Name),
            label->property("text").toString());
  press(Qt::Key_Tab);
  EXPECT_EQ(focused(), item("cancelButton"));
}

TEST_F(Methods, AreMirroredAndLineUpWithoutAnIcon) {
  open(methodList(method("Passkey", "Use this device", "https://i.example/a.png") + "," +
                  method("Push", "Approve it")));
  platform_.transport->answer(200, "picture 80x80");
  settlePictures();
  for (const bool mirrored : {false, true}) {
    stage().setMirrored(mirrored);
    settle();
    for (const int row : {0, 1}) {
      const QRectF tile = place(part(row, "tile"));
      const QRectF title = place(part(row, "title"));
      const QRectF arrow = place(part(row, "arrow"));
      EXPECT_EQ(tile.size(), QSizeF(40, 40));
      EXPECT_EQ(mirrored ? 390 - tile.right() : tile.left(), 20);
      EXPECT_EQ(mirrored ? tile.left() - title.right() : title.left() - tile.right(), 14);
      EXPECT_EQ(mirrored ? arrow.left() : 390 - arrow.right(), 20);
      EXPECT_GE(place(items("method")[row]).height(), 44);
    }
    EXPECT_EQ(part(0, "icon")->opacity(), 1);
  }
}

TEST_F(Methods, GrowWithTheirTextAndKeepTheColumn) {
  const std::string text = "A method whose words are so long that they need several lines";
  open(methodList(method(text, text) + "," + method("Push", text)));
  stage().setTextScale(2);
  settle();
  for (const int row : {0, 1}) {
    const QRectF area = place(items("method")[row]);
    for (const char* name : {"title", "subTitle"}) {
      const QRectF words = place(part(row, name));
      EXPECT_TRUE(area.contains(words)) << name;
      EXPECT_GE(words.height(), part(row, name)->property("contentHeight").toDouble());
      EXPECT_LE(part(row, name)->property("contentWidth").toDouble(), words.width());
    }
  }
  EXPECT_GE(place(items("method")[1]).top(), place(items("method")[0]).bottom());
  window_.resize(1200, 800);
  settle();
  EXPECT_DOUBLE_EQ(place(items("method")[0]).width(), 480);
  EXPECT_DOUBLE_EQ(place(items("method")[0]).center().x(), 600);
}

}  // namespace
}  // namespace veltrane::qtquick::test
