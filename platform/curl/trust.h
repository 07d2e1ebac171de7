#pragma once

#include <string>

#include "platform/curl/curl_transport.h"
#include "platform/curl/libcurl.h"

namespace veltrane::curl {

/// Which certificate authorities are trusted.
class Trust {
 public:
  explicit Trust(const Options& options);

  void apply(CURL* easy) const;

 private:
  std::string bundle_;  // empty: libcurl's own defaults
};

}  // namespace veltrane::curl
