#include "veltrane/face/face_image_capture_vc.h"

#include <algorithm>
#include <mutex>
#include <string>
#include <utility>

#include "veltrane/base/base64.h"
#include "veltrane/base/console.h"
#include "veltrane/base/wipe.h"
#include "veltrane/face/face_still.h"
#include "veltrane/face/face_tracking.h"
#include "veltrane/face/video_data_output.h"
#include "veltrane/platform.h"
#include "veltrane/toolkit/alert_controller.h"
#include "veltrane/toolkit/main_queue.h"
#include "veltrane/toolkit/picture_codec.h"
#include "veltrane/toolkit/work_queue.h"

namespace veltrane {
namespace {

constexpr const char* kNoCamera = "The camera is not available.";
constexpr const char* kNoVision = "Faces cannot be found on this device.";
constexpr const char* kNoPicture = "The picture of the face could not be made.";

std::shared_ptr<AlertController> errorAlert(const CameraError& error) {
  auto alert = std::make_shared<AlertController>("Failed with error " + std::to_string(error.code),
                                                 error.localizedDescription, AlertStyle::alert);
  alert->addAction({.title = "OK", .style = AlertActionStyle::cancel, .handler = {}});
  return alert;
}

}  // namespace

/// The way of frames: from the camera's thread to the output's, and what they show to the main one.
/// The screen is looked at on the main thread alone; here its name travels.
struct FaceImageCaptureVC::Live : std::enable_shared_from_this<Live> {
  Live(std::weak_ptr<FaceImageCaptureVC> shownOn, std::shared_ptr<FaceVision> vision)
      : screen(std::move(shownOn)),
        main(Platform::current().mainQueue),
        tracking(std::move(vision)),
        output([this](const PixelBufferPtr& frame, VideoDataOutput::UnderWay underWay) {
          captureOutput(frame, std::move(underWay));
        }) {}

  Camera::Events events() {
    const auto weak = weak_from_this();
    return {.opened =
                [weak](const CameraFormat& format) {
                  if (const auto live = weak.lock()) {
                    live->onMain([format](auto& screen) { screen.cameraOpened(format); });
                  }
                },
            .frame =
                [weak](PixelBufferPtr frame) {
                  const auto live = weak.lock();
                  return live && live->take(std::move(frame));
                },
            .failed =
                [weak](CameraError error) {
                  if (const auto live = weak.lock()) {
                    live->onMain([error = std::move(error)](auto& s) { s.cameraFailed(error); });
                  }
                }};
  }

  /// Only for as long as the screen has no other camera, or none.
  template <typename Work>
  void onMain(Work work) {
    main->async([weak = screen, live = weak_from_this(), work = std::move(work)] {
      const auto alive = weak.lock();
      if (alive && alive->live_ && alive->live_ == live.lock()) work(*alive);
    });
  }

  /// Any thread. Frames are shown whether or not they are looked at, the latest of those that the
  /// main thread has had no time for.
  bool take(PixelBufferPtr frame) {
    if (frame && !frame->isSound()) frame = nullptr;
    if (frame) show(frame);
    return output.offer(std::move(frame));
  }

  void show(const PixelBufferPtr& frame) {
    {
      const std::lock_guard lock(mutex);
      if (isStopped) return;
      latest = frame;
      if (std::exchange(isTold, true)) return;
    }
    onMain([](auto& s) { s.framesArrived(); });
  }

  PixelBufferPtr takeLatest() {
    const std::lock_guard lock(mutex);
    isTold = false;
    return std::exchange(latest, nullptr);
  }

  /// On the output's thread. A frame is under way until it has been drawn, so a picture is always
  /// of the very frame that it was decided on.
  void captureOutput(const PixelBufferPtr& frame, VideoDataOutput::UnderWay underWay) {
    auto seen = tracking.captureOutput(frame);
    if (!seen) {
      if (tracking.isOver())
        onMain([](auto& s) { s.cameraFailed({CameraError::noVision, kNoVision}); });
      return;
    }
    const auto light = face::lightOf(*frame, seen->faces);
    onMain([seen = std::move(*seen), light, underWay = std::move(underWay)](auto& s) {
      s.drawFaceObservations(seen, light);
    });
  }

  void stop() {
    PixelBufferPtr dropped;
    {
      const std::lock_guard lock(mutex);
      isStopped = true;
      dropped = std::exchange(latest, nullptr);
    }
    output.stop();
  }

