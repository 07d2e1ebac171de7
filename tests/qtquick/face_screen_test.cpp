#include <gtest/gtest.h>

#include <qpa/qwindowsysteminterface.h>
#include <QAccessible>
#include <QTest>
#include <algorithm>
#include <chrono>
#include <optional>

#include "platform/qtquick/capture_sounds.h"
#include "platform/qtquick/spoken_text.h"
#include "tests/qtquick/capture_fixture.h"

namespace veltrane::qtquick::test {
namespace {

using std::chrono::seconds;

constexpr const char* kCancelled = "User Cancelled";
/// In a frame of 1280 x 720 that fills 390 x 844 points.
constexpr Rect kInside{0.42, 0.35, 0.14, 0.25};
/// At the left of the frame, which is the right of the mirror.
constexpr Rect kTooFarLeft{0.31, 0.35, 0.14, 0.25};

using Names = std::vector<std::string>;

class FaceScreen : public CaptureFrontEnd {
 protected:
  QString textOf(const char* name) { return item(name)->property("text").toString(); }
  /// Once the picture has been made, the screen leaves.
  void finish() {
    platform_.pictureQueue->run();
    settle();
  }
  /// The colour that the window has there.
  QColor at(const QImage& image, double x, double y) { return image.pixelColor(QPoint(x, y)); }

