#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "platform/curl/delivery.h"
#include "platform/curl/hop.h"
#include "platform/curl/transfer.h"

namespace veltrane::curl {

/// One request of a caller, from `send` to its completion, over all its redirects.
///
/// The task's functions and `revoke` are for any thread, everything else is the worker's.
class Exchange final : public HTTPTask {
 public:
  /// `wake` makes the worker look at its exchanges again; called from any thread.
  Exchange(std::uint64_t number, HTTPRequest request, HTTPTransport::Completion completion,
           std::function<void()> wake);

  const std::string& originalURL() const override { return request_.url; }
  HTTPTaskState state() const override { return state_; }
  void cancel() override;

  /// The order of sending.
  std::uint64_t number() const { return number_; }
  /// Its completion never starts afterwards; see Delivery.
  void revoke();

  /// False when the request may not be sent.
  bool start(Engine& engine);
  /// Instead of `start`, when nothing can be sent at all.
  void refuse(std::string why) { failure_ = std::move(why); }
  /// True when the finished transfer was a redirect and the next hop is under way. Otherwise
  /// `response` holds what there is to deliver.
  bool goesOn(Engine& engine, CURLcode result, std::optional<HTTPResponse>& response);
  Clock::time_point deadline() const;
  void timeOut() { failure_ = "it took too long"; }
  /// Why there is no response, a line for people; empty when the caller wants none any more.
  std::string failureLine() const;
  /// Before the worker lets go of it: a caller's handle may be the last owner. Wipes what was sent.
  void endTransfer();
  /// Runs the completion unless it was revoked.
  void deliver(std::optional<HTTPResponse> response);

 private:
  static constexpr int kMaxRedirects = 5;

  bool follows(Engine& engine, long status, const std::string& location);

  const std::uint64_t number_;
  HTTPRequest request_;
  const std::function<void()> wake_;
  const Clock::time_point sentAt_ = Clock::now();
  std::atomic<HTTPTaskState> state_ = HTTPTaskState::running;
  Delivery delivery_;
  Hop hop_;
  int redirects_ = 0;
  std::string failure_;
  std::unique_ptr<Transfer> transfer_;
};

}  // namespace veltrane::curl
