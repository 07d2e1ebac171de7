#include "platform/qtquick/multimedia/media_camera.h"

#include <gtest/gtest.h>

#include <QBuffer>
#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QImage>
#include <QMediaPlayer>
#include <QTemporaryDir>
#include <QVideoSink>
#include <atomic>
#include <cstring>
#include <functional>
#include <future>
#include <mutex>
#include <thread>
#include <vector>

#include "platform/qtquick/multimedia/frame_relay.h"

namespace veltrane::qtquick::multimedia::test {
namespace {

constexpr Host kHost;

bool waitFor(const std::function<bool()>& condition) {
  QElapsedTimer time;
  time.start();
  while (!condition() && time.elapsed() < 20'000) {
    QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
  }
  return condition();
}

/// What a camera has told, from whatever thread.
struct Told {
  Camera::Events events() {
    return {.opened =
                [this](const CameraFormat& format) {
                  const std::lock_guard lock(mutex);
                  formats.push_back(format);
                },
            .frame =
                [this](PixelBufferPtr frame) {
                  const std::lock_guard lock(mutex);
                  frames.push_back(std::move(frame));
                  threads.push_back(std::this_thread::get_id());
                  return true;
                },
            .failed =
                [this](CameraError error) {
                  const std::lock_guard lock(mutex);
                  errors.push_back(std::move(error));
                }};
  }
  std::size_t frameCount() {
    const std::lock_guard lock(mutex);
    return frames.size();
  }
  bool hasEnded() {
    const std::lock_guard lock(mutex);
    return !errors.empty() || !frames.empty();
  }

