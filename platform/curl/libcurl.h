#pragma once

#include <curl/curl.h>
#include <openssl/ssl.h>

namespace veltrane::curl {

// A program that links libcurl waits for it and some thirty libraries behind it before its `main`
// runs, for longer than the first screen of a flow takes to be drawn. So they are loaded by the
// transport's thread, and called through these tables.
#define VELTRANE_CURL_FUNCTIONS(each)                                                              \
  each(global_init) each(version_info) each(free) each(slist_append) each(slist_free_all)          \
      each(share_init) each(share_setopt) each(share_cleanup) each(multi_init) each(multi_cleanup) \
          each(multi_add_handle) each(multi_remove_handle) each(multi_perform)                     \
              each(multi_info_read) each(multi_poll) each(multi_wakeup) each(easy_init)            \
                  each(easy_cleanup) each(easy_setopt) each(easy_getinfo) each(easy_header)        \
                      each(easy_strerror) each(url) each(url_set) each(url_get) each(url_cleanup)
#define VELTRANE_CURL_SSL_FUNCTIONS(each)                                     \
  each(CTX_up_ref) each(CTX_free) each(CTX_set_ex_data) each(CTX_get_ex_data) \
      each(CTX_set_info_callback) each(get_SSL_CTX)

#define VELTRANE_CURL_MEMBER(name) decltype(&::curl_##name) name = nullptr;
#define VELTRANE_CURL_SSL_MEMBER(name) decltype(&::SSL_##name) name = nullptr;

/// libcurl's functions without their prefix: `api().easy_init()` is `curl_easy_init()`.
struct Functions {
  VELTRANE_CURL_FUNCTIONS(VELTRANE_CURL_MEMBER)
};
/// Those of the OpenSSL that libcurl itself uses.
struct SslFunctions {
  VELTRANE_CURL_SSL_FUNCTIONS(VELTRANE_CURL_SSL_MEMBER)
};

#undef VELTRANE_CURL_MEMBER
#undef VELTRANE_CURL_SSL_MEMBER

/// Loads and initialises libcurl, once; it stays until the program ends. Throws
/// std::runtime_error, saying why for people, if it cannot be had or is too old. Any thread.
void load();
/// Whether `load` has returned.
bool isLoaded();

/// After `load` returned.
const Functions& api();
/// The same; null with a libcurl that uses another TLS library.
const SslFunctions* openssl();

}  // namespace veltrane::curl
