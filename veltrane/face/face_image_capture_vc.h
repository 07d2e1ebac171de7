#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "veltrane/face/camera.h"
#include "veltrane/face/face_drawing.h"
#include "veltrane/face/face_geometry.h"
#include "veltrane/face/face_hint.h"
#include "veltrane/face/face_image_capture.h"
#include "veltrane/face/pixel_buffer.h"
#include "veltrane/toolkit/view_controller.h"

namespace veltrane {

struct FacesInFrame;
struct FaceStill;

/// Takes one picture of the person's face: as soon as a face that is followed lies wholly inside
/// the oval, the camera stops and the frame that showed it there becomes the picture. Whatever
/// happens then, the delegate hears once at most, after the screen has left: a picture, or an error
/// when there is none or the person cancels. A flow that ends under the screen leaves it unheard.
///
/// Main thread. Frames and vision have a thread of their own, which ends with the screen.
class FaceImageCaptureVC final : public ViewController, public FaceImageCaptureScreen {
 public:
  FaceImageCaptureVC();
  ~FaceImageCaptureVC() override;
  std::string_view className() const override { return "FaceImageCaptureVC"; }

  void viewDidLoad() override;
  void didLeaveStack() override;

  /// For the front end: the view has this size now. Without it no face lies in the oval.
  void viewDidLayoutSubviews(Size bounds);

  void cancelButtonPressed();

  /// For the front end: nobody sees the screen any more. The camera is given back and no picture is
  /// taken until the screen is seen again; then another camera is opened. More than once, either.
  void applicationDidEnterBackground();
  void applicationWillEnterForeground();

  /// A picture may still come: the camera runs or will again, or has run and the picture is being
  /// made.
  bool isCapturing() const {
    return session_ != nullptr || isInBackground_ || stage_ == Stage::taking;
  }

  /// Of the upright picture, in pixels; nothing until the camera is open.
  PixelSize captureDeviceResolution;
  /// The live picture is to be shown as in a mirror.
  bool isMirrored = true;
  /// The latest frame, shown so that it fills the view (`detectionOverlayLayer` says how); null
  /// while there is none. Once a face is accepted it is the one that becomes the picture.
  PixelBufferPtr imagePixelBuffer;
  /// There is another `imagePixelBuffer`. Not a case of `changed`.
  Signal<> framePassed;

  Size bounds;
  std::optional<Rect> ovalRect;
  OvalImage imgView;
  OvalDimming dimming;
  DetectionOverlay detectionOverlayLayer;
  FaceShapeLayer detectedFaceRectangleShapeLayer{.strokeColor = face::kOutlineGreen,
                                                 .lineWidth = 5};
  FaceShapeLayer detectedFaceLandmarksShapeLayer{.strokeColor = face::kLandmarkYellow,
                                                 .lineWidth = 3};
  /// A face has been accepted.
  bool faceDetected = false;
  /// What the person may do to come into the oval; steady enough to be read and spoken.
  FaceHint hint = FaceHint::none;
  /// From 0 to 1: how near the face that lies best is to lying in the oval; nothing without a face.
  std::optional<double> nearness;

  /// Base64 text of the PNG, once there is one and until the screen has left. The caller's own: a
  /// text that nobody asks for is not made, and need not be wiped.
  std::optional<std::string> base64Png() const;

 private:
  enum class Stage : std::uint8_t { looking, taking, over };
  struct Live;

  bool setupAVCaptureSession();
  void teardownAVCapture();
  void presentError(CameraError error);
  void cameraOpened(const CameraFormat& format);
  void cameraFailed(const CameraError& error);
  void framesArrived();
  void setResolution(PixelSize resolution);
  void updateLayerGeometry();
  void drawFaceObservations(const FacesInFrame& seen, const FrameLight& light);
  void drawOutlines(const std::vector<FaceObservation>& faces);
  void drawHint(const FacesInFrame& frame, const FrameLight& light);
  void clearDrawings();
  void setOval(const Color& color);
  Rect viewRect(const Rect& boundingBox) const;
  bool isInOval(const FaceObservation& observation) const;
  void accept(const PixelBufferPtr& frame);
  void stillTaken(std::shared_ptr<const FaceStill> still);
  void leave(std::optional<VeltraneFlowError> error);
  std::weak_ptr<FaceImageCaptureVC> self();

  Stage stage_ = Stage::looking;
  bool isInBackground_ = false;
  SteadyHint steadyHint_;
  std::shared_ptr<Camera> session_;
  std::shared_ptr<Live> live_;
  std::shared_ptr<const FaceStill> still_;
};

}  // namespace veltrane
