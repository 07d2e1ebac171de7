#include "apps/sandbox/runs.h"

#include <algorithm>
#include <utility>

namespace veltrane::sandbox {
namespace {

constexpr std::size_t kRemembered = 10'000;

}  // namespace

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
