#include "platform/curl/farewell.h"

namespace veltrane::curl {
namespace {

// What the macros of OpenSSL call "app data".
constexpr int kAppData = 0;

/// Whether the body lasted until the stream ended, for want of any other mark.
bool endsWithTheStream(CURL* easy) {
  long status = 0;
  curl_off_t length = -1;
  api().easy_getinfo(easy, CURLINFO_RESPONSE_CODE, &status);
  api().easy_getinfo(easy, CURLINFO_CONTENT_LENGTH_DOWNLOAD_T, &length);
  curl_header* encoding = nullptr;
  const bool chunked =
      api().easy_header(easy, "Transfer-Encoding", 0, CURLH_HEADER, -1, &encoding) == CURLHE_OK;
  return length < 0 && !chunked && status != 204 && status != 304;
}

}  // namespace

void Farewell::watch(CURL* easy) {
  if (!openssl()) return;
  api().easy_setopt(easy, CURLOPT_SSL_CTX_FUNCTION, &Farewell::onContext);
  api().easy_setopt(easy, CURLOPT_SSL_CTX_DATA, this);
}

CURLcode Farewell::onContext(CURL*, void* context, void* self) {
  auto* const farewell = static_cast<Farewell*>(self);
  auto* const tls = static_cast<SSL_CTX*>(context);
  farewell->detach();
  openssl()->CTX_up_ref(tls);
  farewell->context_ = tls;
  openssl()->CTX_set_ex_data(tls, kAppData, farewell);
  openssl()->CTX_set_info_callback(tls, [](const SSL* stream, int event, int alert) {
    constexpr int kDescription = 0xff;
    if (event != SSL_CB_READ_ALERT || (alert & kDescription) != SSL_AD_CLOSE_NOTIFY) return;
    auto* const owner = static_cast<Farewell*>(
        openssl()->CTX_get_ex_data(openssl()->get_SSL_CTX(stream), kAppData));
    if (owner) owner->received_ = true;
  });
  return CURLE_OK;
}

// libcurl may keep the stream for longer than the transfer, to say goodbye.
void Farewell::detach() {
  if (!context_) return;
  openssl()->CTX_set_ex_data(context_, kAppData, nullptr);
  openssl()->CTX_free(context_);
  context_ = nullptr;
}

bool Farewell::vouchesFor(CURL* easy) const {
  return !context_ || received_ || !endsWithTheStream(easy);
}

}  // namespace veltrane::curl