  std::mutex mutex;
  std::vector<CameraFormat> formats;
  std::vector<PixelBufferPtr> frames;
  std::vector<std::thread::id> threads;
  std::vector<CameraError> errors;
};

/// A clock that has gone on by so many milliseconds whenever it is looked at.
std::function<FrameRelay::Time()> every(int milliseconds) {
  return [time = FrameRelay::Time(), milliseconds]() mutable {
    return time += std::chrono::milliseconds(milliseconds);
  };
}

QVideoFrame blackFrame(QSize size) {
  QVideoFrame frame(QVideoFrameFormat(size, QVideoFrameFormat::Format_NV12));
  EXPECT_TRUE(frame.map(QVideoFrame::WriteOnly));
  for (int plane = 0; plane < 2; ++plane) {
    std::memset(frame.bits(plane), 16, static_cast<std::size_t>(frame.mappedBytes(plane)));
  }
  frame.unmap();
  return frame;
}

TEST(FrameRelay, opensOnceAndHandsFramesOnWhereTheyCome) {
  Told told;
  FrameRelay relay(kHost, told.events(), true, every(16));
  EXPECT_EQ(relay.shownFrames(), 0u);
  relay.take(QVideoFrame());
  EXPECT_FALSE(relay.hasSeenFrames());
  relay.take(QVideoFrame(QVideoFrameFormat({32, 24}, QVideoFrameFormat::Format_Y16)));
  ASSERT_EQ(told.frames.size(), 1u);
  EXPECT_EQ(told.frames[0], nullptr) << "a frame whose pixels cannot be had";
  EXPECT_TRUE(told.formats.empty());
  EXPECT_TRUE(relay.hasSeenFrames());
  EXPECT_EQ(relay.shownFrames(), 0u);
  QVideoFrame frame = blackFrame({64, 48});
  frame.setRotationAngle(QVideoFrame::Rotation270);
  relay.take(frame);
  relay.take(frame);
  ASSERT_EQ(told.formats.size(), 1u);
  EXPECT_EQ(told.formats[0].resolution, (PixelSize{48, 64}));
  EXPECT_TRUE(told.formats[0].isFront);
  EXPECT_EQ(told.frames.size(), 3u);
  EXPECT_EQ(relay.shownFrames(), 2u);
  relay.stop();
  relay.take(frame);
  EXPECT_EQ(told.frames.size(), 3u);
}

int copies = 0;
PixelBuffer::Writable countedCopy(PixelFormat format, PixelSize size, std::size_t extra) {
  ++copies;
  return PixelBuffer::allocate(format, size, extra);
}

TEST(FrameRelay, leavesAloneWhatNobodyWouldSee) {
  static constexpr Host kCounting{.allocate = countedCopy};
  const QVideoFrame frame = blackFrame({64, 48});
  const std::pair<int, int> copiesOf24[] = {{4, 8}, {8, 12}, {16, 24}, {33, 24}};
  for (const auto& [pause, expected] : copiesOf24) {
    copies = 0;
    Told told;
    FrameRelay relay(kCounting, told.events(), true, every(pause));
    for (int i = 0; i < 24; ++i) relay.take(frame);
    EXPECT_EQ(copies, expected) << "a frame every " << pause << " ms";
    EXPECT_EQ(told.frames.size(), static_cast<std::size_t>(expected));
    relay.stop();
    for (int i = 0; i < 24; ++i) relay.take(frame);
    EXPECT_EQ(copies, expected) << "nor once it is stopped";
  }
}

TEST(FrameRelay, waitsForACallThatRunsWhenItIsStopped) {
  static constexpr Host kCounting{.allocate = countedCopy};
  const QVideoFrame frame = blackFrame({64, 48});
  std::promise<void> called;
  std::atomic<bool> hasReturned{false};
  FrameRelay* relay = nullptr;
  // Until it is stopped a relay copies whatever comes, though it hands nothing on within a call.
  const auto isStopped = [&] {
    const int before = copies;
    relay->take(frame);
    return copies == before;
  };
  FrameRelay made(kCounting,
                  {.opened = [](const CameraFormat&) {},
                   .frame =
                       [&](const PixelBufferPtr&) {
                         EXPECT_FALSE(isStopped());
                         called.set_value();
                         while (!isStopped()) std::this_thread::yield();
                         hasReturned = true;
                         return true;
                       },
                   .failed = {}},
                  true, every(16));
  relay = &made;
  std::thread camera([&] { relay->take(frame); });
  called.get_future().wait();
  relay->stop();
  EXPECT_TRUE(hasReturned);
  camera.join();
}

TEST(FrameRelay, mayBeStoppedWithinACall) {
  for (const bool withinOpened : {true, false}) {
    FrameRelay* stopped = nullptr;
    int frames = 0;
    FrameRelay relay(kHost,
                     {.opened =
                          [&](const CameraFormat&) {
                            if (withinOpened) stopped->stop();
                          },
                      .frame =
                          [&](const PixelBufferPtr&) {
                            ++frames;
                            stopped->stop();
                            return true;
                          },
                      .failed = {}},
                     true, every(20));
    stopped = &relay;
    for (int i = 0; i < 3; ++i) relay.take(blackFrame({64, 48}));
    EXPECT_EQ(frames, withinOpened ? 0 : 1);
  }
}

TEST(FrameRelay, decompressesElsewhereAndEndsInTheMiddle) {
  QImage image(640, 480, QImage::Format_RGB32);
  image.fill(Qt::darkGreen);
  QByteArray bytes;
  QBuffer buffer(&bytes);
  ASSERT_TRUE(image.save(&buffer, "JPG"));
  QVideoFrame frame(QVideoFrameFormat({640, 480}, QVideoFrameFormat::Format_Jpeg));
  ASSERT_TRUE(frame.map(QVideoFrame::WriteOnly));
  ASSERT_GE(frame.mappedBytes(0), bytes.size());
  std::memcpy(frame.bits(0), bytes.constData(), static_cast<std::size_t>(bytes.size()));
  frame.unmap();
  Told told;
  {
    FrameRelay relay(kHost, told.events(), false, every(16));
    for (int i = 0; i < 50; ++i) relay.take(frame);
    EXPECT_TRUE(waitFor([&] { return told.frameCount() > 0; }));
    for (int i = 0; i < 50; ++i) relay.take(frame);
  }
  EXPECT_EQ(told.formats.size(), 1u);
  EXPECT_FALSE(told.formats.at(0).isFront);
  for (const auto& thread : told.threads) EXPECT_NE(thread, std::this_thread::get_id());
}

struct Film {
  const char* chroma;
  /// Of each of the two planes of colour differences.
  PixelSize differences;
};

/// As simple as can be: luma 50, blue difference 90, red difference 180.
QString fileOf(const Film& film, const QTemporaryDir& folder) {
  const QString path = folder.filePath(QLatin1String(film.chroma) + ".y4m");
  QFile file(path);
  EXPECT_TRUE(file.open(QIODevice::WriteOnly));
  file.write("YUV4MPEG2 W64 H48 F10:1 Ip A1:1 C" + QByteArray(film.chroma) + "\n");
  for (int i = 0; i < 20; ++i) {
    const int count = film.differences.width * film.differences.height;
    file.write("FRAME\n");
    file.write(QByteArray(64 * 48, static_cast<char>(50)));
    file.write(QByteArray(count, static_cast<char>(90)));
    file.write(QByteArray(count, static_cast<char>(180)));
  }
  return path;
}

TEST(FrameRelay, takesWhatQtPlays) {
  const QTemporaryDir folder;
  for (const Film& film : {Film{"420jpeg", {32, 24}}, Film{"422", {32, 48}}}) {
    SCOPED_TRACE(film.chroma);
    Told told;
    FrameRelay relay(kHost, told.events(), true);
    QMediaPlayer player;
    QVideoSink sink;
    QObject::connect(
        &sink, &QVideoSink::videoFrameChanged, &sink,
        [&](const QVideoFrame& frame) { relay.take(frame); }, Qt::DirectConnection);
    player.setVideoSink(&sink);
    player.setSource(QUrl::fromLocalFile(fileOf(film, folder)));
    player.play();
    ASSERT_TRUE(waitFor([&] { return told.frameCount() >= 2; }));
    player.stop();
    relay.stop();
    ASSERT_EQ(told.formats.size(), 1u);
    EXPECT_EQ(told.formats[0].resolution, (PixelSize{64, 48}));
    const PixelBufferPtr frame = told.frames[0];
    ASSERT_NE(frame, nullptr);
    ASSERT_TRUE(frame->isSound());
    const bool isInterleaved = frame->format == PixelFormat::yuy2;
    EXPECT_EQ(isInterleaved, film.differences.height == 48);
    EXPECT_EQ(frame->planes[0].data[10], 50);
    EXPECT_EQ(isInterleaved ? frame->planes[0].data[9] : frame->planes[1].data[5], 90);
    EXPECT_EQ(isInterleaved ? frame->planes[0].data[11] : frame->planes[2].data[5], 180);
  }
}

TEST(MediaCamera, saysWhyThereIsNoPictureOrShowsOne) {
  Told told;
  const auto camera = makeCamera(kHost);
  camera->stopRunning();
  camera->startRunning(told.events());
  EXPECT_TRUE(waitFor([&] { return told.hasEnded(); }));
  camera->stopRunning();
  camera->stopRunning();
  QCoreApplication::processEvents();
  QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
  EXPECT_LE(told.errors.size(), 1u);
  for (const auto& error : told.errors) EXPECT_FALSE(error.localizedDescription.empty());
}

}  // namespace
}  // namespace veltrane::qtquick::multimedia::test
