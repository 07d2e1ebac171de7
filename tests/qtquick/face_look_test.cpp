#include <gtest/gtest.h>

#include <QDir>
#include <QPainter>

#include "tests/qtquick/capture_fixture.h"

namespace veltrane::qtquick::test {
namespace {

/// Texts that do not fit in the room they were given, or that leave the window.
std::vector<std::string> clippedTexts(QQuickItem* root) {
  std::vector<std::string> clipped;
  for (QQuickItem* each : visibleItems(root)) {
    if (each->metaObject()->indexOfProperty("paintedWidth") < 0) continue;
    const QRectF where = place(each);
    const bool isCut = each->property("paintedWidth").toDouble() > each->width() + 1 ||
                       each->property("paintedHeight").toDouble() > each->height() + 1;
    if (isCut || !place(root).contains(where)) {
      clipped.push_back(each->property("text").toString().toStdString());
    }
  }
  return clipped;
}

class FaceLook : public CaptureFrontEnd {
 protected:
  /// Of a photograph named in the environment, its face at this place of a camera's picture.
  static PixelBufferPtr scene(QRectF part) {
    QImage image = shades({1280, 720});
    const QString photograph = qEnvironmentVariable("VELTRANE_FACE_PHOTOGRAPH");
    if (!photograph.isEmpty()) {
      QPainter painter(&image);
      painter.setRenderHint(QPainter::SmoothPixmapTransform);
      painter.drawImage(part, QImage(photograph));
    }
    return frameOf(image);
  }
  /// For a person to look at: a folder named in the environment gets a picture of everything.
  void keepPicture(const QString& name) {
    const QString folder = qEnvironmentVariable("VELTRANE_CAPTURE_PICTURES");
    if (folder.isEmpty()) return;
    ASSERT_TRUE(QDir().mkpath(folder));
    ASSERT_TRUE(seen().save(QDir(folder).filePath(name + ".png")));
  }
  void check(const QString& name) {
    SCOPED_TRACE(name.toStdString());
    keepPicture(name);
    QQuickItem* const root = view()->content();
    EXPECT_EQ(clippedTexts(root), std::vector<std::string>());
    QQuickItem* const cancel = item("cancelButton");
    ASSERT_NE(cancel, nullptr);
    EXPECT_TRUE(place(root).contains(place(cancel)));
    EXPECT_GE(cancel->height(), 44);
    EXPECT_GE(cancel->width(), 44);
    QQuickItem* const hint = item("captureHint");
    EXPECT_FALSE(place(hint).intersects(place(cancel)));
    if (QQuickItem* const title = item("captureTitle")) {
      EXPECT_FALSE(place(title).intersects(place(hint)));
      EXPECT_FALSE(place(title).intersects(place(cancel)));
    } else {
      EXPECT_NE(hint->property("text").toString(), "") << "says what to do";
    }
  }
  void lookAtEverySize(const QString& look) {
    check(look);
    for (const QSize size : {QSize(844, 390), QSize(300, 450), QSize(320, 568), QSize(1280, 800),
                             QSize(400, 360), QSize(768, 1024)}) {
      window_.resize(size);
      settle();
      camera_->events.frame(frame_);
      settle();
      check(QStringLiteral("%1-%2x%3").arg(look).arg(size.width()).arg(size.height()));
    }
    window_.resize(390, 844);
    settle();
  }

  PixelBufferPtr frame_ = scene({320, 130, 800, 800});
};

TEST_F(FaceLook, FitsInEveryLook) {
  show();
  check("opening");
  vision_->see({});
  film(frame_, [this] { return capture_->hint == FaceHint::noFace; });
  lookAtEverySize("no-face");
  stage().setTextScale(2);
  lookAtEverySize("large");
  stage().setTextScale(1);
  stage().setMirrored(true);
  lookAtEverySize("mirrored");
  stage().setMirrored(false);
  stage().setDark(true);
  check("dark");
}

TEST_F(FaceLook, OutsideAndInside) {
  show();
  const auto outside = scene({110, 130, 800, 800});
  const Rect box{(110 + 800 * 0.345) / 1280, 1 - (130 + 800 * 0.37) / 720, 800 * 0.2 / 1280,
                 800 * 0.22 / 720};
  vision_->see({.faces = {box}});
  film(outside, [this] { return capture_->hint != FaceHint::none; });
  check("outside");
  const auto inside = scene({290, 130, 800, 800});
  vision_->see({.faces = {{box.x + 180.0 / 1280, box.y, box.width, box.height}}});
  film(inside, [this] { return capture_->faceDetected; });
  check("inside");
}

TEST_F(FaceLook, WithoutACamera) {
  camera_ = nullptr;
  show();
  EXPECT_TRUE(stage().activeView()->isAlert());
  keepPicture("no-camera");
  press(Qt::Key_Return);
  check("no-camera-after");
}

}  // namespace
}  // namespace veltrane::qtquick::test
