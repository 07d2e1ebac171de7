#include "platform/qtquick/multimedia/camera_choice.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include "platform/qtquick/multimedia/camera_permission.h"

namespace veltrane::qtquick::multimedia::test {
namespace {

TEST(CameraChoice, isTheFrontCameraElseTheOnlyOne) {
  const OfferedDevice front{OfferedDevice::front}, back{OfferedDevice::back};
  const OfferedDevice other{OfferedDevice::unknown}, usual{OfferedDevice::unknown, true};
  EXPECT_EQ(chooseDevice({}), std::nullopt);
  EXPECT_EQ(chooseDevice({back, usual, front}), 2u);
  EXPECT_EQ(chooseDevice({back, other, usual}), 2u);
  EXPECT_EQ(chooseDevice({back, other}), 1u);
  EXPECT_EQ(chooseDevice({back}), 0u);
}

using Kind = OfferedFormat::Kind;

OfferedFormat format(Kind kind, int width, int height, double rate = 30) {
  return {kind, {width, height}, rate};
}

TEST(CameraChoice, ofFormatsIsTheLargestWithHalvedChroma) {
  constexpr Kind kHalved = OfferedFormat::halvedChroma, kPlain = OfferedFormat::usable,
                 kPacked = OfferedFormat::compressed, kNone = OfferedFormat::unusable;
  const struct {
    const char* why;
    std::vector<OfferedFormat> offered;
    std::optional<std::size_t> chosen;
  } cases[] = {
      {"nothing", {}, std::nullopt},
      {"nothing usable", {format(kNone, 1920, 1080)}, std::nullopt},
      {"slow but usable", {format(kNone, 1920, 1080), format(kPacked, 640, 480, 5)}, 1},
      {"halved chroma first",
       {format(kPacked, 3840, 2160), format(kHalved, 640, 480), format(kPlain, 1920, 1080)},
       1},
      {"then the highest resolution, however long",
       {format(kHalved, 960, 720), format(kHalved, 1280, 400)},
       0},
      {"of those the fastest",
       {format(kHalved, 1280, 720, 20), format(kHalved, 1280, 720, 60),
        format(kHalved, 720, 1280, 30)},
       1},
      {"but no faster than can be seen",
       {format(kHalved, 1280, 720, 60), format(kHalved, 1280, 720, 240)},
       0},
      {"large before fast enough",
       {format(kHalved, 640, 480), format(kHalved, 1920, 1080, 5), format(kHalved, 1280, 720)},
       1},
      {"fast enough, as one that does not tell may be, of the same size",
       {format(kHalved, 1280, 720, 14.9), format(kHalved, 1280, 720, 0)},
       1},
      {"halved chroma before fast enough",
       {format(kPlain, 1280, 720), format(kHalved, 640, 480, 5)},
       1},
      {"without it fast enough before large",
       {format(kPlain, 1280, 720), format(kPlain, 1920, 1080, 14.9),
        format(kPacked, 1600, 1200, 5)},
       0},
      {"who does not tell may be fast", {format(kPlain, 640, 480), format(kPlain, 800, 600, 0)}, 1},
      {"rather decompressed than enlarged",
       {format(kPlain, 640, 480), format(kPlain, 1920, 1080, 5), format(kPacked, 1280, 720)},
       2},
      {"rather not decompressed for nothing",
       {format(kPacked, 1920, 1080), format(kPlain, 1024, 768)},
       1},
      {"sizes are multiplied without overflow",
       {format(kPacked, 60'000, 60'000), format(kPacked, 1920, 1080)},
       0},
  };
  for (const auto& each : cases) EXPECT_EQ(chooseFormat(each.offered), each.chosen) << each.why;
}

TEST(CameraChoice, failuresAreToldApart) {
  const CameraFault told{.number = 1, .words = "Cannot set the format."};
  const struct {
    CameraState state;
    std::int64_t code;
  } cases[] = {
      {{}, CameraError::noCamera},
      {{.fault = told}, CameraError::noCamera},
      {{.isListed = true}, CameraError::busy},
      {{.isListed = true, .fault = {.words = "In use.", .isBusy = true}}, CameraError::busy},
      {{.isListed = true, .fault = told}, kSystemErrors + 1},
      {{.isListed = true, .hasSeenFrames = true, .fault = told}, kSystemErrors + 1},
      {{.isListed = true, .hasSeenFrames = true}, CameraError::noSuitableFormat},
      {{.isListed = true, .isForbidden = true, .fault = told}, CameraError::permissionRefused},
      {{.hasSeenFrames = true, .hasShownFrames = true}, CameraError::lost},
      {{.isListed = true, .hasSeenFrames = true, .hasShownFrames = true}, CameraError::lost},
  };
  for (const auto& [state, code] : cases) {
    const auto error = failureOf(state);
    EXPECT_EQ(error.code, code);
    EXPECT_FALSE(error.localizedDescription.empty()) << code;
  }
  EXPECT_EQ(failureOf({.isListed = true, .fault = told}).localizedDescription, told.words);
  EXPECT_EQ(
      failureOf({.isListed = true, .hasShownFrames = true, .fault = told}).localizedDescription,
      told.words);
}

TEST(CameraPermission, isRefusedWhenNoneOfTheCamerasMayBeOpened) {
  QTemporaryDir folder;
  const auto path = folder.path().toStdString();
  const auto forbidden = [](const std::string& device) { return device.ends_with("video0"); };
  EXPECT_FALSE(isEveryCameraForbidden(path, forbidden)) << "there are none";
  for (const char* name : {"video0", "null"}) {
    QFile file(folder.filePath(name));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
  }
  EXPECT_TRUE(isEveryCameraForbidden(path, forbidden));
  QFile other(folder.filePath("video2"));
  ASSERT_TRUE(other.open(QIODevice::WriteOnly));
  EXPECT_FALSE(isEveryCameraForbidden(path, forbidden));
  EXPECT_FALSE(isEveryCameraForbidden(path + "/missing", forbidden));
  EXPECT_FALSE(isForbidden(folder.filePath("video0").toStdString()));
  EXPECT_FALSE(isForbidden("{a name, not a file}"));
}

}  // namespace
}  // namespace veltrane::qtquick::multimedia::test
