#include "platform/fido2/conversation.h"

#include <utility>

#include "veltrane/toolkit/main_queue.h"

namespace veltrane::fido2 {

Conversation::Conversation(const std::shared_ptr<MainQueue>& mainQueue,
                           std::shared_ptr<PasskeySheet> sheet, Answer answer)
    : mainQueue_(mainQueue), sheet_(std::move(sheet)), answer_(std::move(answer)) {}

void Conversation::show(PasskeyQuestion question, PasskeyError ifCancelled) {
  post(std::move(question), std::move(ifCancelled), nullptr);
}

std::optional<PasskeyAnswer> Conversation::ask(PasskeyQuestion question, PasskeyError ifCancelled) {
  post(std::move(question), std::move(ifCancelled),
       [weak = weak_from_this()](PasskeyAnswer answer) {
         if (const auto self = weak.lock()) self->hear(std::move(answer));
       });
  std::unique_lock lock(mutex_);
  heard_.wait(lock, [this] { return said_ || halt_.requested(); });
  if (halt_.requested()) return std::nullopt;
  return std::exchange(said_, std::nullopt);
}

bool Conversation::pause(std::chrono::milliseconds time) const {
  return halt_.wait(-1, time) != Halt::Wake::halted;
}

void Conversation::end(Outcome outcome) {
  async([self = shared_from_this(), outcome = std::move(outcome)] {
    if (!self->sheet_) return;
    self->stop();
    const auto sheet = std::exchange(self->sheet_, nullptr);
    sheet->close();
    // Whoever saw it close may have dropped the request.
    const auto answer = std::exchange(self->answer_, nullptr);
    if (answer) answer(outcome);
  });
}

void Conversation::abandon() {
  end(PasskeyError{PasskeyFailure::cancelled});
  stop();
}

void Conversation::drop() {
  stop();
  sheet_ = nullptr;
  answer_ = nullptr;
}

void Conversation::post(PasskeyQuestion question, PasskeyError ifCancelled, Heard heard) {
  async([self = shared_from_this(), question = std::move(question),
         ifCancelled = std::move(ifCancelled), heard = std::move(heard)] {
    if (!self->sheet_) return;
    // The sheet may outlive the request.
    const std::weak_ptr<Conversation> weak = self;
    self->sheet_->ask(question, [weak, ifCancelled, heard](PasskeyAnswer answer) {
      const auto alive = weak.lock();
      if (!alive) return;
      if (answer.kind == PasskeyAnswer::Kind::cancelled) {
        // In this order: what the halted thread comes to must not be the first to arrive.
        alive->end(ifCancelled);
        alive->stop();
      } else if (heard) {
        heard(std::move(answer));
      }
    });
  });
}

void Conversation::async(std::function<void()> work) {
  if (const auto mainQueue = mainQueue_.lock()) mainQueue->async(std::move(work));
}

void Conversation::hear(PasskeyAnswer answer) {
  const std::lock_guard lock(mutex_);
  said_ = std::move(answer);
  heard_.notify_all();
}

void Conversation::stop() {
  halt_.request();
  const std::lock_guard lock(mutex_);
  heard_.notify_all();
}

}  // namespace veltrane::fido2
