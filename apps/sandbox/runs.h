#pragma once

#include <cstddef>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "apps/sandbox/flow.h"

namespace veltrane::sandbox {

/// A flow that a client has started.
struct Run {
  std::string flowId;
  std::shared_ptr<const Flow> flow;
  /// The documents sent to the client under this interaction, the latest last.
  std::vector<DocumentIds> documents;
};

/// The runs by interaction. Remembers the latest ten thousand. Any thread.
class Runs {
 public:
  /// A document is about to be sent under its interaction.
  void add(const std::string& flowId, std::shared_ptr<const Flow> flow, DocumentIds document);

  std::optional<Run> find(const std::string& interactionId) const;

 private:
  void forgetOldest();

  mutable std::mutex mutex_;
  std::map<std::string, Run> runs_;
  std::deque<std::string> order_;
};

}  // namespace veltrane::sandbox