  PixelBufferPtr frame_ = frameOf(shades({1280, 720}));
};

TEST_F(FaceScreen, showsTheCameraAsAMirrorDimmedAroundTheOval) {
  show();
  EXPECT_NE(item("cameraSpinner"), nullptr);
  EXPECT_EQ(capture_->bounds, (Size{390, 844}));
  vision_->see({});
  film(frame_, [this] { return view()->isPicturing(); });
  EXPECT_EQ(item("cameraSpinner"), nullptr);
  const QImage shown = seen();
  const QColor left = at(shown, 100, 422);
  const QColor right = at(shown, 290, 422);
  EXPECT_GT(left.red(), right.red() + 10) << "what is bright at the right of the frame";
  EXPECT_NEAR(left.red(), left.blue(), 1);
  EXPECT_LT(at(shown, 20, 150).red(), 0.3 * left.red());
  const QColor line = at(shown, 47, 422);
  EXPECT_GT(line.red(), 140);
  camera_->events.opened({.resolution = {1280, 720}, .isFront = false});
  settle();
  const auto another = frameOf(shades({1280, 720}));
  film(another, [&] { return capture_->imagePixelBuffer == another; });
  const QImage plain = seen();
  EXPECT_LT(at(plain, 100, 422).red(), at(plain, 290, 422).red() - 10);
}

TEST_F(FaceScreen, outlinesAndOvalFollowTheFace) {
  show();
  follow({kTooFarLeft}, frame_);
  QQuickItem* const outlines = item("outlines");
  ASSERT_NE(outlines, nullptr);
  const auto rect = capture_->detectionOverlayLayer.affineTransform.apply(
      face::captureRect(kTooFarLeft, capture_->captureDeviceResolution));
  EXPECT_TRUE(place(outlines).contains(
      QRectF(rect.x, rect.y, rect.width, rect.height).intersected(QRectF(0, 0, 390, 844))));
  const QColor edge = at(seen(), rect.x, rect.y + rect.height / 2);
  EXPECT_GT(edge.green(), edge.red() + 40);
  // The shadow takes 0.7 of the light that there is beside the line.
  const double bright = at(seen(), rect.x - 25, rect.y + rect.height / 2).red();
  const double width = 5 * capture_->detectionOverlayLayer.affineTransform.d;
  EXPECT_NEAR(at(seen(), rect.x - std::abs(width) / 2 - 1, rect.y + rect.height / 2).red(),
              0.3 * bright, 0.06 * bright);
  // Nobody any more.
  vision_->see({});
  film(frame_, [this] { return capture_->detectedFaceRectangleShapeLayer.path.empty(); });
  EXPECT_EQ(item("outlines"), nullptr);

  follow({kInside}, frame_);
  EXPECT_EQ(view()->ovalColor(), QColor(0, 255, 0));
  EXPECT_EQ(textOf("captureTitle"), "Picture taken");
  const QColor oval = at(seen(), 47, 422);
  EXPECT_GT(oval.green(), oval.red() + 100);
  finish();
  EXPECT_EQ(outcome_->heard, Names{"1000x562"});
  EXPECT_FALSE(stage().isShowing());
}

TEST_F(FaceScreen, cancelIsAlwaysInReach) {
  for (int way = 0; way < 5; ++way) {
    SCOPED_TRACE(way);
    outcome_->heard.clear();
    capture_ = std::make_shared<FaceImageCaptureVC>();
    capture_->delegate = outcome_;
    show();
    switch (way) {
      case 0:
        press(Qt::Key_Escape);
        break;
      case 1:
        click(item("cancelButton"));
        break;
      case 2:
        press(Qt::Key_Return);
        press(Qt::Key_Space);
        EXPECT_TRUE(outcome_->heard.empty()) << "not by what is pressed by chance";
        press(Qt::Key_Tab);
        EXPECT_EQ(focused(), item("cancelButton"));
        press(Qt::Key_Return);
        break;
      case 3:
        press(Qt::Key_Tab, Qt::ShiftModifier);
        press(Qt::Key_Space);
        break;
      case 4:
        follow({kInside}, frame_);
        press(Qt::Key_Escape);
        finish();
        break;
    }
    EXPECT_EQ(outcome_->heard, Names{kCancelled});
    EXPECT_FALSE(stage().isShowing());
    // A camera that has not noticed yet.
    EXPECT_FALSE(camera_->events.frame(frame_));
    settle();
  }
}

TEST_F(FaceScreen, theFramesMemoryGoesWithTheScreen) {
  show();
  const std::weak_ptr<const PixelBuffer> watched = frame_;
  vision_->see({});
  film(frame_, [this] { return view()->isPicturing(); });
  seen();
  const auto another = frameOf(shades({640, 480}));
  film(another, [this] { return capture_->captureDeviceResolution == PixelSize{640, 480}; });
  frame_.reset();
  EXPECT_TRUE(watched.expired()) << "no longer than it is shown";
  const std::weak_ptr<const PixelBuffer> last = capture_->imagePixelBuffer;
  press(Qt::Key_Escape);
  EXPECT_EQ(last.use_count(), 1) << "the test's own";
}

TEST_F(FaceScreen, hintsAreShownAndNamesAreTold) {
  show();
  const auto check = [&](const char* name, QAccessible::Role role, const QString& text) {
    const auto* told = QAccessible::queryAccessibleInterface(item(name));
    ASSERT_NE(told, nullptr) << name;
    EXPECT_EQ(told->role(), role) << name;
    EXPECT_EQ(told->text(QAccessible::Name), text);
  };
  check("cancelButton", QAccessible::Button, "Cancel");
  check("captureTitle", QAccessible::Heading, "Place your face in the oval");
  vision_->see({.faces = {kTooFarLeft}});
  film(frame_, [this] { return capture_->hint != FaceHint::none; });
  EXPECT_EQ(capture_->hint, FaceHint::moveLeft);
  EXPECT_EQ(textOf("captureHint"), "Move to the left");
  check("captureHint", QAccessible::Notification, "Move to the left");
  vision_->see({});
  film(frame_, [this] { return capture_->hint == FaceHint::noFace; });
  check("captureHint", QAccessible::Notification, "No face in sight");
}

TEST_F(FaceScreen, hintsAreSpokenButNotAllTheTime) {
  using Said = std::vector<QString>;
  show();
  auto* const speech = view()->content()->findChild<SpokenText*>();
  ASSERT_NE(speech, nullptr);
  EXPECT_EQ(speech->text(), "Place your face in the oval");
  EXPECT_EQ(speech->property("speaker").value<QQuickItem*>(), item("captureHint"));
  Said said;
  QObject::connect(speech, &SpokenText::spoken, [&](const QString& text) { said.push_back(text); });
  vision_->see({});
  film(frame_, [this] { return capture_->hint == FaceHint::noFace; });
  EXPECT_EQ(said, Said{}) << "so soon after the title";
  platform_.mainQueue->advance(seconds(3));
  EXPECT_EQ(said, Said{"No face in sight"});
  platform_.mainQueue->advance(seconds(8));
  EXPECT_EQ(said.size(), 1u);
  platform_.mainQueue->advance(seconds(1));
  EXPECT_EQ(said, (Said{"No face in sight", "No face in sight"})) << "it still holds";
  platform_.mainQueue->advance(seconds(4));
  said.clear();
  vision_->see({.faces = {kTooFarLeft}});
  film(frame_, [this] { return capture_->hint == FaceHint::moveLeft; });
  EXPECT_EQ(said, Said{"Place your face in the oval"}) << "that there is none holds no longer";
  said.clear();
  vision_->see({.faces = {kInside}});
  film(frame_, [this] { return capture_->faceDetected; });
  EXPECT_EQ(said, Said{"Picture taken"}) << "at once, for the screen is about to leave";
  finish();
  platform_.mainQueue->advance(seconds(30));
  EXPECT_EQ(said.back(), "Picture taken") << "and nothing of a screen that has left";
}

TEST_F(FaceScreen, spokenTextsThatPassAreLeftOut) {
  SpokenText spoken;
  std::vector<QString> said;
  QObject::connect(&spoken, &SpokenText::spoken,
                   [&](const QString& text) { said.push_back(text); });
  spoken.setText("one");
  spoken.setText("two");
  spoken.setText("three");
  platform_.mainQueue->advance(seconds(3));
  EXPECT_EQ(said, (std::vector<QString>{"one", "three"}));
  spoken.setText("");
  platform_.mainQueue->advance(seconds(30));
  EXPECT_EQ(said.size(), 2u);
  spoken.setText("four");
  EXPECT_EQ(said.size(), 3u);
  spoken.setText("five");
  EXPECT_EQ(said.size(), 3u);
  spoken.setUrgent(true);
  EXPECT_EQ(said.back(), "five");
  spoken.setText("six");
  EXPECT_EQ(said.back(), "six");
  platform_.mainQueue->advance(seconds(8));
  EXPECT_EQ(said.size(), 5u) << "each once";
}

TEST_F(FaceScreen, nothingUrgentToSaySilencesNothingLater) {
  SpokenText spoken;
  std::vector<QString> said;
  QObject::connect(&spoken, &SpokenText::spoken,
                   [&](const QString& text) { said.push_back(text); });
  spoken.setUrgent(true);
  spoken.setText("one");
  spoken.setText("");
  spoken.setUrgent(false);
  spoken.setText("two");
  EXPECT_EQ(said.size(), 1u) << "so soon after the first";
  platform_.mainQueue->advance(seconds(3));
  EXPECT_EQ(said, (std::vector<QString>{"one", "two"}));
  spoken.setText("");
  platform_.mainQueue->advance(seconds(30));
  EXPECT_EQ(said.size(), 2u) << "what held then holds no longer";
}

struct Heard final : CaptureSounds {
  void setNearness(std::optional<double> nearness) override { last = nearness; }
  void pictureTaken() override { ++endings; }
  std::optional<double> last = -1;
  int endings = 0;
};

/// The next screen's sounds come here.
void listenTo(std::weak_ptr<Heard>& heard) {
  useCaptureSounds([&heard] {
    const auto made = std::make_shared<Heard>();
    heard = made;
    return made;
  });
}

TEST_F(FaceScreen, theToneFollowsTheFaceAndEndsOnce) {
  std::weak_ptr<Heard> heard;
  listenTo(heard);
  show();
  useCaptureSounds({});
  EXPECT_TRUE(heard.expired()) << "no loudspeaker is looked for while the screen opens";
  follow({kTooFarLeft}, frame_);
  ASSERT_FALSE(heard.expired());
  ASSERT_TRUE(heard.lock()->last);
  EXPECT_GT(*heard.lock()->last, 0.3);
  EXPECT_LT(*heard.lock()->last, 1);
  vision_->see({});
  film(frame_, [&] { return !heard.lock()->last; });
  follow({kInside}, frame_);
  stage().setDark(true);
  EXPECT_EQ(heard.lock()->endings, 1);
  finish();
  ASSERT_EQ(view(), nullptr);
  EXPECT_FALSE(heard.expired()) << "the last sound is longer than the screen";
  platform_.mainQueue->advance(seconds(1));
  EXPECT_TRUE(heard.expired());
}

TEST_F(FaceScreen, theToneEndsWithAScreenThatIsCancelled) {
  std::weak_ptr<Heard> heard;
  listenTo(heard);
  show();
  useCaptureSounds({});
  follow({kTooFarLeft}, frame_);
  EXPECT_FALSE(heard.expired());
  press(Qt::Key_Escape);
  EXPECT_TRUE(heard.expired());
}

TEST_F(FaceScreen, nobodyIsFilmedWhileTheWindowIsHidden) {
  show();
  follow({kTooFarLeft}, frame_);
  const auto former = camera_;
  camera_ = std::make_shared<FakeCamera>();
  window_.hide();
  settle();
  EXPECT_EQ(former->stops, 1);
  EXPECT_FALSE(former->events.frame(frame_));
  EXPECT_FALSE(view()->isPicturing());
  window_.show();
  settle();
  ASSERT_TRUE(camera_->events.frame);
  follow({kInside}, frame_);
  finish();
  EXPECT_EQ(outcome_->heard, Names{"1000x562"});
}

TEST_F(FaceScreen, nobodyIsFilmedInAWindowMinimisedBeforehand) {
  window_.showMinimized();
  settle();
  ASSERT_EQ(window_.visibility(), QWindow::Minimized);
  const auto former = camera_;
  show();
  EXPECT_EQ(former->stops, 1);
  EXPECT_FALSE(former->events.frame(frame_));
  camera_ = std::make_shared<FakeCamera>();
  window_.showNormal();
  settle();
  ASSERT_TRUE(camera_->events.frame);
  follow({kInside}, frame_);
  finish();
  EXPECT_EQ(outcome_->heard, Names{"1000x562"});
}

/// As a phone's system tells it.
void enter(Qt::ApplicationState state) {
  using System = QWindowSystemInterface;
  System::handleApplicationStateChanged<System::SynchronousDelivery>(state);
}

TEST_F(FaceScreen, nobodyIsFilmedByAnAppInTheBackground) {
  for (const auto background : {Qt::ApplicationHidden, Qt::ApplicationSuspended}) {
    SCOPED_TRACE(background);
    camera_ = std::make_shared<FakeCamera>();
    capture_ = std::make_shared<FaceImageCaptureVC>();
    capture_->delegate = outcome_;
    outcome_->heard.clear();
    show();
    follow({kTooFarLeft}, frame_);
    const auto former = camera_;
    enter(Qt::ApplicationInactive);
    settle();
    EXPECT_EQ(former->stops, 0) << "another window has the keys, this one can be seen";
    follow({kTooFarLeft}, frame_);
    EXPECT_TRUE(view()->isPicturing());
    camera_ = std::make_shared<FakeCamera>();
    enter(background);
    settle();
    EXPECT_EQ(former->stops, 1);
    EXPECT_FALSE(former->events.frame(frame_));
    EXPECT_FALSE(view()->isPicturing());
    EXPECT_FALSE(camera_->events.frame) << "none is opened";
    enter(Qt::ApplicationActive);
    settle();
    ASSERT_TRUE(camera_->events.frame);
    follow({kInside}, frame_);
    finish();
    EXPECT_EQ(outcome_->heard, Names{"1000x562"});
  }
}

TEST_F(FaceScreen, aCameraThatFailsLeavesThePersonAWayOut) {
  show();
  follow({kTooFarLeft}, frame_);
  camera_->events.failed({CameraError::lost, "The camera was disconnected."});
  settle();
  ASSERT_TRUE(stage().activeView()->isAlert());
  EXPECT_EQ(textOf("alertMessage"), "The camera was disconnected.");
  press(Qt::Key_Escape);
  ASSERT_NE(view(), nullptr);
  EXPECT_FALSE(view()->isPicturing());
  EXPECT_EQ(item("cameraSpinner"), nullptr) << "nothing is under way";
  press(Qt::Key_Escape);
  EXPECT_EQ(outcome_->heard, Names{kCancelled});
}

}  // namespace
}  // namespace veltrane::qtquick::test
