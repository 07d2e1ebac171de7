#include "platform/curl/libcurl.h"

#ifdef VELTRANE_LOAD_LATE
#include <dlfcn.h>
#endif

#include <atomic>
#include <stdexcept>
#include <string>
#include <string_view>

namespace veltrane::curl {
namespace {

struct Library {
  Functions functions;
  SslFunctions ssl;
  bool hasOpenSSL = false;
};

std::atomic<const Library*> loaded = nullptr;

#ifdef VELTRANE_LOAD_LATE

/// By the name that the loader finds it under when it is linked, no path: who could put another one
/// in its place could do so there too.
void* open() {
  void* library = dlopen("libcurl.so.4", RTLD_LAZY | RTLD_LOCAL);
  if (!library) throw std::runtime_error(dlerror());
  return library;
}

/// In the library or what it was linked with: with libcurl's own OpenSSL there can be no mix-up.
template <typename Function>
void find(void* library, const char* name, Function& function) {
  function = reinterpret_cast<Function>(dlsym(library, name));
  if (!function) throw std::runtime_error(dlerror());
}

#define VELTRANE_FIND(name) find(library, "curl_" #name, found.functions.name);
#define VELTRANE_FIND_SSL(name) find(library, "SSL_" #name, found.ssl.name);

#else

void* open() {
  return nullptr;
}

#define VELTRANE_FIND(name) found.functions.name = &::curl_##name;
#define VELTRANE_FIND_SSL(name) found.ssl.name = &::SSL_##name;

#endif

bool usesOpenSSL(const curl_version_info_data& info) {
  return info.ssl_version && std::string_view(info.ssl_version).starts_with("OpenSSL/");
}

Library loadAll() {
  [[maybe_unused]] void* const library = open();
  Library found;
  VELTRANE_CURL_FUNCTIONS(VELTRANE_FIND)
  // An older one would not heed every option that is set.
  constexpr unsigned kLeast = CURL_VERSION_BITS(7, 87, 0);
  const auto& info = *found.functions.version_info(CURLVERSION_NOW);
  if (info.version_num < kLeast) {
    throw std::runtime_error("libcurl " + std::string(info.version) + " is too old");
  }
  found.hasOpenSSL = usesOpenSSL(info);
  if (found.hasOpenSSL) {
    VELTRANE_CURL_SSL_FUNCTIONS(VELTRANE_FIND_SSL)
  }
  if (found.functions.global_init(CURL_GLOBAL_DEFAULT) != CURLE_OK) {
    throw std::runtime_error("libcurl could not be started");
  }
  return found;
}

}  // namespace

void load() {
  static const Library library = loadAll();
  loaded = &library;
}

bool isLoaded() {
  return loaded.load() != nullptr;
}

const Functions& api() {
  return loaded.load()->functions;
}

const SslFunctions* openssl() {
  const auto* library = loaded.load();
  return library->hasOpenSSL ? &library->ssl : nullptr;
}

}  // namespace veltrane::curl
