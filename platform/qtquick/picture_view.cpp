#include "platform/qtquick/picture_view.h"

#include <QImage>
#include <QPainter>
#include <QPainterPath>
#include <QQuickWindow>
#include <QSGImageNode>
#include <QSGRendererInterface>
#include <memory>

namespace veltrane::qtquick {
namespace {

/// The picture's own pixels, which live for as long as the image.
QImage wrapped(const PicturePtr& picture) {
  const auto [width, height] = picture->size;
  const auto format =
      picture->isOpaque ? QImage::Format_RGBX8888 : QImage::Format_RGBA8888_Premultiplied;
  auto keep = std::make_unique<PicturePtr>(picture);
  return QImage(
      picture->pixels.data(), width, height,
      static_cast<qsizetype>(width) * static_cast<qsizetype>(Picture::kBytesAPixel), format,
      [](void* kept) { delete static_cast<PicturePtr*>(kept); }, keep.release());
}

QImage rounded(const QImage& image, double radius) {
  QImage result(image.size(), QImage::Format_RGBA8888_Premultiplied);
  result.fill(Qt::transparent);
  QPainter painter(&result);
  painter.setRenderHint(QPainter::Antialiasing);
  painter.setPen(Qt::NoPen);
  painter.setBrush(QBrush(image));
  painter.drawRoundedRect(result.rect(), radius, radius);
  return result;
}

bool isSoftware(const QQuickWindow& window) {
  return window.rendererInterface()->graphicsApi() == QSGRendererInterface::Software;
}

}  // namespace

PictureView::PictureView(QQuickItem* parent) : QQuickItem(parent) {
  setFlag(ItemHasContents);
}

void PictureView::setPicture(const PictureValue& picture) {
  if (picture == picture_) return;
  picture_ = picture;
  stale_ = true;
  place();
  emit pictureChanged();
}

void PictureView::setRadius(double radius) {
  if (radius == radius_) return;
  radius_ = radius;
  stale_ = true;
  update();
  emit radiusChanged();
}

void PictureView::geometryChange(const QRectF& now, const QRectF& before) {
  QQuickItem::geometryChange(now, before);
  if (now.size() != before.size()) place();
}

void PictureView::itemChange(ItemChange change, const ItemChangeData& data) {
  QQuickItem::itemChange(change, data);
  if (change == ItemSceneChange || change == ItemDevicePixelRatioHasChanged) place();
}

double PictureView::density() const {
  return window() ? window()->effectiveDevicePixelRatio() : 1;
}

void PictureView::place() {
  const QRectF before = placement_.target;
  placement_ = placementOf(picture_.view, size(), density());
  update();
  if (placement_.target != before) emit drawnChanged();
}

// Round corners are cut out of the pixels. A renderer without a graphics card would scale the
// picture anew in every frame, draw no steps in between, and share that work with threads that it
// waits for.
bool PictureView::needsOwnPixels() const {
  if (radius_ > 0) return true;
  if (!isSoftware(*window())) return false;
  const auto [width, height] = picture_.view.image->size;
  const QSize whole(width, height);
  return placement_.source.size() != QSizeF(whole) || placement_.onScreen(density()) != whole;
}

QSGNode* PictureView::updatePaintNode(QSGNode* old, UpdatePaintNodeData* /*data*/) {
  if (placement_.target.isEmpty()) {
    delete old;
    return nullptr;
  }
  const QSize wanted = needsOwnPixels() ? placement_.onScreen(density()) : QSize();
  auto* node = static_cast<QSGImageNode*>(old);
  if (!node) {
    node = window()->createImageNode();
    node->setOwnsTexture(true);
    stale_ = true;
  }
  if (stale_ || wanted != made_) fill(*node);
  made_ = wanted;
  stale_ = false;
  node->setRect(placement_.target);
  if (wanted.isEmpty()) node->setSourceRect(placement_.source);
  return node;
}

void PictureView::fill(QSGImageNode& node) const {
  QImage image = wrapped(picture_.view.image);
  if (needsOwnPixels()) {
    const auto how = placement_.crisp ? Qt::FastTransformation : Qt::SmoothTransformation;
    const QRect part = placement_.source.toAlignedRect().intersected(image.rect());
    if (part != image.rect()) image = image.copy(part);
    image = image.scaled(placement_.onScreen(density()), Qt::IgnoreAspectRatio, how);
    if (radius_ > 0) image = rounded(image, radius_ * density());
  }
  QQuickWindow::CreateTextureOptions options;
  const bool smaller = placement_.source.width() > placement_.target.width() * density();
  const bool steps = smaller && !isSoftware(*window());
  if (steps) options |= QQuickWindow::TextureHasMipmaps;
  if (!image.hasAlphaChannel()) options |= QQuickWindow::TextureIsOpaque;
  node.setTexture(window()->createTextureFromImage(image, options));
  node.setFiltering(placement_.crisp ? QSGTexture::Nearest : QSGTexture::Linear);
  node.setMipmapFiltering(steps ? QSGTexture::Linear : QSGTexture::None);
  node.setSourceRect(QRectF(QPointF(0, 0), image.size()));
}

}  // namespace veltrane::qtquick
