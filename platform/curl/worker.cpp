#include "platform/curl/worker.h"

#include <algorithm>
#include <exception>
#include <limits>
#include <utility>

namespace veltrane::curl {

std::shared_ptr<Worker> Worker::start(Options options, void (*whenLoaded)()) {
  auto worker = std::make_shared<Worker>();
  worker->options_ = std::move(options);
  worker->thread_ = std::thread([worker, whenLoaded] { worker->run(whenLoaded); });
  return worker;
}

std::shared_ptr<Exchange> Worker::add(HTTPRequest request, HTTPTransport::Completion completion) {
  auto wakeUp = [weak = weak_from_this()] {
    if (const auto worker = weak.lock()) worker->wake();
  };
  std::shared_ptr<Exchange> exchange;
  {
    std::lock_guard lock(mutex_);
    exchange = std::make_shared<Exchange>(++lastNumber_, std::move(request), std::move(completion),
                                          std::move(wakeUp));
    open_.emplace(exchange->number(), exchange);
    incoming_.push_back(exchange);
  }
  wake();
  return exchange;
}

void Worker::drop(Exchange& exchange) {
  {
    std::lock_guard lock(mutex_);
    if (open_.erase(exchange.number()) == 0) return;
  }
  wake();
}

std::vector<std::shared_ptr<HTTPTask>> Worker::tasks() const {
  std::lock_guard lock(mutex_);
  std::vector<std::shared_ptr<HTTPTask>> tasks;
  tasks.reserve(open_.size());
  for (const auto& [number, exchange] : open_) tasks.push_back(exchange);
  return tasks;
}

void Worker::stop() {
  {
    std::lock_guard lock(mutex_);
    stopped_ = true;
  }
  wake();
}

void Worker::end() {
  stop();
  if (!isThisThread()) thread_.join();
}

bool Worker::hasEnded() const {
  std::lock_guard lock(mutex_);
  return ended_;
}

void Worker::wake() {
  std::lock_guard lock(mutex_);
  if (engine_) {
    api().multi_wakeup(engine_->multi.get());
  } else {
    woken_.notify_one();
  }
}

void Worker::hurry() {
  {
    std::lock_guard lock(mutex_);
    hurried_ = true;
  }
  woken_.notify_one();
}

bool Worker::waitForTurn() {
  std::unique_lock lock(mutex_);
  woken_.wait_for(lock, options_.headStart, [this] { return hurried_ || stopped_; });
  return !stopped_;
}

void Worker::run(void (*whenLoaded)()) {
  if (waitForTurn()) {
    if (const auto trouble = startEngine(whenLoaded); trouble.empty()) {
      serve();
    } else {
      refuseAll(trouble);
    }
  }
  abandonAll();
}

std::string Worker::startEngine(void (*whenLoaded)()) try {
  load();
  static const bool told = (whenLoaded(), true);
  (void)told;
  auto engine = std::make_unique<Engine>(options_);
  std::lock_guard lock(mutex_);
  engine_ = std::move(engine);
  return {};
} catch (const std::exception& error) {
  return error.what();
}

void Worker::serve() {
  while (takeIncoming()) {
    endUnwanted();
    perform();
    api().multi_poll(engine_->multi.get(), nullptr, 0, millisecondsToDeadline(), nullptr);
  }
}

void Worker::refuseAll(const std::string& why) {
  while (true) {
    std::vector<std::shared_ptr<Exchange>> incoming;
    {
      std::unique_lock lock(mutex_);
      woken_.wait(lock, [this] { return stopped_ || !incoming_.empty(); });
      if (stopped_) return;
      incoming.swap(incoming_);
    }
    for (const auto& exchange : incoming) {
      exchange->refuse(why);
      finish(exchange, std::nullopt);
    }
  }
}

bool Worker::takeIncoming() {
  std::vector<std::shared_ptr<Exchange>> incoming;
  {
    std::lock_guard lock(mutex_);
    if (stopped_) return false;
    incoming.swap(incoming_);
  }
  for (auto& exchange : incoming) {
    if (exchange->state() == HTTPTaskState::running && exchange->start(*engine_)) {
      active_.emplace(exchange->number(), std::move(exchange));
    } else {
      finish(exchange, std::nullopt);
    }
  }
  return true;
}

void Worker::endUnwanted() {
  const auto now = Clock::now();
  for (auto next = active_.begin(); next != active_.end();) {
    const auto exchange = next->second;
    if (exchange->state() == HTTPTaskState::running && exchange->deadline() > now) {
      ++next;
      continue;
    }
    next = active_.erase(next);
    exchange->timeOut();
    finish(exchange, std::nullopt);
  }
}

void Worker::perform() {
  int running = 0;
  api().multi_perform(engine_->multi.get(), &running);
  int left = 0;
  while (const CURLMsg* message = api().multi_info_read(engine_->multi.get(), &left)) {
    if (message->msg != CURLMSG_DONE) continue;
    char* owner = nullptr;
    api().easy_getinfo(message->easy_handle, CURLINFO_PRIVATE, &owner);
    transferEnded(reinterpret_cast<Exchange*>(owner), message->data.result);
  }
}

void Worker::transferEnded(Exchange* ended, CURLcode result) {
  std::optional<HTTPResponse> response;
  if (ended->goesOn(*engine_, result, response)) return;
  const auto place = active_.find(ended->number());
  const auto exchange = place->second;
  active_.erase(place);
  finish(exchange, std::move(response));
}

void Worker::finish(const std::shared_ptr<Exchange>& exchange,
                    std::optional<HTTPResponse> response) {
  bool stopped = false;
  {
    std::lock_guard lock(mutex_);
    open_.erase(exchange->number());
    stopped = stopped_;
  }
  exchange->endTransfer();
  if (stopped) {
    exchange->revoke();
  } else {
    if (!response && options_.report) report(*exchange);
    exchange->deliver(std::move(response));
  }
}

void Worker::report(const Exchange& exchange) const {
  if (const auto line = exchange.failureLine(); !line.empty()) options_.report(line);
}

int Worker::millisecondsToDeadline() const {
  using std::chrono::milliseconds;
  auto wait = milliseconds(std::numeric_limits<int>::max());
  const auto now = Clock::now();
  for (const auto& [number, exchange] : active_) {
    wait = std::min(wait, std::chrono::ceil<milliseconds>(exchange->deadline() - now));
  }
  return static_cast<int>(std::max(wait, milliseconds(0)).count());
}

void Worker::abandonAll() {
  Exchanges open;
  std::vector<std::shared_ptr<Exchange>> incoming;
  {
    std::lock_guard lock(mutex_);
    open.swap(open_);
    incoming.swap(incoming_);
  }
  for (const auto& exchange : incoming) exchange->endTransfer();
  for (const auto& [number, exchange] : active_) exchange->endTransfer();
  active_.clear();
  for (const auto& [number, exchange] : open) exchange->revoke();
  // Here and not with the last owner, who may come when the libraries below have been torn down.
  std::lock_guard lock(mutex_);
  engine_.reset();
  ended_ = true;
}

}  // namespace veltrane::curl
