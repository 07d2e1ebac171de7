#include "veltrane/network/image_downloads.h"

#include <algorithm>
#include <map>
#include <mutex>
#include <string_view>
#include <utility>
#include <vector>

#include "veltrane/base/fatal.h"
#include "veltrane/flow/user_defaults_manager.h"
#include "veltrane/network/http_transport.h"
#include "veltrane/network/network_api_request.h"
#include "veltrane/network/picture_cache.h"
#include "veltrane/platform.h"
#include "veltrane/toolkit/picture_codec.h"
#include "veltrane/toolkit/work_queue.h"

namespace veltrane {
namespace {

HTTPRequest requestFor(const std::string& url) {
  HTTPRequest request;
  request.method = "GET";
  request.url = url;
  request.timeoutForRequest = request.timeoutForResource = UserDefaultsManager::usableTimeout();
  request.purpose = RequestPurpose::picture;
  return request;
}

/// Someone who waits for a picture. Its address is its identity.
struct Waiter {
  ImageDownloads::Completion completion;
};

using Waiters = std::vector<std::shared_ptr<Waiter>>;

/// One URL on its way: in transfer, then in the queue to be decoded.
struct Transfer {
  Waiters waiters;
  std::unique_ptr<HTTPRequestHandle> request;
};

}  // namespace

class ImageDownloads::State : public std::enable_shared_from_this<State> {
 public:
  explicit State(std::size_t cacheLimit) : cache_(cacheLimit) {}

  PicturePtr kept(const std::string& url) {
    const std::lock_guard lock(mutex_);
    return cache_.find(url);
  }

  std::size_t cachedBytes() const {
    const std::lock_guard lock(mutex_);
    return cache_.bytes();
  }

  /// Joins the transfer of the URL, starting it when there is none.
  void join(const std::string& url, std::shared_ptr<Waiter> waiter) {
    std::shared_ptr<Transfer> started;
    {
      const std::lock_guard lock(mutex_);
      auto& transfer = transfers_[url];
      if (!transfer) started = transfer = std::make_shared<Transfer>();
      transfer->waiters.push_back(std::move(waiter));
    }
    if (started) start(url, started);
  }

  void leave(const std::string& url, const std::shared_ptr<Waiter>& waiter) {
    std::shared_ptr<Transfer> ended;  // Outlives the lock: dropping a request may wait.
    const std::lock_guard lock(mutex_);
    const auto found = transfers_.find(url);
    if (found == transfers_.end()) return;
    auto& waiters = found->second->waiters;
    if (std::erase(waiters, waiter) == 0 || !waiters.empty()) return;
    ended = std::move(found->second);
    transfers_.erase(found);
  }

 private:
  void start(const std::string& url, const std::shared_ptr<Transfer>& transfer) {
    const Platform& platform = Platform::current();
    if (!platform.transport) fatal("No HTTP transport is installed. Install a Platform first.");
    auto request = platform.transport->send(
        requestFor(url), [weak = weak_from_this(), wanted = std::weak_ptr(transfer), url,
                          queue = platform.pictureQueue,
                          codec = platform.pictureCodec](std::optional<HTTPResponse> response) {
          const auto self = weak.lock();
          if (self && !wanted.expired()) self->received(url, wanted, *queue, codec, response);
        });
    const std::lock_guard lock(mutex_);
    // Nobody may want it any more, or all may have been told: then the handle ends with this scope.
    const auto found = transfers_.find(url);
    if (found != transfers_.end() && found->second == transfer) {
      transfer->request.swap(request);
    }
  }

  void received(const std::string& url, const std::weak_ptr<Transfer>& transfer, WorkQueue& queue,
                const std::shared_ptr<PictureCodec>& codec, std::optional<HTTPResponse>& response) {
    if (!response || !response->body) {
      return finish(url, transfer, nullptr,
                    VeltraneFlowError::veltraneError("No response from server..."));
    }
    queue.async(
        [self = shared_from_this(), transfer, url, codec, body = std::move(*response->body)] {
          if (transfer.expired()) return;
          auto picture = codec ? codec->decode(body) : nullptr;
          std::optional<VeltraneFlowError> error;
          if (!picture)
            error = VeltraneFlowError::veltraneError("Can not convert data to UIImage.");
          self->finish(url, transfer, std::move(picture), error);
        });
  }

  void finish(const std::string& url, const std::weak_ptr<Transfer>& wanted, PicturePtr picture,
              const std::optional<VeltraneFlowError>& error) {
    Waiters waiters;
    std::shared_ptr<Transfer> transfer;
    {
      const std::lock_guard lock(mutex_);
      const auto found = transfers_.find(url);
      if (found == transfers_.end() || found->second != wanted.lock()) return;
      transfer = std::move(found->second);
      transfers_.erase(found);
      waiters.swap(transfer->waiters);
      if (picture) cache_.insert(url, picture);
    }
    for (const auto& waiter : waiters) waiter->completion(picture, error);
  }

  mutable std::mutex mutex_;
  PictureCache cache_;
  std::map<std::string, std::shared_ptr<Transfer>> transfers_;
};

namespace {

class JoinedDownload final : public ImageDownload {
 public:
  explicit JoinedDownload(std::function<void()> leave) : leave_(std::move(leave)) {}
  ~JoinedDownload() override { leave_(); }
  JoinedDownload(const JoinedDownload&) = delete;
  JoinedDownload& operator=(const JoinedDownload&) = delete;

 private:
  std::function<void()> leave_;
};

}  // namespace

ImageDownloads::ImageDownloads(std::size_t cacheLimit)
    : state_(std::make_shared<State>(cacheLimit)) {}

ImageDownloads::~ImageDownloads() = default;

std::unique_ptr<ImageDownload> ImageDownloads::download(const std::string& urlString,
                                                        Completion completion) {
  if (auto picture = state_->kept(urlString)) {
    completion(std::move(picture), std::nullopt);
    return nullptr;
  }
  if (!isAllowedURL(urlString)) {
    completion(nullptr, VeltraneFlowError{.reason = reason::InvalidURL{urlString}});
    return nullptr;
  }
  auto waiter = std::make_shared<Waiter>(Waiter{std::move(completion)});
  auto download =
      std::make_unique<JoinedDownload>([weak = std::weak_ptr(state_), urlString, waiter] {
        if (const auto state = weak.lock()) state->leave(urlString, waiter);
      });
  state_->join(urlString, waiter);
  return download;
}

std::size_t ImageDownloads::cachedBytes() const {
  return state_->cachedBytes();
}

}  // namespace veltrane
