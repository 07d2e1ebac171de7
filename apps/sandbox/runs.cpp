#include "apps/sandbox/runs.h"

#include <openssl/rand.h>

#include <algorithm>
#include <array>
#include <stdexcept>
#include <utility>

namespace veltrane::sandbox {
namespace {

constexpr std::size_t kRemembered = 10'000;

}  // namespace

std::string Runs::newInteractionId() {
  std::array<unsigned char, 16> bytes{};
  if (RAND_bytes(bytes.data(), static_cast<int>(bytes.size())) != 1) {
    throw std::runtime_error("no random numbers");
  }
  bytes[6] = static_cast<unsigned char>((bytes[6] & 0x0F) | 0x40);
  bytes[8] = static_cast<unsigned char>((bytes[8] & 0x3F) | 0x80);
  std::string id;
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    if (i == 4 || i == 6 || i == 8 || i == 10) id += '-';
    id += "0123456789abcdef"[bytes[i] >> 4];
    id += "0123456789abcdef"[bytes[i] & 0x0F];
  }
  return id;
}

void Runs::add(const std::string& flowId, std::shared_ptr<const Flow> flow, DocumentIds document) {
  const std::lock_guard lock(mutex_);
  const auto [entry, isNew] = runs_.try_emplace(document.interactionId);
  if (isNew) order_.push_back(document.interactionId);
  Run& run = entry->second;
  run.flowId = flowId;
  run.flow = std::move(flow);
  std::erase(run.documents, document);
  run.documents.push_back(std::move(document));
  if (order_.size() > kRemembered) forgetOldest();
}

void Runs::forgetOldest() {
  runs_.erase(order_.front());
  order_.pop_front();
}

std::optional<Run> Runs::find(const std::string& interactionId) const {
  const std::lock_guard lock(mutex_);
  const auto entry = runs_.find(interactionId);
  if (entry == runs_.end()) return std::nullopt;
  return entry->second;
}

}  // namespace veltrane::sandbox
