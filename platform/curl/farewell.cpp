#include "platform/curl/farewell.h"

#include <openssl/ssl.h>

#include <string_view>

namespace veltrane::curl {
namespace {

bool usesOpenSSL() {
  const char* backend = curl_version_info(CURLVERSION_NOW)->ssl_version;
  return backend && std::string_view(backend).starts_with("OpenSSL/");
}

/// Whether the body lasted until the stream ended, for want of any other mark.
bool endsWithTheStream(CURL* easy) {
  long status = 0;
  curl_off_t length = -1;
  curl_easy_getinfo(easy, CURLINFO_RESPONSE_CODE, &status);
  curl_easy_getinfo(easy, CURLINFO_CONTENT_LENGTH_DOWNLOAD_T, &length);
  curl_header* encoding = nullptr;
  const bool chunked =
      curl_easy_header(easy, "Transfer-Encoding", 0, CURLH_HEADER, -1, &encoding) == CURLHE_OK;
  return length < 0 && !chunked && status != 204 && status != 304;
}

}  // namespace

void Farewell::watch(CURL* easy) {
  if (!usesOpenSSL()) return;
  curl_easy_setopt(easy, CURLOPT_SSL_CTX_FUNCTION, &Farewell::onContext);
  curl_easy_setopt(easy, CURLOPT_SSL_CTX_DATA, this);
}

CURLcode Farewell::onContext(CURL*, void* context, void* self) {
  auto* const farewell = static_cast<Farewell*>(self);
  auto* const tls = static_cast<SSL_CTX*>(context);
  farewell->detach();
  SSL_CTX_up_ref(tls);
  farewell->context_ = tls;
  SSL_CTX_set_app_data(tls, farewell);
  SSL_CTX_set_info_callback(tls, [](const SSL* stream, int event, int alert) {
    constexpr int kDescription = 0xff;
    if (event != SSL_CB_READ_ALERT || (alert & kDescription) != SSL_AD_CLOSE_NOTIFY) return;
    auto* const owner = static_cast<Farewell*>(SSL_CTX_get_app_data(SSL_get_SSL_CTX(stream)));
    if (owner) owner->received_ = true;
  });
  return CURLE_OK;
}

// libcurl may keep the stream for longer than the transfer, to say goodbye.
void Farewell::detach() {
  if (!context_) return;
  SSL_CTX_set_app_data(context_, nullptr);
  SSL_CTX_free(context_);
  context_ = nullptr;
}

bool Farewell::vouchesFor(CURL* easy) const {
  return !context_ || received_ || !endsWithTheStream(easy);
}

}  // namespace veltrane::curl
