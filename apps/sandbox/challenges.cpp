#include "apps/sandbox/challenges.h"

#include <openssl/crypto.h>
#include <openssl/rand.h>

#include <algorithm>
#include <array>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <utility>

namespace veltrane::sandbox {
namespace {

constexpr std::size_t kRemembered = 10'000;

std::string randomText() {
  std::array<unsigned char, 16> bytes{};
  if (RAND_bytes(bytes.data(), static_cast<int>(bytes.size())) != 1) {
    throw std::runtime_error("no random numbers");
  }
  std::string text;
  for (const unsigned char byte : bytes) {
    text += "0123456789abcdef"[byte >> 4];
    text += "0123456789abcdef"[byte & 0x0F];
  }
  return text;
}

bool isSame(const std::string& one, const std::string& other) {
  return one.size() == other.size() && CRYPTO_memcmp(one.data(), other.data(), one.size()) == 0;
}

Reply truth(Challenge::State state) {
  Reply reply;
  reply.text = nlohmann::json{{"status", statusWord(state)}}.dump();
  return reply;
}

/// The step for the n-th question, counted from 0; null behind the last one.
const StatusStep* stepFor(const std::vector<StatusStep>& steps, std::size_t question) {
  for (const StatusStep& step : steps) {
    if (question < step.times) return &step;
    question -= step.times;
  }
  return nullptr;
}

}  // namespace

struct Challenges::Entry {
  Challenge challenge;
  std::string name;
  std::shared_ptr<const Flow> flow;  // keeps `plan` alive
  const ChallengePlan* plan = nullptr;
  PlaceholderValues values;
  Clock::time_point begin;
  std::size_t questions = 0;
};

const char* statusWord(Challenge::State state) {
  switch (state) {
    case Challenge::State::open:
      return "inProgress";
    case Challenge::State::approved:
      return "approved";
    case Challenge::State::denied:
      return "denied";
    case Challenge::State::expired:
      return "expired";
  }
  return "";
}

Challenges::Challenges(Now now) : now_(std::move(now)) {}
Challenges::~Challenges() = default;

std::string Challenges::open(const std::shared_ptr<const Flow>& flow, const std::string& name,
                             const PlaceholderValues& values) {
  const ChallengePlan& plan = flow->challenges.at(name);
  Challenge challenge{.id = randomText(),
                      .token = randomText(),
                      .purpose = filledPlain(plan.purpose, values),
                      .companyId = values.companyId,
                      .interactionId = values.interactionId,
                      .openedAt = std::chrono::system_clock::now()};
  const std::string id = challenge.id;
  const std::lock_guard lock(mutex_);
  order_.push_back(id);
  entries_.emplace(id, Entry{.challenge = std::move(challenge),
                             .name = name,
                             .flow = flow,
                             .plan = &plan,
                             .values = values,
                             .begin = now_()});
  if (order_.size() > kRemembered) forgetOldest();
  return id;
}

void Challenges::forgetOldest() {
  entries_.erase(order_.front());
  order_.pop_front();
}

void Challenges::settle(Entry& entry) const {
  Challenge& challenge = entry.challenge;
  challenge.age = std::chrono::duration_cast<std::chrono::milliseconds>(now_() - entry.begin);
  if (challenge.state != Challenge::State::open) return;
  const auto& itself = entry.plan->answersItself;
  const bool ownAnswerDue = itself && challenge.age >= itself->after;
  // Whichever of the two comes first, for nobody may have looked in between.
  if (ownAnswerDue && itself->after <= entry.plan->openFor) {
    challenge.state = itself->approves ? Challenge::State::approved : Challenge::State::denied;
  } else if (challenge.age >= entry.plan->openFor) {
    challenge.state = Challenge::State::expired;
  }
}

Challenge Challenges::seen(Entry& entry) const {
  settle(entry);
  return entry.challenge;
}

std::optional<Challenge> Challenges::find(const std::string& id) const {
  const std::lock_guard lock(mutex_);
  const auto entry = entries_.find(id);
  if (entry == entries_.end()) return std::nullopt;
  return seen(entry->second);
}

std::vector<Challenge> Challenges::openOnes() const {
  const std::lock_guard lock(mutex_);
  std::vector<Challenge> open;
  for (const std::string& id : order_) {
    Challenge challenge = seen(entries_.at(id));
    if (challenge.state == Challenge::State::open) open.push_back(std::move(challenge));
  }
  return open;
}

std::string Challenges::stateOf(const std::string& interactionId, const std::string& name) const {
  const std::lock_guard lock(mutex_);
  for (auto id = order_.rbegin(); id != order_.rend(); ++id) {
    Entry& entry = entries_.at(*id);
    if (entry.name == name && entry.challenge.interactionId == interactionId) {
      return statusWord(seen(entry).state);
    }
  }
  return "";
}

Challenges::Outcome Challenges::answer(const std::string& id, const std::string& token,
                                       bool approve) {
  const std::lock_guard lock(mutex_);
  const auto found = entries_.find(id);
  if (found == entries_.end()) return Outcome::unknown;
  Entry& entry = found->second;
  if (!isSame(token, entry.challenge.token)) return Outcome::wrongToken;
  settle(entry);
  if (entry.challenge.state != Challenge::State::open) return Outcome::late;
  entry.challenge.state = approve ? Challenge::State::approved : Challenge::State::denied;
  return Outcome::taken;
}

std::optional<Challenges::StatusAnswer> Challenges::nextStatus(const std::string& id) {
  const std::lock_guard lock(mutex_);
  const auto found = entries_.find(id);
  if (found == entries_.end()) return std::nullopt;
  Entry& entry = found->second;
  const StatusStep* step = stepFor(entry.plan->status, entry.questions++);
  auto reply = step && step->reply ? std::shared_ptr<const Reply>(entry.flow, &*step->reply)
                                   : std::make_shared<const Reply>(truth(seen(entry).state));
  return StatusAnswer{.flow = entry.flow, .reply = std::move(reply), .values = entry.values};
}

}  // namespace veltrane::sandbox
