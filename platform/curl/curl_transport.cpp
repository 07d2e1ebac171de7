#include "platform/curl/curl_transport.h"

#include <algorithm>
#include <cstdlib>
#include <mutex>
#include <new>
#include <utility>
#include <vector>

#include "platform/curl/worker.h"

namespace veltrane::curl {
namespace {

class Handle final : public HTTPRequestHandle {
 public:
  Handle(std::shared_ptr<Exchange> exchange, std::weak_ptr<Worker> worker)
      : exchange_(std::move(exchange)), worker_(std::move(worker)) {}

  ~Handle() override {
    exchange_->revoke();
    if (const auto worker = worker_.lock()) worker->drop(*exchange_);
  }

 private:
  std::shared_ptr<Exchange> exchange_;
  std::weak_ptr<Worker> worker_;
};

/// The workers whose threads run, those whose transport went away inside a completion included.
/// What is left when the program ends is ended before the libraries below are torn down.
class Workers {
 public:
  void add(std::shared_ptr<Worker> worker) {
    std::lock_guard lock(mutex_);
    const auto ended = std::partition(running_.begin(), running_.end(),
                                      [](const auto& each) { return !each->hasEnded(); });
    std::for_each(ended, running_.end(), [](const auto& each) { each->end(); });
    running_.erase(ended, running_.end());
    running_.push_back(std::move(worker));
  }

  /// False when the end of the program was quicker.
  bool take(const std::shared_ptr<Worker>& worker) {
    std::lock_guard lock(mutex_);
    return std::erase(running_, worker) > 0;
  }

  void endAll() {
    std::vector<std::shared_ptr<Worker>> left;
    {
      std::lock_guard lock(mutex_);
      left.swap(running_);
    }
    for (const auto& worker : left) worker->end();
  }

 private:
  std::mutex mutex_;
  std::vector<std::shared_ptr<Worker>> running_;
};

/// Never destroyed: transports in static objects come here after everything else.
Workers& workers() {
  static auto* all = new Workers;
  return *all;
}

void endAllAtExit() {
  if (std::atexit([] { workers().endAll(); }) != 0) throw std::bad_alloc();
}

}  // namespace

CurlTransport::CurlTransport(Options options) {
  // Once for a program that ends while libcurl is being loaded, and once, by the worker, after the
  // library's own, so that it is called before them.
  static const bool registered = (endAllAtExit(), true);
  (void)registered;
  worker_ = Worker::start(std::move(options), &endAllAtExit);
  workers().add(worker_);
}

CurlTransport::~CurlTransport() {
  if (worker_->isThisThread()) {
    worker_->stop();
  } else if (workers().take(worker_)) {
    worker_->end();
  }
}

std::unique_ptr<HTTPRequestHandle> CurlTransport::send(HTTPRequest request, Completion completion) {
  // Its own reference: the completion may be quicker than this function, and drop the transport.
  const auto worker = worker_;
  return std::make_unique<Handle>(worker->add(std::move(request), std::move(completion)), worker);
}

std::vector<std::shared_ptr<HTTPTask>> CurlTransport::tasks() const {
  return worker_->tasks();
}

void CurlTransport::hurry() {
  worker_->hurry();
}

std::shared_ptr<CurlTransport> make(Options options) {
  return std::make_shared<CurlTransport>(std::move(options));
}

}  // namespace veltrane::curl
