#pragma once

#include <cstddef>
#include <deque>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace veltrane::sandbox {

/// A request as it came in, before it was judged: wrong ones are recorded as well.
struct RecordedRequest {
  std::string method;
  std::string path;  ///< With its query, as sent.
  std::string body;
  std::vector<std::pair<std::string, std::string>>
      headers;  ///< Ordered by name, without regard to case.

  /// The value of the first header of that name, without regard to case; empty when there is none.
  std::string header(const std::string& name) const;
};

/// The latest requests, in the order in which they came: as many as take up `maxBytes` of memory at
/// most. Any thread.
class RequestLog {
 public:
  /// 0: nothing is ever kept.
  explicit RequestLog(std::size_t maxBytes) : maxBytes_(maxBytes) {}

  void add(const RecordedRequest& request);
  std::vector<RecordedRequest> all() const;
  void clear();

 private:
  const std::size_t maxBytes_;
  mutable std::mutex mutex_;
  std::deque<RecordedRequest> requests_;
  std::size_t bytes_ = 0;
};

}  // namespace veltrane::sandbox
