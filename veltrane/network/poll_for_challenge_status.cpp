#include "veltrane/network/poll_for_challenge_status.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <map>
#include <utility>

#include "veltrane/base/console.h"
#include "veltrane/flow/user_defaults_manager.h"
#include "veltrane/network/network_manager.h"
#include "veltrane/platform.h"
#include "veltrane/toolkit/main_queue.h"

namespace veltrane {
namespace {

MainQueue::Interval interval(double milliseconds) {
  constexpr double kShortest = 100;
  constexpr double kLongest = 1e12;
  if (std::isnan(milliseconds)) milliseconds = kShortest;
  return MainQueue::Interval(
      static_cast<std::int64_t>(std::clamp(milliseconds, kShortest, kLongest)));
}

class PollRun final : public PollForChallengeStatus::Run,
                      public std::enable_shared_from_this<PollRun> {
 public:
  PollRun(NetworkAPIRequestFor request, double retries, PollForChallengeStatus::Callback callback)
      : request_(std::move(request)), retries_(retries), callback_(std::move(callback)) {}

  bool isRunning() const override { return timer_ != nullptr; }

  void start(MainQueue::Interval every) {
    timer_ = MainQueue::current().repeatingTimer(every, [this] { tick(); });
  }

 private:
  void tick() {
    tickCount_ += 1.0;
    ask();
    // The tick that notices the end has asked once more; that question is taken back.
    if (finished_) stop();
  }

  void ask() {
    const auto id = ++lastQuestion_;
    inFlight_[id] = NetworkManager::getRequest(
        request_, [weak = weak_from_this(), id](std::optional<std::string> body,
                                                std::optional<VeltraneFlowError> error) {
          MainQueue::current().async([weak, id, body = std::move(body), error = std::move(error)] {
            const auto self = weak.lock();
            if (!self) return;
            self->inFlight_.erase(id);
            self->answered(body, error);
          });
        });
  }

  void answered(const std::optional<std::string>& body,
                const std::optional<VeltraneFlowError>& error) {
    if (finished_) return stop();
    if (error) {
      timer_.reset();
      callback_(std::nullopt, error->errorDescription());
      return;
    }
    if (!body) return;
    const auto parsed = JSON::parse(*body);
    if (!parsed.ok()) return callback_(std::nullopt, parsed.error);
    if (!parsed.value.isObject()) {
      return callback_(std::nullopt, "Invalid Response! JSON data conversion error");
    }
    if (const auto status = parsed.value["status"].text()) statusCame(std::string(*status));
  }

  void statusCame(const std::string& status) {
    if (status == "approved" || status == "denied") {
      console::print("status: " + status);
      finish(status);
    } else if (tickCount_ == retries_) {
      console::print("status timeout");
      finish("timedOut");
    }
  }

  void finish(const std::string& status) {
    finished_ = true;
    callback_(status, std::nullopt);
  }

  void stop() {
    timer_.reset();
    for (const auto& task : Platform::current().transport->tasks()) {
      if (task->state() == HTTPTaskState::running && task->originalURL() == request_.resourceURL) {
        task->cancel();
        return;
      }
    }
  }

  NetworkAPIRequestFor request_;
  double retries_;
  PollForChallengeStatus::Callback callback_;
  std::unique_ptr<Timer> timer_;
  std::map<std::uint64_t, std::unique_ptr<HTTPRequestHandle>> inFlight_;
  std::uint64_t lastQuestion_ = 0;
  double tickCount_ = 0.0;
  bool finished_ = false;
};

}  // namespace

std::shared_ptr<PollForChallengeStatus::Run> PollForChallengeStatus::startClientSidePoll(
    Arguments arguments) {
  NetworkAPIRequestFor request({
      .endpoint = PollForChallengeEndpoint{PollForChallengeEndpoint::ClientSidePoll{
          .companyId = std::move(arguments.companyId),
          .challengeId = std::move(arguments.challengeId),
          .interactionId = std::move(arguments.interactionId)}},
      .headers = {{APIHTTPHeader::authorization(
          UserDefaultsManager::getAccessToken().value_or(std::string()))}},
      .parameter = std::move(arguments.props),
  });
  auto run = std::make_shared<PollRun>(std::move(request), arguments.pollRetries,
                                       std::move(arguments.callback));
  run->start(interval(arguments.pollInterval));
  return run;
}

}  // namespace veltrane
