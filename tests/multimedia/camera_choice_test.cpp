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

TEST(CameraChoice, ofFormatsIsTheLargestWithHalvedChroma) {
  using Kind = OfferedFormat::Kind;
  const auto format = [](Kind kind, int width, int height, double rate = 30) {
    return OfferedFormat{kind, {width, height}, rate};
  };
  EXPECT_EQ(chooseFormat({}), std::nullopt);
  EXPECT_EQ(chooseFormat({format(OfferedFormat::unusable, 1920, 1080)}), std::nullopt);
  EXPECT_EQ(chooseFormat({format(OfferedFormat::compressed, 3840, 2160),
                          format(OfferedFormat::halvedChroma, 640, 480),
                          format(OfferedFormat::usable, 1920, 1080)}),
            1u);
  EXPECT_EQ(chooseFormat({format(OfferedFormat::halvedChroma, 640, 480),
                          format(OfferedFormat::halvedChroma, 1280, 720, 10),
                          format(OfferedFormat::halvedChroma, 1280, 720, 60),
                          format(OfferedFormat::halvedChroma, 720, 1280, 30)}),
            2u);
  EXPECT_EQ(chooseFormat({format(OfferedFormat::compressed, 1920, 1080),
                          format(OfferedFormat::usable, 640, 480)}),
            1u);
  EXPECT_EQ(chooseFormat({format(OfferedFormat::compressed, 60'000, 60'000),
                          format(OfferedFormat::compressed, 1920, 1080)}),
            0u)
      << "sizes are multiplied without overflow";
}

TEST(CameraChoice, failuresAreToldApart) {
  EXPECT_EQ(failureOf({}).code, CameraError::noCamera);
  EXPECT_EQ(failureOf({.isListed = true}).code, CameraError::busy);
  EXPECT_EQ(failureOf({.isListed = true, .isForbidden = true}).code,
            CameraError::permissionRefused);
  EXPECT_EQ(failureOf({.hasShownFrames = true}).code, CameraError::lost);
  EXPECT_EQ(noSuitableFormat().code, CameraError::noSuitableFormat);
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
