#include "platform/curl/trust.h"

#include <unistd.h>

namespace veltrane::curl {
namespace {

std::string systemBundle() {
  const auto* info = api().version_info(CURLVERSION_NOW);
  const char* bundle = info->age >= CURLVERSION_SEVENTH ? info->cainfo : nullptr;
  return bundle && access(bundle, R_OK) == 0 ? bundle : "";
}

}  // namespace

Trust::Trust(const Options& options)
    : bundle_(options.authorityFile ? options.authorityFile->string() : systemBundle()) {}

void Trust::apply(CURL* easy) const {
  api().easy_setopt(easy, CURLOPT_SSL_VERIFYPEER, 1L);
  api().easy_setopt(easy, CURLOPT_SSL_VERIFYHOST, 2L);
  api().easy_setopt(easy, CURLOPT_SSLVERSION, static_cast<long>(CURL_SSLVERSION_TLSv1_2));
  if (bundle_.empty()) return;
  api().easy_setopt(easy, CURLOPT_CAINFO, bundle_.c_str());
  // The system's folder of authorities would be trusted beside the bundle, and keeps libcurl from
  // parsing the bundle once instead of for each connection.
  api().easy_setopt(easy, CURLOPT_CAPATH, nullptr);
}

}  // namespace veltrane::curl
