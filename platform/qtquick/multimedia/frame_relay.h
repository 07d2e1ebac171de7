#pragma once

#include <QVideoFrame>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <thread>

#include "platform/qtquick/multimedia/media_module.h"
#include "platform/qtquick/multimedia/video_frames.h"

namespace veltrane::qtquick::multimedia {

/// Hands a sink's frames on as ours. Frames that have to be decompressed are so on a thread of its
/// own, one at a time; those that come meanwhile replace the one that waits. Nothing of Qt's is
/// held once `take` has returned: a camera's memory goes with it.
class FrameRelay {
 public:
  FrameRelay(const Host& host, Camera::Events events, bool isFront);
  ~FrameRelay();
  FrameRelay(const FrameRelay&) = delete;
  FrameRelay& operator=(const FrameRelay&) = delete;

  /// Any thread, one at a time.
  void take(const QVideoFrame& frame);
  /// Whether a frame has come, with pixels that can be had or without. Any thread.
  bool hasSeenFrames() const;
  /// Whether one has come with pixels. Any thread.
  bool hasShownFrames() const;
  /// No frame is handed on from now on. Does not wait for one that is being handed on.
  void stop();

 private:
  void decompress();
  void handOn(const PixelBufferPtr& buffer);

  const Host& host_;
  const Camera::Events events_;
  const bool isFront_;
  mutable std::mutex mutex_;
  std::condition_variable wake_;
  std::unique_ptr<const CompressedFrame> waiting_;
  bool hasSeenFrames_ = false;
  bool isOpen_ = false;
  bool isStopped_ = false;
  std::thread decompressing_;
};

}  // namespace veltrane::qtquick::multimedia
