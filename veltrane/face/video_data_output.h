#pragma once

#include <functional>
#include <memory>

#include "veltrane/face/pixel_buffer.h"

namespace veltrane {

/// Where a camera's frames come out: a thread of its own that is handed one frame at a time. A
/// frame that comes while an earlier one is under way is late and dropped; nothing is ever queued,
/// however fast the camera and however slow what is done with its frames.
class VideoDataOutput {
 public:
  /// The frame counts as under way until the last handle of this is gone, which may be on another
  /// thread, long after the call.
  using UnderWay = std::shared_ptr<const void>;
  /// On the output's thread. The frame is null when the camera could not get its pixels.
  using CaptureOutput = std::function<void(const PixelBufferPtr& frame, UnderWay underWay)>;

  explicit VideoDataOutput(CaptureOutput captureOutput);
  ~VideoDataOutput();
  VideoDataOutput(const VideoDataOutput&) = delete;
  VideoDataOutput& operator=(const VideoDataOutput&) = delete;

  /// Any thread; returns at once. False when the frame is dropped.
  bool offer(PixelBufferPtr frame);

  /// Ends it for good. When this returns no call runs and none follows. Any thread but the output's
  /// own; more than once.
  void stop();

 private:
  struct State;
  const std::unique_ptr<State> state_;
};

}  // namespace veltrane
