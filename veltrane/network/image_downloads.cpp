#include "veltrane/network/image_downloads.h"

#include <algorithm>
#include <deque>
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

/// One URL on its way: waiting its turn, in transfer, then in the queue to be decoded. The ports
/// are those that were installed when it was asked for: it may start on one of their threads.
struct Transfer {
  explicit Transfer(const std::string& url)
      : request(requestFor(url)),
        transport(Platform::current().transport),
        queue(Platform::current().pictureQueue),
        codec(Platform::current().pictureCodec) {
    if (!transport) fatal("No HTTP transport is installed. Install a Platform first.");
  }

  const std::string& url() const { return request.url; }

  const HTTPRequest request;
  const std::shared_ptr<HTTPTransport> transport;
  const std::shared_ptr<WorkQueue> queue;
  const std::shared_ptr<PictureCodec> codec;
  Waiters waiters;
  bool isStarted = false;
  std::unique_ptr<HTTPRequestHandle> handle;
};

/// As many bodies may lie in memory at a time, however many pictures a screen names.
constexpr std::size_t kMaxAtOnce = 6;

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

  /// Joins the transfer of the URL, or begins one.
  void join(const std::string& url, std::shared_ptr<Waiter> waiter) {
    {
      const std::lock_guard lock(mutex_);
      auto& transfer = transfers_[url];
      if (!transfer) {
        transfer = std::make_shared<Transfer>(url);
        queue_.push_back(transfer);
      }
      transfer->waiters.push_back(std::move(waiter));
    }
    startNext();
  }

  void leave(const std::string& url, const std::shared_ptr<Waiter>& waiter) {
    std::shared_ptr<Transfer> ended;  // Outlives the lock: dropping a request may wait.
    {
      const std::lock_guard lock(mutex_);
      const auto found = transfers_.find(url);
      if (found == transfers_.end()) return;
      auto& waiters = found->second->waiters;
      if (std::erase(waiters, waiter) == 0 || !waiters.empty()) return;
      ended = remove(found);
    }
    startNext();
  }

 private:
  using Transfers = std::map<std::string, std::shared_ptr<Transfer>>;

  /// Takes a transfer off the list. Called with the lock, which does not cover its destruction.
  std::shared_ptr<Transfer> remove(Transfers::iterator transfer) {
    auto removed = std::move(transfer->second);
    transfers_.erase(transfer);
    if (removed->isStarted) --started_;
    return removed;
  }

  /// Starts those whose turn it is.
  void startNext() {
    while (const auto transfer = takeNext()) start(transfer);
  }

  std::shared_ptr<Transfer> takeNext() {
    const std::lock_guard lock(mutex_);
    while (started_ < kMaxAtOnce && !queue_.empty()) {
      auto transfer = queue_.front().lock();
      queue_.pop_front();
      if (!transfer || transfer->waiters.empty()) continue;
      transfer->isStarted = true;
      ++started_;
      return transfer;
    }
    return nullptr;
  }

  void start(const std::shared_ptr<Transfer>& transfer) {
    auto handle = transfer->transport->send(
        transfer->request, [weak = weak_from_this(), wanted = std::weak_ptr(transfer)](
                               std::optional<HTTPResponse> response) {
          const auto self = weak.lock();
          const auto transfer = wanted.lock();
          if (self && transfer) self->received(transfer, response);
        });
    const std::lock_guard lock(mutex_);
    // Nobody may want it any more, or all may have been told: then the handle ends with this scope.
    if (isUnderWay(transfer)) transfer->handle.swap(handle);
  }

  void received(const std::shared_ptr<Transfer>& transfer, std::optional<HTTPResponse>& response) {
    if (!response || !response->body) {
      return finish(transfer, nullptr,
                    VeltraneFlowError::veltraneError("No response from server..."));
    }
    transfer->queue->async([self = shared_from_this(), wanted = std::weak_ptr(transfer),
                            body = std::move(*response->body)] {
      if (const auto transfer = wanted.lock()) self->decode(transfer, body);
    });
  }

  void decode(const std::shared_ptr<Transfer>& transfer, std::string_view body) {
    const auto picture = transfer->codec ? transfer->codec->decode(body) : nullptr;
    std::optional<VeltraneFlowError> error;
    if (!picture) error = VeltraneFlowError::veltraneError("Can not convert data to UIImage.");
    finish(transfer, picture, error);
  }

  void finish(const std::shared_ptr<Transfer>& transfer, const PicturePtr& picture,
              const std::optional<VeltraneFlowError>& error) {
    Waiters waiters;
    {
      const std::lock_guard lock(mutex_);
      if (!isUnderWay(transfer)) return;
      remove(transfers_.find(transfer->url()));
      waiters.swap(transfer->waiters);
      if (picture) cache_.insert(transfer->url(), picture);
    }
    startNext();
    for (const auto& waiter : waiters) waiter->completion(picture, error);
  }

  /// Called with the lock.
  bool isUnderWay(const std::shared_ptr<Transfer>& transfer) const {
    const auto found = transfers_.find(transfer->url());
    return found != transfers_.end() && found->second == transfer;
  }

  mutable std::mutex mutex_;
  PictureCache cache_;
  Transfers transfers_;
  /// Those that have not started, in the order asked for; left ones are null or without waiters.
  std::deque<std::weak_ptr<Transfer>> queue_;
  std::size_t started_ = 0;
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
