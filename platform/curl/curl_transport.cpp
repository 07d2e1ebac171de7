#include "platform/curl/curl_transport.h"

#include <mutex>
#include <stdexcept>
#include <utility>

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

/// Threads whose transport went away inside a completion. They end by themselves; the program waits
/// for them at its end, before the libraries that they use are torn down.
class Stragglers {
 public:
  ~Stragglers() {
    for (auto& thread : threads_) {
      if (thread.get_id() == std::this_thread::get_id()) {
        thread.detach();
      } else {
        thread.join();
      }
    }
  }

  void add(std::thread thread) {
    std::lock_guard lock(mutex_);
    threads_.push_back(std::move(thread));
  }

 private:
  std::mutex mutex_;
  std::vector<std::thread> threads_;
};

Stragglers& stragglers() {
  static Stragglers all;
  return all;
}

void startLibrary() {
  static const CURLcode result = curl_global_init(CURL_GLOBAL_DEFAULT);
  if (result != CURLE_OK) throw std::runtime_error("libcurl could not be started");
  stragglers();  // made after the library, so that it ends before
}

}  // namespace

CurlTransport::CurlTransport(Options options) {
  startLibrary();
  worker_ = std::make_shared<Worker>(options);
  thread_ = std::thread([worker = worker_] { worker->run(); });
}

CurlTransport::~CurlTransport() {
  worker_->stop();
  if (thread_.get_id() == std::this_thread::get_id()) {
    stragglers().add(std::move(thread_));
  } else {
    thread_.join();
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

std::shared_ptr<CurlTransport> make(Options options) {
  return std::make_shared<CurlTransport>(std::move(options));
}

}  // namespace veltrane::curl
