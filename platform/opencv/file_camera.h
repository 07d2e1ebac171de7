#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "veltrane/face/camera.h"

namespace veltrane::opencv {

/// Lets no file claim more pixels than a `Picture` may have, where OpenCV alone would take memory
/// for 2^30, and what reads videos print nothing about damaged ones. For programs that read others'
/// files: at the start, before there are threads, for it changes the environment, which OpenCV
/// reads once. What the environment says of either stays.
void restrainFileReaders();

struct FileCameraOptions {
  /// A picture, a folder of pictures in the order of their names' bytes (hidden files left out), or
  /// a video file.
  std::filesystem::path path;
  /// Of pictures, a video has its own; absent, or not above zero: as fast as they are looked at.
  std::optional<double> framesPerSecond;
  /// From the camera's thread, once: the last frame has been looked at often enough that nothing
  /// new can come of it.
  std::function<void()> ended;
};

/// A file as a front camera. Every frame is offered until it has been looked at
/// (`Camera::Events::frame` was true), so none is lost on a slow machine; the last one is offered
/// again and again, as a camera shows a scene that stands still. A picture that cannot be read is a
/// frame without pixels. Frames are RGB and upright. The thread is the camera's own, and OpenCV
/// loads there; it ends with `stopRunning`, or with the camera, which may be within any callback.
/// Neither waits for OpenCV to load: a thread that does just that is let go of, calls nothing any
/// more, and ends by itself (`waitForFileCameras`).
///
/// A picture file of a size that a `Picture` may not have is a frame without pixels, yet OpenCV
/// decodes it first, up to 2^30 pixels: `restrainFileReaders` is what keeps it from that, as OpenCV
/// tells no size before, and no limit may be set once there are threads.
std::shared_ptr<Camera> makeFileCamera(FileCameraOptions options);

/// Returns once no thread is left of all that were let go of. For the end of `main`, when no camera
/// runs. Who does not call this waits all the same, but among the destructors of static objects:
/// what OpenCV sets up meanwhile may then be used after its own destructor has run.
void waitForFileCameras();

/// Why this path cannot serve as a camera, for people: missing, an empty folder, not readable as
/// picture or video, no OpenCV to read it with. Nothing when it can.
std::optional<std::string> fileCameraProblem(const std::filesystem::path& path);

}  // namespace veltrane::opencv
