#include "platform/qtquick/live_picture.h"

#include <QImage>
#include <QPainter>
#include <QQuickWindow>
#include <QSGImageNode>
#include <QSGRenderNode>
#include <QSGRendererInterface>
#include <memory>
#include <utility>

#include "veltrane/face/face_image_capture_vc.h"

namespace veltrane::qtquick {
namespace {

/// The picture's own pixels, which are wiped when the last image of them goes.
QImage wrapped(const PicturePtr& picture) {
  const auto [width, height] = picture->size;
  auto keep = std::make_unique<PicturePtr>(picture);
  return QImage(
      picture->pixels.data(), width, height,
      static_cast<qsizetype>(width) * static_cast<qsizetype>(Picture::kBytesAPixel),
      QImage::Format_RGBX8888, [](void* kept) { delete static_cast<PicturePtr*>(kept); },
      keep.release());
}

bool isSoftware(const QQuickWindow& window) {
  return window.rendererInterface()->graphicsApi() == QSGRendererInterface::Software;
}

/// Without a graphics card: painted from the picture's pixels, of which a texture would keep a copy
/// that nobody wipes.
class PaintedPicture final : public QSGRenderNode {
 public:
  explicit PaintedPicture(QQuickWindow* window) : window_(window) {}

  void show(const FrameView& view, QSizeF size) {
    image_ = wrapped(view.picture);
    target_ = view.target;
    size_ = size;
    markDirty(QSGNode::DirtyMaterial);
  }

  void render(const RenderState* state) override {
    auto* painter = static_cast<QPainter*>(
        window_->rendererInterface()->getResource(window_, QSGRendererInterface::PainterResource));
    if (!painter) return;
    const QRegion* const clip = state->clipRegion();
    if (clip && !clip->isEmpty()) painter->setClipRegion(*clip, Qt::ReplaceClip);
    painter->setTransform(matrix()->toTransform());
    painter->setClipRect(rect(), Qt::IntersectClip);
    painter->setOpacity(inheritedOpacity());
    painter->setRenderHint(QPainter::SmoothPixmapTransform);
    painter->drawImage(target_, image_);
  }
  StateFlags changedStates() const override { return {}; }
  RenderingFlags flags() const override { return BoundedRectRendering; }
  QRectF rect() const override { return {QPointF(0, 0), size_}; }

 private:
  QQuickWindow* const window_;
  QImage image_;
  QRectF target_;
  QSizeF size_;
};

void show(QSGImageNode& node, const FrameView& view, QQuickWindow& window) {
  const QImage image = wrapped(view.picture);
  node.setTexture(window.createTextureFromImage(image, QQuickWindow::TextureIsOpaque));
  node.setFiltering(QSGTexture::Linear);
  node.setRect(view.target);
  node.setSourceRect(QRectF(QPointF(0, 0), image.size()));
}

}  // namespace

LivePicture::LivePicture(QQuickItem* parent) : QQuickItem(parent) {
  setFlag(ItemHasContents);
}

void LivePicture::setCapture(FaceCaptureItem* capture) {
  if (capture == capture_) return;
  if (capture_) disconnect(capture_, nullptr, this, nullptr);
  capture_ = capture;
  if (capture_) connect(capture_, &FaceCaptureItem::framePassed, this, &LivePicture::redraw);
  redraw();
  emit captureChanged();
}

void LivePicture::redraw() {
  stale_ = true;
  update();
}

void LivePicture::geometryChange(const QRectF& now, const QRectF& before) {
  QQuickItem::geometryChange(now, before);
  if (now.size() != before.size()) redraw();
}

void LivePicture::itemChange(ItemChange change, const ItemChangeData& data) {
  QQuickItem::itemChange(change, data);
  if (change == ItemSceneChange || change == ItemDevicePixelRatioHasChanged) redraw();
}

FrameView LivePicture::frameView() const {
  const auto frame = capture_ ? capture_->capture().imagePixelBuffer : nullptr;
  if (!frame) return {};
  return frameViewOf(*frame, {.view = size(),
                              .density = window()->effectiveDevicePixelRatio(),
                              .isMirrored = capture_->capture().isMirrored,
                              .enlarges = isSoftware(*window())});
}

QSGNode* LivePicture::updatePaintNode(QSGNode* old, UpdatePaintNodeData* /*data*/) {
  if (!std::exchange(stale_, false)) return old;
  const FrameView view = frameView();
  if (!view.picture) {
    delete old;
    return nullptr;
  }
  if (isSoftware(*window())) {
    auto* node = static_cast<PaintedPicture*>(old);
    if (!node) node = new PaintedPicture(window());
    node->show(view, size());
    return node;
  }
  auto* node = static_cast<QSGImageNode*>(old);
  if (!node) {
    node = window()->createImageNode();
    node->setOwnsTexture(true);
  }
  show(*node, view, *window());
  return node;
}

}  // namespace veltrane::qtquick
