#include "platform/authenticator/platform_authenticator.h"

#include <algorithm>
#include <utility>

#include "platform/authenticator/ceremony.h"
#include "platform/authenticator/conversation.h"
#include "platform/authenticator/notice.h"
#include "veltrane/platform.h"
#include "veltrane/toolkit/work_queue.h"

namespace veltrane::authenticator {
namespace {

/// Whether what makes and reads credentials is installed.
bool hasLibraries() {
#ifdef VELTRANE_LATE_crypto
  static const bool all =
      veltrane_late_load_argon2() && veltrane_late_load_cbor() && veltrane_late_load_crypto();
  return all;
#else
  return true;
#endif
}

/// A person who is told what is the matter can still take another way.
template <typename Value>
void tellFailure(const PasskeyResult<Value>& result, Conversation& conversation) {
  const auto* error = std::get_if<PasskeyError>(&result);
  if (auto notice = error != nullptr ? noticeOf(*error) : std::nullopt) {
    conversation.ask(std::move(*notice));
  }
}

}  // namespace

/// The thread, and what is under way on it.
class PlatformAuthenticator::Requests {
 public:
  Requests() = default;
  ~Requests() {
    for (const auto& weak : conversations_) {
      if (const auto conversation = weak.lock()) conversation->drop();
    }
  }
  Requests(const Requests&) = delete;
  Requests& operator=(const Requests&) = delete;

  /// `work` is given the conversation, on the thread. What is answered cancels when it goes.
  template <typename Work>
  std::shared_ptr<void> start(std::shared_ptr<PasskeySheet> sheet, Work work) {
    const auto conversation =
        std::make_shared<Conversation>(Platform::current().mainQueue, std::move(sheet));
    std::erase_if(conversations_, [](const auto& weak) { return weak.expired(); });
    conversations_.push_back(conversation);
    queue_.async([conversation, work = std::move(work)]() mutable { work(*conversation); });
    return {nullptr, [conversation](std::nullptr_t) { conversation->drop(); }};
  }

 private:
  std::vector<std::weak_ptr<Conversation>> conversations_;
  ThreadWorkQueue queue_;
};

PlatformAuthenticator::PlatformAuthenticator(PlatformAuthenticatorOptions options)
    : state_(std::make_shared<AuthenticatorState>(std::move(options))),
      requests_(std::make_unique<Requests>()) {}

PlatformAuthenticator::~PlatformAuthenticator() = default;

std::optional<bool> PlatformAuthenticator::holds(const std::string& rpId,
                                                 const std::vector<std::string>& allowed) const {
  if (!hasLibraries()) return false;
  return state_->store.holds(rpId, allowed);
}

bool PlatformAuthenticator::canMake(const MakeCredential& request) const {
  return hasLibraries() && std::ranges::any_of(request.algorithms, [](int algorithm) {
           return algorithm == cose::kES256 || algorithm == cose::kEdDSA;
         });
}

std::shared_ptr<void> PlatformAuthenticator::make(MakeCredential request,
                                                  std::shared_ptr<PasskeySheet> sheet, Made made) {
  return requests_->start(
      std::move(sheet), [state = state_, request = std::move(request),
                         made = std::move(made)](Conversation& conversation) mutable {
        Ceremony ceremony(*state, conversation);
        auto result = ceremony.make(request);
        tellFailure(result, conversation);
        auto* const creation = std::get_if<Creation>(&result);
        auto answer = creation != nullptr
                          ? PasskeyResult<MadeCredential>(std::move(creation->answer))
                          : std::get<PasskeyError>(result);
        const bool isHeard =
            conversation.finish([answer = std::move(answer), made = std::move(made)]() mutable {
              made(std::move(answer));
            });
        if (creation == nullptr) return;
        isHeard ? ceremony.settle(creation->credential) : ceremony.undo(creation->credential);
      });
}

std::shared_ptr<void> PlatformAuthenticator::get(GetAssertion request,
                                                 std::shared_ptr<PasskeySheet> sheet, Got got) {
  return requests_->start(
      std::move(sheet), [state = state_, request = std::move(request),
                         got = std::move(got)](Conversation& conversation) mutable {
        auto result = Ceremony(*state, conversation).get(request);
        tellFailure(result, conversation);
        conversation.finish([result = std::move(result), got = std::move(got)]() mutable {
          got(std::move(result));
        });
      });
}

}  // namespace veltrane::authenticator
