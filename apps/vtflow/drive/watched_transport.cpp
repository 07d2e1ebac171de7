#include "apps/vtflow/drive/watched_transport.h"

#include <algorithm>
#include <cctype>
#include <chrono>
#include <utility>

#include "veltrane/base/console.h"
#include "veltrane/base/dictionary.h"

namespace veltrane::tool {
namespace {

using Clock = std::chrono::steady_clock;

bool isAuthorization(std::string_view name) {
  static constexpr std::string_view kName = "authorization";
  const auto same = [](unsigned char a, unsigned char b) { return std::tolower(a) == b; };
  return std::equal(name.begin(), name.end(), kName.begin(), kName.end(), same);
}

JSON headersValue(const HTTPRequest& request) {
  static const std::string kMasked = "Bearer " + std::string(console::kMask);
  Dictionary headers;
  for (const auto& [name, value] : request.headers) {
    headers.set(name, textValue(isAuthorization(name) ? kMasked : value));
  }
  return headers;
}

/// Null when there is no body, or none that could be masked.
JSON bodyValue(const HTTPRequest& request) {
  if (!request.body) return {};
  return console::masked(JSON::parse(*request.body).value, request.secretNames);
}

Event requestEvent(const HTTPRequest& request) {
  return Event("request")
      .set("method", textValue(request.method))
      .set("url", textValue(request.url))
      .set("headers", headersValue(request))
      .set("body", bodyValue(request));
}

}  // namespace

/// What all exchanges share; lives as long as the last of them.
struct WatchedTransport::Watch {
  std::shared_ptr<LineWriter> out;
  std::function<void()> settled;
  std::array<std::atomic<std::size_t>, 3> underWay{};

  std::atomic<std::size_t>& count(RequestPurpose purpose) {
    return underWay.at(static_cast<std::size_t>(purpose));
  }
};

/// Told of and counted from its construction on, until it ends one way or the other.
class WatchedTransport::Exchange {
 public:
  Exchange(std::shared_ptr<Watch> watch, const HTTPRequest& request)
      : watch_(std::move(watch)), url_(request.url), purpose_(request.purpose) {
    ++watch_->count(purpose_);
    watch_->out->write(requestEvent(request));
  }

  void completed(const Completion& completion, std::optional<HTTPResponse> response) {
    if (ended_.exchange(true)) return;
    tell(response ? JSON(response->status) : JSON());
    completion(std::move(response));
    settle();
  }

  void dropped() {
    if (ended_.exchange(true)) return;
    tell(JSON());
    settle();
  }

 private:
  void tell(const JSON& status) {
    const auto ms = std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - began_);
    watch_->out->write(Event("answer")
                           .set("url", textValue(url_))
                           .set("status", status)
                           .set("ms", JSON(static_cast<std::int64_t>(ms.count()))));
  }
  void settle() {
    --watch_->count(purpose_);
    if (watch_->settled) watch_->settled();
  }

  std::shared_ptr<Watch> watch_;
  const std::string url_;
  const RequestPurpose purpose_;
  const Clock::time_point began_ = Clock::now();
  std::atomic<bool> ended_ = false;
};

class WatchedTransport::Handle final : public HTTPRequestHandle {
 public:
  Handle(std::unique_ptr<HTTPRequestHandle> inner, std::shared_ptr<Exchange> exchange)
      : inner_(std::move(inner)), exchange_(std::move(exchange)) {}
  ~Handle() override {
    inner_.reset();
    exchange_->dropped();
  }

 private:
  std::unique_ptr<HTTPRequestHandle> inner_;
  std::shared_ptr<Exchange> exchange_;
};

WatchedTransport::WatchedTransport(std::shared_ptr<HTTPTransport> inner,
                                   std::shared_ptr<LineWriter> out, std::function<void()> settled)
    : inner_(std::move(inner)), watch_(std::make_shared<Watch>()) {
  watch_->out = std::move(out);
  watch_->settled = std::move(settled);
}

std::unique_ptr<HTTPRequestHandle> WatchedTransport::send(HTTPRequest request,
                                                          Completion completion) {
  auto exchange = std::make_shared<Exchange>(watch_, request);
  auto handle = inner_->send(std::move(request),
                             [exchange, completion = std::move(completion)](auto response) {
                               exchange->completed(completion, std::move(response));
                             });
  return std::make_unique<Handle>(std::move(handle), std::move(exchange));
}

std::size_t WatchedTransport::underWay(RequestPurpose purpose) const {
  return watch_->count(purpose);
}

}  // namespace veltrane::tool
