#include "apps/sandbox/request_log.h"

#include <strings.h>

#include <algorithm>

namespace veltrane::sandbox {
namespace {

std::size_t bytesOf(const RecordedRequest& request) {
  std::size_t bytes =
      sizeof request + request.method.size() + request.path.size() + request.body.size();
  for (const auto& header : request.headers) {
    bytes += sizeof header + header.first.size() + header.second.size();
  }
  return bytes;
}

}  // namespace

std::string RecordedRequest::header(const std::string& name) const {
  const auto entry = std::find_if(headers.begin(), headers.end(), [&](const auto& header) {
    return ::strcasecmp(header.first.c_str(), name.c_str()) == 0;
  });
  return entry == headers.end() ? std::string() : entry->second;
}

void RequestLog::add(const RecordedRequest& request) {
  if (maxBytes_ == 0) return;
  const std::lock_guard lock(mutex_);
  requests_.push_back(request);
  bytes_ += bytesOf(request);
  while (bytes_ > maxBytes_) {
    bytes_ -= bytesOf(requests_.front());
    requests_.pop_front();
  }
}

std::vector<RecordedRequest> RequestLog::all() const {
  const std::lock_guard lock(mutex_);
  return {requests_.begin(), requests_.end()};
}

void RequestLog::clear() {
  const std::lock_guard lock(mutex_);
  requests_.clear();
  bytes_ = 0;
}

}  // namespace veltrane::sandbox
