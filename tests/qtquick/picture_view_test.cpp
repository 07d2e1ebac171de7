#include "platform/qtquick/picture_view.h"

#include <gtest/gtest.h>

#include <QQmlComponent>
#include <QQmlEngine>
#include <QQuickWindow>
#include <QSGImageNode>
#include <QSGTexture>
#include <array>
#include <memory>

#include "platform/qtquick/install.h"

namespace veltrane::qtquick {
namespace {

using Paint = QColor (*)(int x, int y);

PicturePtr paint(PixelSize size, Paint colour) {
  auto picture = std::make_shared<Picture>(Picture{size, {}, true});
  for (int y = 0; y < size.height; ++y) {
    for (int x = 0; x < size.width; ++x) {
      const QColor c = colour(x, y);
      picture->isOpaque = picture->isOpaque && c.alpha() == 255;
      for (const int channel : {c.red(), c.green(), c.blue()}) {
        picture->pixels.push_back(static_cast<std::uint8_t>(channel * c.alpha() / 255));
      }
      picture->pixels.push_back(static_cast<std::uint8_t>(c.alpha()));
    }
  }
  return picture;
}

const QColor kRed("#cc0000"), kBlue("#0000cc"), kGreen("#00aa00"), kWhite("#ffffff");

/// A green quarter on top; below it red to the left and blue to the right.
PicturePtr flag() {
  return paint({20, 20}, [](int x, int y) { return y < 5 ? kGreen : x < 10 ? kRed : kBlue; });
}

/// A picture in a room of 100 x 50 points in the middle of a white window of 200 x 100.
class PictureRoom : public ::testing::Test {
 protected:
  PictureRoom() {
    registerTypes();
    component_.setData(
        "import QtQuick\nimport Veltrane.Flow\n"
        "Item { LayoutMirroring.enabled: true; LayoutMirroring.childrenInherit: true\n"
        "PictureView { anchors.centerIn: parent; width: 100; height: 50 } }",
        {});
    root_.reset(qobject_cast<QQuickItem*>(component_.create()));
    EXPECT_NE(root_, nullptr) << component_.errorString().toStdString();
    root_->setParentItem(window_.contentItem());
    root_->setSize({200, 100});
    view = qobject_cast<PictureView*>(root_->childItems().front());
    window_.resize(200, 100);
    window_.setColor(kWhite);
    window_.show();
  }
  void show(PicturePtr picture, std::optional<ContentMode> mode = {}, double scale = 1) {
    view->setPicture(PictureValue({std::move(picture), scale, mode}));
  }
  /// The colour at a place of the room, which begins at 0, 0.
  QColor at(int x, int y) { return window_.grabWindow().pixelColor(50 + x, 25 + y); }

  PictureView* view = nullptr;

