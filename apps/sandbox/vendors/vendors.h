#pragma once

#include <cstddef>
#include <deque>
#include <memory>
#include <mutex>
#include <string>

#include "apps/sandbox/flow.h"
#include "apps/sandbox/request_log.h"
#include "apps/sandbox/vendors/initiate_check.h"

namespace veltrane::sandbox {

/// Somebody's document scan or face check. Who knows the authorization token may open its page.
struct Transaction {
  std::string authorizationToken;
  std::string reference;
  Initiation initiation;
};

/// Stand-ins for identity vendors: their servers, and the pages and the script of their web clients
/// (README.md). Remembers the latest thousand transactions. Any thread.
class Vendors {
 public:
  static bool isItsPath(const std::string& path);

  /// `port`: of the server. Throws Refusal.
  Reply answer(const RecordedRequest& request, int port);

 private:
  Reply initiate(const RecordedRequest& request, int port);
  Reply page(const std::string& authorizationToken, const RecordedRequest& request, int port) const;
  Transaction begin(const Initiation& initiation);
  Transaction find(const std::string& authorizationToken) const;

  mutable std::mutex mutex_;  // guards what follows
  std::deque<Transaction> transactions_;
};

}  // namespace veltrane::sandbox
