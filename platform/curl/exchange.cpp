#include "platform/curl/exchange.h"

#include <algorithm>
#include <utility>

#include "veltrane/base/secret.h"

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
  if (!hop) {
    failure_ = "it may not be sent as it is";
    return false;
  }
  hop_ = std::move(*hop);
  transfer_ = std::make_unique<Transfer>(engine, hop_, request_, this);
  return true;
}

void Exchange::endTransfer() {
  transfer_.reset();
  if (request_.body) Secret::wipe(*request_.body);
}

bool Exchange::goesOn(Engine& engine, CURLcode result, std::optional<HTTPResponse>& response) {
  if (result != CURLE_OK || !transfer_->hasResponse()) {
    failure_ = transfer_->failure(result);
    return false;
  }
  const long status = transfer_->status();
  const auto location = isRedirect(status) ? transfer_->location() : std::string();
  if (!location.empty()) return follows(engine, status, location);
  response = HTTPResponse{static_cast<int>(status), transfer_->takeBody()};
  return false;
}

bool Exchange::follows(Engine& engine, long status, const std::string& location) {
  if (redirects_++ == kMaxRedirects) {
    failure_ = "it was redirected too often";
    return false;
  }
  auto next = redirected(std::move(hop_), status, location);
  if (!next) {
    failure_ = "it was redirected to an address that is not HTTPS";
    return false;
  }
  hop_ = std::move(*next);
  transfer_ = std::make_unique<Transfer>(engine, hop_, request_, this);
  return true;
}

std::string Exchange::failureLine() const {
  if (failure_.empty() || state_ != HTTPTaskState::running) return {};
  // The path and the query are the caller's own business.
  const auto origin = isLoaded() ? originOf(request_.url) : std::nullopt;
  const auto where =
      origin ? " from " + origin->scheme + "://" + origin->host + ":" + origin->port : "";
  return "No response" + where + ": " + failure_;
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