 private:
  QQuickWindow window_;
  QQmlEngine engine_;
  QQmlComponent component_{&engine_};
  std::unique_ptr<QQuickItem> root_;
};

TEST_F(PictureRoom, FitsUnlessToldOtherwiseAndIsNeverMirrored) {
  for (const auto mode : {std::optional<ContentMode>(), std::optional(ContentMode::aspectFit)}) {
    show(flag(), mode);
    EXPECT_EQ(view->drawn(), QRectF(25, 0, 50, 50));
    EXPECT_EQ(at(20, 30), kWhite);
    EXPECT_EQ(at(30, 3), kGreen);
    EXPECT_EQ(at(30, 40), kRed);
    EXPECT_EQ(at(70, 40), kBlue);
    EXPECT_EQ(at(80, 30), kWhite);
  }
}

TEST_F(PictureRoom, StretchesOrFillsAndStaysWithinItsRoom) {
  show(flag(), ContentMode::scaleToFill);
  EXPECT_EQ(at(3, 3), kGreen);
  EXPECT_EQ(at(3, 40), kRed);
  EXPECT_EQ(at(96, 40), kBlue);
  show(flag(), ContentMode::aspectFill);
  EXPECT_EQ(at(3, 3), kRed) << "the green quarter lies above the room";
  EXPECT_EQ(at(96, 46), kBlue);
  for (const auto mode : {ContentMode::scaleToFill, ContentMode::aspectFill}) {
    show(flag(), mode);
    EXPECT_EQ(view->drawn(), QRectF(0, 0, 100, 50));
    for (const auto& [x, y] : {std::pair(50, -2), {50, 52}, {-2, 25}, {102, 25}}) {
      EXPECT_EQ(at(x, y), kWhite) << x << ' ' << y;
    }
  }
}

TEST_F(PictureRoom, StandsInTheMiddleAtItsOwnSizeInPoints) {
  show(flag(), ContentMode::center);
  EXPECT_EQ(view->drawn(), QRectF(40, 15, 20, 20));
  EXPECT_EQ(at(42, 30), kRed);
  show(flag(), ContentMode::center, 2);
  EXPECT_EQ(view->drawn(), QRectF(45, 20, 10, 10));
  EXPECT_EQ(at(42, 30), kWhite);
  show(paint({400, 400}, [](int x, int /*y*/) { return x < 200 ? kRed : kBlue; }),
       ContentMode::center);
  EXPECT_EQ(view->drawn(), QRectF(0, 0, 100, 50));
  EXPECT_EQ(at(48, 25), kRed);
  EXPECT_EQ(at(52, 25), kBlue);
  EXPECT_EQ(at(-1, 25), kWhite);
}

TEST_F(PictureRoom, IsMadeSmallerWithoutLosingLinesAndRoundedAtItsCorners) {
  // One line of eight pixels is dark: what only looks at every eighth pixel sees none or all.
  show(paint({800, 400}, [](int /*x*/, int y) { return y % 8 == 0 ? QColor(Qt::black) : kWhite; }),
       ContentMode::scaleToFill);
  for (int y = 10; y < 14; ++y) EXPECT_NEAR(at(50, y).red(), 255 * 7 / 8, 24) << y;
  view->setRadius(10);
  show(paint({300, 150}, [](int /*x*/, int /*y*/) { return kRed; }));
  EXPECT_EQ(at(0, 0), kWhite);
  EXPECT_EQ(at(99, 49), kWhite);
  EXPECT_EQ(at(10, 10), kRed);
  EXPECT_EQ(at(50, 0), kRed);
  show(nullptr);
  EXPECT_EQ(at(50, 25), kWhite);
}

class OpenView : public PictureView {
 public:
  using PictureView::updatePaintNode;
};

TEST_F(PictureRoom, IsHandedToAPainterInTheSizeOfTheScreen) {
  // Each frame of a fade draws the node anew: pixels as they are want no work then.
  OpenView open;
  open.setParentItem(view->parentItem());
  open.setSize({100, 50});
  for (const auto& [size, drawn] : {std::pair(PixelSize{150, 150}, QSize(50, 50)),
                                    {PixelSize{30, 15}, QSize(100, 50)},
                                    {PixelSize{100, 50}, QSize(100, 50)}}) {
    open.setPicture(PictureValue({paint(size, [](int, int) { return kRed; }), 1, {}}));
    const std::unique_ptr<QSGNode> node(open.updatePaintNode(nullptr, nullptr));
    const auto& image = static_cast<QSGImageNode&>(*node);
    EXPECT_EQ(image.texture()->textureSize(), drawn);
    EXPECT_EQ(image.sourceRect(), QRectF(QPointF(0, 0), drawn));
    EXPECT_EQ(image.rect().size(), QSizeF(drawn));
  }
}

TEST_F(PictureRoom, ACodeIsDrawnInWholePixels) {
  const auto board = [](int x, int y) { return (x + y) % 2 ? QColor(Qt::transparent) : Qt::black; };
  show(paint({21, 21}, board));
  EXPECT_TRUE(view->picture().isCode());
  EXPECT_EQ(view->drawn(), QRectF(29, 4, 42, 42));
  for (int i = 0; i < 42; ++i) {
    EXPECT_EQ(at(29 + i, 4), (i / 2) % 2 ? kWhite : QColor(Qt::black)) << i;
  }
  EXPECT_FALSE(isCode(*flag()));
  EXPECT_FALSE(isCode(*paint({30, 21}, board)));
  EXPECT_FALSE(isCode(*paint({21, 21}, [](int, int) { return kRed; })));
  EXPECT_FALSE(isCode(*paint({60, 60}, [](int x, int) { return QColor(x, x, x); })));
}

}  // namespace
}  // namespace veltrane::qtquick
