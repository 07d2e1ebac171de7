#include "veltrane/ui/cells/picture_outlet.h"

#include <utility>

#include "veltrane/face/image.h"
#include "veltrane/network/network_manager.h"
#include "veltrane/platform.h"
#include "veltrane/toolkit/main_queue.h"
#include "veltrane/toolkit/work_queue.h"

namespace veltrane {

/// Whoever brings the picture holds this weakly: a late one for a row that has moved on is
/// nobody's.
struct PictureOutlet::Loading {
  std::function<void(PicturePtr)> show;
  std::unique_ptr<ImageDownload> download;
  bool ended = false;

  /// Any thread.
  static void arrived(const std::weak_ptr<Loading>& weak, PicturePtr picture) {
    MainQueue::current().async([weak, picture = std::move(picture)] {
      const auto loading = weak.lock();
      if (!loading) return;
      loading->ended = true;
      if (picture) loading->show(picture);
    });
  }
};

PictureOutlet::PictureOutlet(std::function<void(PicturePtr)> show) : show_(std::move(show)) {}

PictureOutlet::~PictureOutlet() = default;

void PictureOutlet::loadURL(const std::string& urlString) {
  load([url = Image::getScaledImageURL(urlString)](const std::shared_ptr<Loading>& loading) {
    loading->download = NetworkManager::downloadImage(
        url, [weak = std::weak_ptr(loading)](PicturePtr picture, const auto& /*error*/) {
          Loading::arrived(weak, std::move(picture));
        });
  });
}

void PictureOutlet::loadBase64(const JSON& text) {
  load([text](const std::shared_ptr<Loading>& loading) {
    Platform::current().pictureQueue->async([text, weak = std::weak_ptr(loading)] {
      if (weak.expired()) return;
      const auto base64 = text.text();
      Loading::arrived(weak, base64 ? Image::base64ToUIImage(*base64) : nullptr);
    });
  });
}

void PictureOutlet::load(std::function<void(const std::shared_ptr<Loading>&)> start) {
  start_ = std::move(start);
  loading_.reset();
  willDisplay();
}

void PictureOutlet::didEndDisplaying() {
  if (!std::exchange(loading_, nullptr)) return;
  show_(nullptr);
}

bool PictureOutlet::isLoading() const {
  return loading_ && !loading_->ended;
}

void PictureOutlet::willDisplay() {
  if (loading_ || !start_) return;
  loading_ = std::make_shared<Loading>(Loading{show_, nullptr, false});
  start_(loading_);
}

}  // namespace veltrane
