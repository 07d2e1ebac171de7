#include "platform/curl/exchange.h"

#include <algorithm>
#include <utility>

namespace veltrane::curl {
namespace {

Clock::duration duration(double seconds) {
  constexpr double kYear = 366.0 * 24 * 3600;  // beyond it the clock's range comes into sight
  return std::chrono::duration_cast<Clock::duration>(
      std::chrono::duration<double>(std::min(seconds, kYear)));
}

}  // namespace

Exchange::Exchange(std::uint64_t number, HTTPRequest request, HTTPTransport::Completion completion,
                   std::function<void()> wake)
    : number_(number),
      request_(std::move(request)),
      wake_(std::move(wake)),
      delivery_(std::move(completion)) {}

void Exchange::cancel() {
  auto running = HTTPTaskState::running;
  if (state_.compare_exchange_strong(running, HTTPTaskState::canceling)) wake_();
}

void Exchange::revoke() {
  delivery_.revoke();
  state_ = HTTPTaskState::completed;
}

bool Exchange::start(Engine& engine) {
  auto hop = firstHop(request_);
  if (!hop) return false;
  hop_ = std::move(*hop);
  transfer_ = std::make_unique<Transfer>(engine, hop_, request_, this);
  return true;
}

bool Exchange::goesOn(Engine& engine, CURLcode result, std::optional<HTTPResponse>& response) {
  if (result != CURLE_OK || !transfer_->hasResponse()) return false;
  const long status = transfer_->status();
  const auto location = isRedirect(status) ? transfer_->location() : std::string();
  if (location.empty()) {
    response = HTTPResponse{static_cast<int>(status), transfer_->takeBody()};
    return false;
  }
  if (redirects_++ == kMaxRedirects) return false;
  auto next = redirected(std::move(hop_), status, location);
  if (!next) return false;
  hop_ = std::move(*next);
  transfer_ = std::make_unique<Transfer>(engine, hop_, request_, this);
  return true;
}

Clock::time_point Exchange::deadline() const {
  return std::min(sentAt_ + duration(request_.timeoutForResource),
                  transfer_->lastProgress() + duration(request_.timeoutForRequest));
}

void Exchange::deliver(std::optional<HTTPResponse> response) {
  state_ = HTTPTaskState::completed;
  delivery_.run(std::move(response));
}

}  // namespace veltrane::curl
