// What is made of the networks' answers, however odd they are.
#include <gmock/gmock.h>

#include <cmath>
#include <limits>
#include <memory>
#include <numbers>

#include "platform/opencv/detections.h"
#include "platform/opencv/face_shape.h"
#include "platform/opencv/frame_sampler.h"

namespace veltrane::opencv {
namespace {

using ::testing::IsEmpty;
using ::testing::SizeIs;

constexpr double kPi = std::numbers::pi;
constexpr float kNoNumber = std::numeric_limits<float>::quiet_NaN();
constexpr float kEndless = std::numeric_limits<float>::infinity();

/// An answer without faces, to be written to.
class Answer : public ::testing::Test {
 protected:
  Answer() { std::fill(std::begin(found->scores), std::end(found->scores), -20.F); }

  /// A face whose middle is `x`, `y` from the middle of its cell, leaning by `angle`.
  void put(int column, int row, float score, float x, float y, float side, double angle = 0) {
    const int index = row * kVeltraneGrid + column;
    found->scores[index] = score;
    float* const numbers = found->cells + std::ptrdiff_t{index} * kVeltraneCellNumbers;
    const auto along = static_cast<float>(side / 5 * std::cos(angle));
    const auto across = static_cast<float>(side / 5 * std::sin(angle));
    const float written[] = {x, y, side, side, x - along, y - across, x + along, y + across};
    std::copy(std::begin(written), std::end(written), numbers);
  }
  std::vector<Detection> faces() const { return facesIn(*found, {}); }

  std::unique_ptr<VeltraneDetection> found = std::make_unique<VeltraneDetection>();
};

TEST_F(Answer, tellsEachFaceOnceTheSurestFirst) {
  put(10, 10, 3, 0, 0, 40);
  put(11, 10, 3, -4, 0, 40);
  put(10, 11, 2, 0, -4, 44);
  put(30, 30, 5, 2, 1, 30, 0.5);
  const auto all = faces();
  ASSERT_THAT(all, SizeIs(2));
  EXPECT_GT(all[0].score, all[1].score);
  EXPECT_NEAR(all[0].face.middle.x, 30.5 * 4 + 2, 1e-3);
  EXPECT_NEAR(all[0].face.middle.y, 30.5 * 4 + 1, 1e-3);
  EXPECT_NEAR(all[0].face.angle, 0.5, 1e-3);
  EXPECT_NEAR(all[1].face.middle.x, 42, 1e-3);
  EXPECT_GT(all[1].face.side, 40);
  EXPECT_LT(all[1].face.side, 44);
}

TEST_F(Answer, thatIsNoNumberIsNoFace) {
  for (const float odd : {kNoNumber, kEndless, -kEndless, 1e30F}) {
    put(5, 5, 5, odd, 0, 40);
    put(6, 5, 5, 0, odd, 40);
    put(7, 5, 5, 0, 0, odd);
    put(8, 5, 5, 0, 0, -40);
    put(9, 5, kNoNumber, 0, 0, 40);
    put(10, 5, -kEndless, 0, 0, 40);
    EXPECT_THAT(faces(), IsEmpty()) << odd;
  }
  put(10, 5, kEndless, 0, 0, 40);
  ASSERT_THAT(faces(), SizeIs(1)) << "as sure as can be";
  EXPECT_EQ(faces()[0].score, 1);
}

TEST(Mesh, thatIsNoFaceHasNoPoints) {
  auto mesh = std::make_unique<VeltraneMesh>();
  for (int i = 0; i < kVeltranePoints; ++i) {
    mesh->points[3 * i] = static_cast<float>(60 + i % 70);
    mesh->points[3 * i + 1] = static_cast<float>(60 + i % 73);
  }
  const auto points = pointsOf(*mesh, {.a = 2, .b = 0, .c = 0, .d = 2, .tx = 5, .ty = 7});
  ASSERT_TRUE(points);
  EXPECT_EQ(points->at(0), (Point{125, 127}));
  for (const float odd : {kNoNumber, kEndless, -1e6F}) {
    auto broken = std::make_unique<VeltraneMesh>(*mesh);
    broken->points[3 * 467 + 1] = odd;
    EXPECT_FALSE(pointsOf(*broken, {})) << odd;
  }
  auto dot = std::make_unique<VeltraneMesh>();
  EXPECT_FALSE(pointsOf(*dot, {})) << "a face has an extent";
}

TEST(Shape, boxesTurnOverBetweenThePictureAndVision) {
  const PixelSize size{200, 100};
  const Rect box{20, 10, 40, 50};
  EXPECT_EQ(normalised(box, size), (Rect{0.1, 0.4, 0.2, 0.5}));
  const Rect back = denormalised(normalised(box, size), size);
  EXPECT_NEAR(back.y, 10, 1e-9);
  EXPECT_NEAR(back.height, 50, 1e-9);
  // Looked at from a box alone: about what a detection with that box leads to.
  const Square detected{{100, 50}, 40, 0};
  const Square byBox = surroundings(boxOf(detected));
  EXPECT_NEAR(byBox.side, surroundings(detected).side, 2);
  EXPECT_NEAR(byBox.middle.y, detected.middle.y, 2);
  const Rect leaning = boxOf(Square{{100, 50}, 40, kPi / 2});
  EXPECT_LT(leaning.x + leaning.width / 2, 100) << "the chin is where the face leans to";
}

TEST(Sampler, leadsFromTheNetworkToTheFramesPixels) {
  // Each pixel tells its own place.
  const auto made = PixelBuffer::allocate(PixelFormat::rgb, {250, 200}, 7);
  for (int y = 0; y < 200; ++y) {
    for (int x = 0; x < 250; ++x) {
      auto* pixel = made.planes[0] + y * made.buffer->planes[0].stride + 3 * x;
      pixel[0] = static_cast<std::uint8_t>(x);
      pixel[1] = static_cast<std::uint8_t>(y);
    }
  }
  FrameSampler sampler;
  // Upright, the frame's upper left corner is where the turn takes it.
  const std::pair<Turn, Point> turned[] = {{Turn::none, {60, 50}},
                                           {Turn::quarter, {150, 60}},
                                           {Turn::half, {190, 150}},
                                           {Turn::threeQuarters, {50, 190}}};
  for (const auto& [turn, middle] : turned) {
    made.buffer->turn = turn;
    for (const double side : {40.0, 90.0}) {
      for (const int input : {10, 40}) {
        const auto sample = sampler.sample(*made.buffer, {middle, side, 0.3}, input);
        ASSERT_TRUE(sample);
        const Point at = sample->map.apply(Point{input / 2.0, input / 2.0});
        const auto* pixel = sample->pixels + 4 * (int(at.y) * sample->size.width + int(at.x));
        const double slack = side / input + 1;
        EXPECT_NEAR(pixel[0], 60, slack) << int(turn) << " " << side << " " << input;
        EXPECT_NEAR(pixel[1], 50, slack) << int(turn) << " " << side << " " << input;
      }
    }
  }
  made.buffer->turn = Turn::none;
  const double no = std::nan("");
  for (const Square& square :
       {Square{{-100, 0}, 50, 0}, Square{{no, 0}, 50, 0}, Square{{60, 50}, no, 0},
        Square{{60, 50}, 0, 0}, Square{{60, 50}, -5, 0}, Square{{60, 50}, 1e308, 0}}) {
    EXPECT_FALSE(sampler.sample(*made.buffer, square, 192)) << square.side;
  }
}

}  // namespace
}  // namespace veltrane::opencv
