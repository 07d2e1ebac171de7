#include "platform/authenticator/conversation.h"

#include <utility>

#include "veltrane/toolkit/main_queue.h"

namespace veltrane::authenticator {

Conversation::Conversation(std::weak_ptr<MainQueue> mainQueue, std::shared_ptr<PasskeySheet> sheet)
    : mainQueue_(std::move(mainQueue)), sheet_(std::move(sheet)) {}

void Conversation::isAbout(std::string relyingParty, std::string account) {
  relyingParty_ = std::move(relyingParty);
  account_ = std::move(account);
}

PasskeyResult<PasskeyAnswer> Conversation::ask(PasskeyQuestion question) {
  if (takesSecret(question.step)) {
    question.relyingParty = relyingParty_;
    question.account = account_;
  }
  async([self = shared_from_this(), question = std::move(question)] { self->put(question); });
  std::unique_lock lock(mutex_);
  wake_.wait(lock, [this] { return answer_ || state_ != State::open; });
  auto answer = std::exchange(answer_, std::nullopt);
  if (!answer || answer->kind == PasskeyAnswer::Kind::cancelled) {
    return PasskeyError{.failure = PasskeyFailure::cancelled};
  }
  return std::move(*answer);
}

void Conversation::async(std::function<void()> work) {
  if (const auto mainQueue = mainQueue_.lock()) mainQueue->async(std::move(work));
}

void Conversation::put(PasskeyQuestion question) {
  // Held, since whoever hears the question may drop the request.
  const auto sheet = sheet_;
  if (!sheet) return;
  sheet->ask(std::move(question), [weak = weak_from_this()](PasskeyAnswer answer) {
    if (const auto self = weak.lock()) self->take(std::move(answer));
  });
}

void Conversation::take(PasskeyAnswer answer) {
  {
    const std::lock_guard lock(mutex_);
    answer_ = std::move(answer);
  }
  wake_.notify_all();
}

bool Conversation::finish(std::function<void()> deliver) {
  async([self = shared_from_this(), deliver = std::move(deliver)] {
    if (self->end(State::finished)) deliver();
  });
  std::unique_lock lock(mutex_);
  wake_.wait(lock, [this] { return state_ != State::open; });
  return state_ == State::finished;
}

void Conversation::drop() {
  end(State::dropped);
}

bool Conversation::end(State state) {
  sheet_.reset();
  {
    const std::lock_guard lock(mutex_);
    if (state_ != State::open) return false;
    state_ = state;
  }
  wake_.notify_all();
  return true;
}

}  // namespace veltrane::authenticator