  const std::weak_ptr<FaceImageCaptureVC> screen;
  const std::shared_ptr<MainQueue> main;
  FaceTracking tracking;
  std::mutex mutex;
  PixelBufferPtr latest;
  bool isTold = false;
  bool isStopped = false;
  VideoDataOutput output;
};

FaceImageCaptureVC::FaceImageCaptureVC() = default;

FaceImageCaptureVC::~FaceImageCaptureVC() {
  teardownAVCapture();
}

void FaceImageCaptureVC::viewDidLoad() {
  const bool isReady = setupAVCaptureSession();
  setOval(face::kLightGrey);
  if (isReady) session_->startRunning(live_->events());
}

void FaceImageCaptureVC::applicationDidEnterBackground() {
  if (stage_ != Stage::looking || !live_) return;
  isInBackground_ = true;
  teardownAVCapture();
  clearDrawings();
  setOval(face::kLightGrey);
}

void FaceImageCaptureVC::applicationWillEnterForeground() {
  if (!std::exchange(isInBackground_, false) || stage_ != Stage::looking) return;
  if (setupAVCaptureSession()) session_->startRunning(live_->events());
}

bool FaceImageCaptureVC::setupAVCaptureSession() {
  const auto& platform = Platform::current();
  session_ = platform.makeCamera ? platform.makeCamera() : nullptr;
  if (!session_) {
    presentError({CameraError::noCamera, kNoCamera});
    return false;
  }
  auto vision = platform.makeFaceVision ? platform.makeFaceVision() : nullptr;
  if (!vision) {
    presentError({CameraError::noVision, kNoVision});
    teardownAVCapture();
    return false;
  }
  live_ = std::make_shared<Live>(self(), std::move(vision));
  return true;
}

void FaceImageCaptureVC::didLeaveStack() {
  stage_ = Stage::over;
  isInBackground_ = false;
  teardownAVCapture();
  imagePixelBuffer.reset();
  still_.reset();
}

void FaceImageCaptureVC::teardownAVCapture() {
  if (session_) session_->stopRunning();
  if (live_) live_->stop();
  session_.reset();
  live_.reset();
}

void FaceImageCaptureVC::viewDidLayoutSubviews(Size size) {
  bounds = size;
  const bool hasExtent = bounds.width > 0 && bounds.height > 0;
  ovalRect = hasExtent ? std::optional(face::ovalRectIn(bounds)) : std::nullopt;
  imgView.path = ovalRect.value_or(Rect{}).inset(face::kOvalInset);
  updateLayerGeometry();
  changed();
}

void FaceImageCaptureVC::updateLayerGeometry() {
  detectionOverlayLayer = {
      .bounds = captureDeviceResolution,
      .affineTransform = face::overlayTransform(captureDeviceResolution, bounds, isMirrored)};
}

void FaceImageCaptureVC::setResolution(PixelSize resolution) {
  if (captureDeviceResolution == resolution) return;
  captureDeviceResolution = resolution;
  updateLayerGeometry();
}

void FaceImageCaptureVC::setOval(const Color& color) {
  if (imgView.strokeColor == color) return;
  imgView.strokeColor = color;
  changed();
}

void FaceImageCaptureVC::presentError(CameraError error) {
  // Later, as this screen may be about to be presented itself.
  MainQueue::current().async([weak = self(), error = std::move(error)] {
    const auto screen = weak.lock();
    if (screen && screen->stage_ == Stage::looking) screen->present(errorAlert(error), true);
  });
}

void FaceImageCaptureVC::cameraOpened(const CameraFormat& format) {
  if (stage_ != Stage::looking) return;
  isMirrored = format.isFront;
  captureDeviceResolution = format.resolution;
  updateLayerGeometry();
  changed();
}

void FaceImageCaptureVC::cameraFailed(const CameraError& error) {
  if (stage_ != Stage::looking || !live_) return;
  teardownAVCapture();
  clearDrawings();
  presentError(error);
}

/// No picture, and nothing that was seen in one.
void FaceImageCaptureVC::clearDrawings() {
  imagePixelBuffer.reset();
  drawOutlines({});
  steadyHint_.reset();
  hint = FaceHint::none;
  nearness.reset();
  changed();
  framePassed();
}

void FaceImageCaptureVC::framesArrived() {
  if (!live_) return;
  const auto frame = live_->takeLatest();
  if (!frame) return;
  imagePixelBuffer = frame;
  if (captureDeviceResolution != frame->uprightSize()) {
    setResolution(frame->uprightSize());
    changed();
  }
  framePassed();
}

void FaceImageCaptureVC::drawFaceObservations(const FacesInFrame& seen, const FrameLight& light) {
  if (!live_) return;
  setResolution(seen.frame->uprightSize());
  drawOutlines(seen.faces);
  drawHint(seen, light);
  changed();
  if (!seen.areTracked) return;
  for (const auto& observation : seen.faces) {
    if (!live_) return;
    if (isInOval(observation)) {
      console::print("face detected");
      return accept(seen.frame);
    }
    setOval(face::kLightGrey);
    console::print("face not detected");
  }
}

void FaceImageCaptureVC::drawOutlines(const std::vector<FaceObservation>& faces) {
  detectedFaceRectangleShapeLayer.path = face::outlines(faces, captureDeviceResolution);
  detectedFaceLandmarksShapeLayer.path = face::landmarkLines(faces, captureDeviceResolution);
}

void FaceImageCaptureVC::drawHint(const FacesInFrame& frame, const FrameLight& light) {
  if (!ovalRect) return;
  std::vector<Rect> seen;
  seen.reserve(frame.faces.size() + frame.others.size());
  for (const auto& observation : frame.faces) seen.push_back(viewRect(observation.boundingBox));
  nearness = face::nearness(seen, *ovalRect);
  for (const auto& box : frame.others) seen.push_back(viewRect(box));
  hint = steadyHint_.next(face::hintFor(seen, *ovalRect, light, isMirrored));
}

Rect FaceImageCaptureVC::viewRect(const Rect& boundingBox) const {
  return detectionOverlayLayer.affineTransform.apply(
      face::captureRect(boundingBox, captureDeviceResolution));
}

bool FaceImageCaptureVC::isInOval(const FaceObservation& observation) const {
  return ovalRect && ovalRect->contains(viewRect(observation.boundingBox));
}

void FaceImageCaptureVC::accept(const PixelBufferPtr& frame) {
  stage_ = Stage::taking;
  faceDetected = true;
  hint = FaceHint::none;
  setOval(face::kGreen);
  teardownAVCapture();
  imagePixelBuffer = frame;
  framePassed();
  const auto& platform = Platform::current();
  if (!platform.pictureCodec) return stillTaken(nullptr);
  platform.pictureQueue->async(
      [frame, codec = platform.pictureCodec, main = platform.mainQueue, weak = self()] {
        main->async([weak, still = face::takeStill(*frame, *codec)] {
          if (const auto screen = weak.lock()) screen->stillTaken(still);
        });
      });
}

void FaceImageCaptureVC::stillTaken(std::shared_ptr<const FaceStill> still) {
  if (stage_ != Stage::taking) return;
  if (!still) return leave(VeltraneFlowError{.reason = reason::ImageFromData{kNoPicture}});
  still_ = std::move(still);
  leave(std::nullopt);
}

void FaceImageCaptureVC::cancelButtonPressed() {
  if (stage_ != Stage::over) leave(VeltraneFlowError::userCancelled());
}

void FaceImageCaptureVC::leave(std::optional<VeltraneFlowError> error) {
  stage_ = Stage::over;
  teardownAVCapture();
  dismiss(true, [listener = delegate, error = std::move(error), still = still_] {
    const auto hears = listener.lock();
    if (!hears) return;
    if (error) return hears->faceImageCaptureResult(std::nullopt, error);
    std::optional<std::string> png = still->png;
    hears->faceImageCaptureResult(png, std::nullopt);
    wipe(png->data(), png->size());
  });
}

std::optional<std::string> FaceImageCaptureVC::base64Png() const {
  if (!still_) return std::nullopt;
  const auto* bytes = reinterpret_cast<const std::uint8_t*>(still_->png.data());
  return base64Encoded({bytes, still_->png.size()});
}

std::weak_ptr<FaceImageCaptureVC> FaceImageCaptureVC::self() {
  return std::static_pointer_cast<FaceImageCaptureVC>(shared_from_this());
}

}  // namespace veltrane
