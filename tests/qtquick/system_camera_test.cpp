#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QElapsedTimer>
#include <atomic>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>

#include "platform/qtquick/multimedia_library.h"

namespace veltrane::qtquick::test {
namespace {

bool isLoaded(const char* library) {
  std::ifstream maps("/proc/self/maps");
  const std::string all{std::istreambuf_iterator<char>(maps), {}};
  return all.find(library) != std::string::npos;
}

TEST(SystemCamera, loadsItsLibraryWhenItIsStartedAndSaysWhatBecomesOfIt) {
  const auto camera = makeSystemCamera();
  ASSERT_NE(camera, nullptr);
  camera->stopRunning();
  EXPECT_FALSE(isLoaded("libQt6Multimedia"));
  // There may be a camera or not.
  const auto told = std::make_shared<std::atomic<int>>(0);
  const auto says = std::make_shared<std::string>();
  camera->startRunning({.opened = [told](const CameraFormat&) { ++*told; },
                        .frame =
                            [told](const PixelBufferPtr&) {
                              ++*told;
                              return false;
                            },
                        .failed =
                            [told, says](const CameraError& error) {
                              *says = error.localizedDescription;
                              ++*told;
                            }});
  EXPECT_EQ(*told, 0) << "the screen does not wait for it";
  QElapsedTimer time;
  time.start();
  while (*told == 0 && time.elapsed() < 20'000) QCoreApplication::processEvents();
  EXPECT_GT(*told, 0);
  EXPECT_EQ(isLoaded("libQt6Multimedia"), VELTRANE_HAS_MULTIMEDIA);
  EXPECT_TRUE(says->empty() || says->back() == '.') << "a sentence for the person";
  camera->stopRunning();
  QCoreApplication::processEvents();
}

TEST(SystemCamera, thatIsStoppedWhileItLoadsSaysNothing) {
  const auto fails = [](const auto&...) -> bool {
    ADD_FAILURE() << "a call after the end";
    return false;
  };
  for (const bool goes : {false, true}) {
    auto camera = makeSystemCamera();
    camera->startRunning({.opened = fails, .frame = fails, .failed = fails});
    camera->stopRunning();
    if (goes) camera.reset();
    QCoreApplication::processEvents();
  }
}

}  // namespace
}  // namespace veltrane::qtquick::test
