#pragma once

#include <QRectF>
#include <memory>

#include "platform/qtquick/capture_sounds.h"
#include "platform/qtquick/screen_items.h"
#include "veltrane/face/face_hint.h"

namespace veltrane {
class FaceImageCaptureVC;
}

namespace veltrane::qtquick {

/// The screen that takes a picture of the person's face.
class FaceCaptureItem : public veltrane::qtquick::ScreenItem {
  Q_OBJECT
  QML_NAMED_ELEMENT(FaceCaptureItem)
  QML_UNCREATABLE("Views come from the stage")
  /// The frame of the oval, in points of the view; empty before there is a layout.
  Q_PROPERTY(QRectF oval READ oval NOTIFY changed)
  Q_PROPERTY(QColor ovalColor READ ovalColor NOTIFY changed)
  Q_PROPERTY(Hint hint READ hint NOTIFY changed)
  /// The camera has shown something.
  Q_PROPERTY(bool picturing READ isPicturing NOTIFY framePassed)
  /// A face has been accepted.
  Q_PROPERTY(bool accepted READ isAccepted NOTIFY changed)
  /// A picture may still come.
  Q_PROPERTY(bool capturing READ isCapturing NOTIFY changed)
  /// The system shows other programs in place of this one.
  Q_PROPERTY(bool inBackground READ isInBackground NOTIFY inBackgroundChanged)

 public:
  /// In the order of `FaceHint`.
  enum class Hint {
    None,
    NoFace,
    SeveralFaces,
    ComeCloser,
    MoveBack,
    MoveLeft,
    MoveRight,
    MoveUp,
    MoveDown,
    TooDark,
    Blurred,
  };
  Q_ENUM(Hint)

  FaceCaptureItem(std::shared_ptr<ViewController> controller, FlowStage& stage);
  ~FaceCaptureItem() override;

  const FaceImageCaptureVC& capture() const { return *capture_; }
  QRectF oval() const;
  QColor ovalColor() const;
  Hint hint() const;
  bool isPicturing() const;
  bool isAccepted() const;
  bool isCapturing() const;
  static bool isInBackground();

  /// The view has this size now.
  Q_INVOKABLE void layOut(double width, double height);
  /// Somebody may see the view, or nobody does.
  Q_INVOKABLE void setSeen(bool seen);
  Q_INVOKABLE void cancel() override;

 signals:
  /// There is another frame to show, or none any more.
  void framePassed();
  void inBackgroundChanged();

 private:
  void sound();

  const std::shared_ptr<FaceImageCaptureVC> capture_;
  MakeCaptureSounds makeSounds_;
  std::shared_ptr<CaptureSounds> sounds_;
  bool wasAccepted_ = false;
  Subscription frames_;
};

}  // namespace veltrane::qtquick
