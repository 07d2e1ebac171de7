#include "veltrane/ui/cells/picture_outlet.h"

#include <utility>

#include "veltrane/face/image.h"
#include "veltrane/network/network_manager.h"
#include "veltrane/platform.h"
#include "veltrane/toolkit/main_queue.h"
#include "veltrane/toolkit/work_queue.h"

namespace veltrane {

namespace {

/// Bytes of pixels in all rows in sight. One picture of the largest size may take them all.
constexpr std::size_t kMaxShown = std::size_t{Picture::kMaxPixels} * Picture::kBytesAPixel;
std::size_t shownBytes = 0;

}  // namespace

/// What is under way to one row, or arrived there.
class PictureOutlet::Loading {
 public:
  explicit Loading(std::function<void(PicturePtr)> show) : show_(std::move(show)) {}
  ~Loading() { shownBytes -= held_; }
  Loading(const Loading&) = delete;
  Loading& operator=(const Loading&) = delete;

  bool hasEnded() const { return ended_; }

  std::unique_ptr<ImageDownload> download;

 private:
  friend class Messenger;

  /// A server may name more and larger pictures than memory bears: those rows stay empty.
  void arrived(const PicturePtr& picture) {
    ended_ = true;
    const std::size_t size = picture ? picture->pixels.size() : 0;
    if (size == 0 || size > kMaxShown - shownBytes) return;
    shownBytes += held_ = size;
    show_(picture);
  }

  std::function<void(PicturePtr)> show_;
  std::size_t held_ = 0;
  bool ended_ = false;
};

/// Takes a picture from any thread to the row that waits for it. Holds both ends weakly: a late one
/// for a row that has moved on is nobody's, and the program may be about to end.
class PictureOutlet::Messenger {
 public:
  explicit Messenger(const std::shared_ptr<Loading>& loading)
      : loading_(loading), mainQueue_(Platform::current().mainQueue) {}

  bool isExpected() const { return !loading_.expired(); }

  void deliver(PicturePtr picture) const {
    const auto queue = isExpected() ? mainQueue_.lock() : nullptr;
    if (!queue) return;
    queue->async([loading = loading_, picture = std::move(picture)] {
      if (const auto waiting = loading.lock()) waiting->arrived(picture);
    });
  }

 private:
  std::weak_ptr<Loading> loading_;
  std::weak_ptr<MainQueue> mainQueue_;
};

PictureOutlet::PictureOutlet(std::function<void(PicturePtr)> show) : show_(std::move(show)) {}

PictureOutlet::~PictureOutlet() = default;

void PictureOutlet::loadURL(const std::string& urlString) {
  load([url = Image::getScaledImageURL(urlString)](const std::shared_ptr<Loading>& loading) {
    loading->download = NetworkManager::downloadImage(
        url, [messenger = Messenger(loading)](PicturePtr picture, const auto& /*error*/) {
          messenger.deliver(std::move(picture));
        });
  });
}

void PictureOutlet::loadBase64(const JSON& text) {
  load([text](const std::shared_ptr<Loading>& loading) {
    const Platform& platform = Platform::current();
    platform.pictureQueue->async(
        [text, codec = platform.pictureCodec, messenger = Messenger(loading)] {
          if (!messenger.isExpected()) return;
          const auto base64 = text.text();
          const bool isText = base64 && codec;
          messenger.deliver(isText ? Image::base64ToUIImage(*base64, *codec) : nullptr);
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
  return loading_ && !loading_->hasEnded();
}

void PictureOutlet::willDisplay() {
  if (loading_ || !start_) return;
  loading_ = std::make_shared<Loading>(show_);
  start_(loading_);
}

}  // namespace veltrane
