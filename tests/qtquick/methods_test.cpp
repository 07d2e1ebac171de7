#include <gtest/gtest.h>

#include <QAccessible>
#include <QTest>
#include <algorithm>

#include "platform/qtquick/picture_view.h"
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
  /// From the top; a list makes and keeps its rows in an order of its own.
  QQuickItem* methodAt(int row) {
    auto all = items("method");
    std::sort(all.begin(), all.end(), [](const QQuickItem* a, const QQuickItem* b) {
      return place(a).top() < place(b).top();
    });
    return all.at(static_cast<std::size_t>(row));
  }
  /// Within the row: a press that is not followed by what it queues.
  void tap(int row) {
    QTest::mouseClick(&window_, Qt::LeftButton, {}, place(methodAt(row)).center().toPoint());
  }
  QQuickItem* part(int row, const char* name) {
    for (QQuickItem* each : visibleItems(methodAt(row))) {
      if (each->objectName() == QLatin1String(name)) return each;
    }
    return nullptr;
  }
};

TEST_F(Methods, AreChosenByKeyboard) {
  openThree();
  EXPECT_EQ(listScreen()->title(), "Verify");
  press(Qt::Key_Tab);
  EXPECT_EQ(focused(), methodAt(0));
  EXPECT_NE(part(0, "ring"), nullptr);
  press(Qt::Key_Tab);
  EXPECT_EQ(focused(), item("cancelButton"));
  press(Qt::Key_Tab);
  press(Qt::Key_Up);
  EXPECT_EQ(focused(), methodAt(0));
  for (int i = 0; i < 5; ++i) press(Qt::Key_Down);
  EXPECT_EQ(focused(), methodAt(2));
  press(Qt::Key_Up);
  press(Qt::Key_Return);
  EXPECT_TRUE(isOpen());
  click(item("backButton"));
  EXPECT_EQ(focused(), methodAt(1)) << "where the user was";
  press(Qt::Key_Space);
  EXPECT_TRUE(isOpen());
}

TEST_F(Methods, TheFirstOneIsReadyForAKeyboardInUse) {
  stage().setKeyboardInUse(true);
  openThree();
  EXPECT_EQ(focused(), methodAt(0));
}

TEST_F(Methods, ADoubleTapOpensOneScreen) {
  openThree();
  tap(0);
  tap(1);
  settle();
  EXPECT_EQ(screens(), 2U);
  click(item("backButton"));
  EXPECT_EQ(screens(), 1U);
  click(methodAt(2));
  EXPECT_TRUE(stage().activeView()->isAlert()) << "a method without screens";
  press(Qt::Key_Return);
  tap(1);
  settle();
  EXPECT_EQ(screens(), 2U) << "the list was not usable after the alert";
}

TEST_F(Methods, TellWhatTheyAreAndTakeTheScreenReadersPress) {
  openThree();
  const auto told = [&](int row) { return QAccessible::queryAccessibleInterface(methodAt(row)); };
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
      EXPECT_NEAR(mirrored ? arrow.left() : 390 - arrow.right(), 20, 1);
      EXPECT_GE(place(methodAt(row)).height(), 44);
    }
    const auto* icon = qobject_cast<PictureView*>(part(0, "icon"));
    EXPECT_EQ(icon->drawn(), QRectF(0, 0, 40, 40));
  }
}

TEST_F(Methods, GrowWithTheirTextAndKeepTheColumn) {
  const std::string text = "A method whose words are so long that they need several lines";
  open(methodList(method(text, text) + "," + method("Push", text)));
  stage().setTextScale(2);
  settle();
  for (const int row : {0, 1}) {
    const QRectF area = place(methodAt(row));
    for (const char* name : {"title", "subTitle"}) {
      const QRectF words = place(part(row, name));
      EXPECT_TRUE(area.contains(words)) << name;
      EXPECT_GE(words.height(), part(row, name)->property("contentHeight").toDouble());
      EXPECT_LE(part(row, name)->property("contentWidth").toDouble(), words.width());
    }
  }
  EXPECT_GE(place(methodAt(1)).top(), place(methodAt(0)).bottom());
  window_.resize(1200, 800);
  settle();
  EXPECT_DOUBLE_EQ(place(methodAt(0)).width(), 480);
  EXPECT_DOUBLE_EQ(place(methodAt(0)).center().x(), 600);
}

}  // namespace
}  // namespace veltrane::qtquick::test
