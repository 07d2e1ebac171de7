#include "veltrane/face/face_hint.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cmath>
#include <functional>

#include "tests/face/capture_host.h"

namespace veltrane::testing {
namespace {

constexpr Rect kOval{45, 197, 300, 450};

FaceHint hint(const std::vector<Rect>& faces, const FrameLight& light = {}, bool mirrored = true) {
  return face::hintFor(faces, kOval, light, mirrored);
}

TEST(Hint, tellsWhatLeadsIntoTheOval) {
  EXPECT_EQ(hint({}), FaceHint::noFace);
  EXPECT_EQ(hint({{60, 300, 150, 150}}), FaceHint::none);
  EXPECT_EQ(hint({{60, 300, 150, 150}, {0, 0, 20, 20}}), FaceHint::severalFaces);
  EXPECT_EQ(hint({{20, 200, 301, 301}}), FaceHint::moveBack);
  EXPECT_EQ(hint({{50, 190, 200, 460}}), FaceHint::moveBack);
  EXPECT_EQ(hint({{0, 300, 60, 60}}), FaceHint::comeCloser);
  EXPECT_EQ(hint({{100, 300, 60, 60}}), FaceHint::none) << "small, but it will be taken";
  EXPECT_EQ(hint({{100, 150, 150, 150}}), FaceHint::moveDown);
  EXPECT_EQ(hint({{100, 600, 150, 150}}), FaceHint::moveUp);
  EXPECT_EQ(hint({{20, 120, 150, 150}}), FaceHint::moveDown) << "what lacks most comes first";
}

TEST(Hint, directionsAreThePersonsOwn) {
  const Rect atLeft{0, 300, 150, 150};
  const Rect atRight{230, 300, 150, 150};
  EXPECT_EQ(hint({atLeft}, {}, true), FaceHint::moveRight);
  EXPECT_EQ(hint({atRight}, {}, true), FaceHint::moveLeft);
  EXPECT_EQ(hint({atLeft}, {}, false), FaceHint::moveLeft);
  EXPECT_EQ(hint({atRight}, {}, false), FaceHint::moveRight);
}

TEST(Hint, lightCountsOnceItIsBad) {
  const Rect inside{60, 300, 150, 150};
  EXPECT_EQ(hint({}, {.mean = 0.05}), FaceHint::tooDark);
  EXPECT_EQ(hint({{0, 300, 150, 150}}, {.mean = 0.05}), FaceHint::tooDark);
  EXPECT_EQ(hint({inside}, {.sharpness = 0.03}), FaceHint::blurred);
  EXPECT_EQ(hint({inside}, {.sharpness = std::nullopt}), FaceHint::none);
  EXPECT_EQ(hint({{0, 300, 150, 150}}, {.sharpness = 0.03}), FaceHint::moveRight);
}

TEST(Hint, isShownOnceItHasHeldAndGoesSoon) {
  SteadyHint steady;
  const auto times = [&](int count, FaceHint hint) {
    FaceHint shown{};
    for (int i = 0; i < count; ++i) shown = steady.next(hint);
    return shown;
  };
  EXPECT_EQ(times(14, FaceHint::noFace), FaceHint::none);
  EXPECT_EQ(times(1, FaceHint::moveLeft), FaceHint::none) << "the count starts anew";
  EXPECT_EQ(times(14, FaceHint::noFace), FaceHint::none);
  EXPECT_EQ(times(1, FaceHint::noFace), FaceHint::noFace);
  EXPECT_EQ(times(4, FaceHint::moveLeft), FaceHint::noFace) << "a flicker";
  EXPECT_EQ(times(1, FaceHint::noFace), FaceHint::noFace);
  EXPECT_EQ(times(5, FaceHint::moveLeft), FaceHint::none) << "no longer true";
  EXPECT_EQ(times(10, FaceHint::moveLeft), FaceHint::moveLeft);
  EXPECT_EQ(times(5, FaceHint::none), FaceHint::none);
}

TEST(Hint, nearnessRisesTowardsTheOval) {
  EXPECT_EQ(face::nearness({}, kOval), std::nullopt);
  EXPECT_EQ(face::nearness({{60, 300, 150, 150}}, kOval), 1);
  double last = -1;
  for (const double x : {-260.0, -200.0, -100.0, -10.0, 40.0}) {
    const double near = face::nearness({{x, 300, 150, 150}}, kOval).value();
    EXPECT_GT(near, last) << x;
    last = near;
  }
  EXPECT_LT(last, 1);
  EXPECT_EQ(face::nearness({{-400, 300, 150, 150}}, kOval), 0);
  EXPECT_EQ(face::nearness({{-400, 300, 150, 150}, {60, 300, 150, 150}}, kOval), 1);
}

/// Luma of an upright picture by place from 0 to 1, in any of the formats and turns.
PixelBufferPtr frameOf(PixelFormat format, Turn turn, PixelSize upright,
                       const std::function<double(double, double)>& luma) {
  const bool lies = turn == Turn::quarter || turn == Turn::threeQuarters;
  const PixelSize size = lies ? PixelSize{upright.height, upright.width} : upright;
  auto made = PixelBuffer::allocate(format, size, 5);
  made.buffer->turn = turn;
  made.buffer->range = ColorRange::full;
  const int step = format == PixelFormat::yuy2   ? 2
                   : format == PixelFormat::rgb  ? 3
                   : format == PixelFormat::bgra ? 4
                                                 : 1;
  for (int y = 0; y < size.height; ++y) {
    for (int x = 0; x < size.width; ++x) {
      const double across = (x + 0.5) / size.width;
      const double down = (y + 0.5) / size.height;
      const double value = turn == Turn::none      ? luma(across, down)
                           : turn == Turn::quarter ? luma(1 - down, across)
                           : turn == Turn::half    ? luma(1 - across, 1 - down)
                                                   : luma(down, 1 - across);
      auto* pixel = made.planes[0] + y * made.buffer->planes[0].stride + x * step;
      for (int i = 0; i < std::max(1, step == 2 ? 1 : step); ++i) {
        pixel[i] = static_cast<std::uint8_t>(std::lround(std::clamp(value, 0.0, 1.0) * 255));
      }
    }
  }
  return made.buffer;
}

TEST(Light, isThatOfTheLargestFaceInEveryFormatAndTurn) {
  // Bright where the face is: a quarter of the picture, at its upper left.
  const auto corner = [](double x, double y) { return x < 0.5 && y < 0.5 ? 0.8 : 0.1; };
  const std::vector<FaceObservation> faces = {{.boundingBox = {0.7, 0.1, 0.1, 0.1}},
                                              {.boundingBox = {0.05, 0.55, 0.4, 0.4}}};
  for (const auto format : {PixelFormat::nv12, PixelFormat::i420, PixelFormat::yuy2,
                            PixelFormat::rgb, PixelFormat::bgra}) {
    for (const auto turn : {Turn::none, Turn::quarter, Turn::half, Turn::threeQuarters}) {
      const auto frame = frameOf(format, turn, {121, 77}, corner);
      EXPECT_NEAR(face::lightOf(*frame, faces).mean, 0.8, 0.01)
          << static_cast<int>(format) << " turned " << static_cast<int>(turn);
      EXPECT_NEAR(face::lightOf(*frame, {}).mean, 0.275, 0.02);
    }
  }
}

TEST(Light, videoRangeIsStretched) {
  auto made = PixelBuffer::allocate(PixelFormat::nv12, {64, 48});
  std::fill_n(made.planes[0], 64 * 48, std::uint8_t{16});
  EXPECT_EQ(face::lightOf(*made.buffer, {}).mean, 0);
  EXPECT_EQ(face::lightOf(*made.buffer, {}).sharpness, std::nullopt);
}

TEST(Light, sharpnessFallsWithBlurWhateverTheSizeAndTheLight) {
  constexpr double kPi = 3.14159265;
  // Edges that take up `width` of the picture.
  const auto edges = [&](double width, double bright) {
    return [=](double x, double y) {
      const double wave = std::sin(3 * kPi * x) + std::sin(2 * kPi * y);
      return bright * (0.5 + 0.4 * std::tanh(wave / (3 * kPi * width)));
    };
  };
  for (const PixelSize size : {PixelSize{192, 192}, PixelSize{1000, 800}}) {
    for (const double bright : {1.0, 0.4}) {
      const auto sharpness = [&](double width) {
        const auto frame = frameOf(PixelFormat::nv12, Turn::none, size, edges(width, bright));
        return face::lightOf(*frame, {}).sharpness.value_or(-1);
      };
      EXPECT_GT(sharpness(0.005), 1.5 * face::kBlurred);
      EXPECT_LT(sharpness(0.1), face::kBlurred);
    }
  }
}

TEST(Light, boxesOverTheEdgeAndTinyFramesAreBorne) {
  const auto frame = makeFrame({1, 1});
  EXPECT_EQ(face::lightOf(*frame, {{.boundingBox = {-5, -5, 20, 20}}}).sharpness, std::nullopt);
  EXPECT_EQ(face::lightOf(*frame, {{.boundingBox = {3, 3, 1, 1}}}).sharpness, std::nullopt);
  EXPECT_EQ(face::lightOf(*makeFrame(), {{.boundingBox = {1, 1, 9, 9}}}).mean, 0);
}

using CaptureHints = CaptureHost;

TEST_F(CaptureHints, areShownAfterFifteenFramesAndNeverDecide) {
  presentWithCamera();
  vision->see({.faces = {kOutside}});
  const auto luma = frameOf(PixelFormat::nv12, Turn::none, {90, 160},
                            [](double x, double) { return 0.4 + 0.2 * x; });
  EXPECT_TRUE(until([&] {
    camera->events.frame(luma);
    return screen->hint != FaceHint::none;
  }));
  EXPECT_EQ(screen->hint, FaceHint::moveLeft) << "in the mirror the left is at the left";
  EXPECT_GE(vision->takeQuestions().size(), 15u);
  EXPECT_LT(screen->nearness.value_or(2), 1);
  vision->see({.faces = {kInside}});
  EXPECT_TRUE(until([&] {
    camera->events.frame(luma);
    return isGreen();
  }));
  EXPECT_EQ(screen->hint, FaceHint::none);
  EXPECT_EQ(screen->nearness, 1);
  EXPECT_TRUE(screen->faceDetected);
}

TEST_F(CaptureHints, darkFramesAreToldAndStillTakenWhenAFaceIsInside) {
  presentWithCamera();
  vision->see({});
  EXPECT_TRUE(until([&] {
    camera->events.frame(makeFrame());
    return screen->hint != FaceHint::none;
  }));
  EXPECT_EQ(screen->hint, FaceHint::tooDark);
  follow({kInside});
  EXPECT_TRUE(isGreen());
}

TEST_F(CaptureHints, inTheBackgroundTheCameraIsGivenBackAndNothingIsTaken) {
  presentWithCamera();
  follow({kOutside});
  const auto former = camera;
  // Seen, but not yet decided on.
  vision->see({.faces = {kInside}});
  vision->hold();
  camera->events.frame(makeFrame());
  vision->waitUntilAsked();
  vision->goOn();
  screen->applicationDidEnterBackground();
  screen->applicationDidEnterBackground();
  EXPECT_EQ(former->stops, 1);
  EXPECT_TRUE(screen->isCapturing());
  EXPECT_EQ(screen->imagePixelBuffer, nullptr);
  EXPECT_THAT(screen->detectedFaceRectangleShapeLayer.path, ::testing::IsEmpty());

  camera = std::make_shared<FakeCamera>();
  screen->applicationWillEnterForeground();
  screen->applicationWillEnterForeground();
  ASSERT_TRUE(camera->events.frame);
  run();
  EXPECT_FALSE(screen->faceDetected) << "what the former camera has shown is past";
  former->events.failed({CameraError::lost, "too late"});
  run();
  EXPECT_EQ(alert(), nullptr);
  EXPECT_FALSE(former->events.frame(makeFrame()));
  camera->events.opened({.resolution = {90, 160}, .isFront = true});
  follow({kInside});
  finish();
  EXPECT_THAT(listener->heard, ::testing::ElementsAre("90x160"));
  screen->applicationDidEnterBackground();
  screen->applicationWillEnterForeground();
  EXPECT_FALSE(screen->isCapturing()) << "what is over is over";
}

TEST_F(CaptureHints, cancelInTheBackgroundEndsIt) {
  presentWithCamera();
  screen->applicationDidEnterBackground();
  screen->cancelButtonPressed();
  run();
  EXPECT_EQ(listener->heard.size(), 1u);
  camera->events = {};
  screen->applicationWillEnterForeground();
  EXPECT_FALSE(camera->events.frame) << "no camera is opened for a screen that has left";
}

}  // namespace
}  // namespace veltrane::testing
