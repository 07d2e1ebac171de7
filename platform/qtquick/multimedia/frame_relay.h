#pragma once

#include <QVideoFrame>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>

#include "platform/qtquick/multimedia/media_module.h"
#include "platform/qtquick/multimedia/video_frames.h"

namespace veltrane::qtquick::multimedia {

/// Hands a sink's frames on as ours. Frames that have to be decompressed are so on a thread of its
/// own, one at a time, and one may wait for it. Nothing of Qt's is held once `take` has returned: a
/// camera's memory goes with it. What comes sooner after another than a screen can show, or while
/// one waits to be decompressed, or after `stop`, is dropped before its pixels are touched.
class FrameRelay {
 public:
  using Time = std::chrono::steady_clock::time_point;
  /// Between two frames: fewer than the 16.7 ms of a camera with 60 a second, for they come
  /// unevenly.
  static constexpr std::chrono::milliseconds kLeastPause{12};

  FrameRelay(const Host& host, Camera::Events events, bool isFront,
             std::function<Time()> now = std::chrono::steady_clock::now);
  ~FrameRelay();
  FrameRelay(const FrameRelay&) = delete;
  FrameRelay& operator=(const FrameRelay&) = delete;

  /// Any thread, one at a time.
  void take(const QVideoFrame& frame);
  /// Whether a frame has come, with pixels that can be had or without. Any thread.
  bool hasSeenFrames() const;
  /// How many have been handed on with pixels. Any thread.
  std::uint64_t shownFrames() const;
  /// No frame is handed on from now on; waits for one that is, unless this is called from within.
  void stop();

 private:
  bool isWanted();
  bool isStopped() const;
  void decompress();
  void handOn(const PixelBufferPtr& buffer);

  const Host& host_;
  const Camera::Events events_;
  const bool isFront_;
  const std::function<Time()> now_;
  mutable std::mutex mutex_;
  std::condition_variable wake_;
  std::condition_variable returned_;
  std::unique_ptr<const CompressedFrame> waiting_;
  std::optional<Time> latest_;
  /// Whose call to `events_` runs.
  std::optional<std::thread::id> calling_;
  std::uint64_t shownFrames_ = 0;
  bool hasSeenFrames_ = false;
  bool isStopped_ = false;
  std::thread decompressing_;
};

}  // namespace veltrane::qtquick::multimedia
