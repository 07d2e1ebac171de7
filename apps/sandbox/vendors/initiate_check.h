#pragma once

#include <string>

#include "apps/sandbox/request_log.h"

namespace veltrane::sandbox {

/// A document scan or a face check that somebody asks for, as it should be.
struct Initiation {
  std::string apiToken;
  std::string customerInternalReference;
  std::string locale;
};

bool isInitiation(const std::string& path);

/// Holds an initiate call to its form: method, account, headers and body, in this order. Throws
/// Refusal, with 401 for the account.
Initiation checkedInitiation(const RecordedRequest& request);

}  // namespace veltrane::sandbox
