#include "platform/authenticator/secret_service_library.h"

#include <dlfcn.h>

#include <stdexcept>

namespace veltrane::authenticator {
namespace {

/// In libsecret or what it was linked with: with its own GLib there can be no mix-up.
template <typename Function>
void find(void* library, const char* name, Function& function) {
  function = reinterpret_cast<Function>(dlsym(library, name));
  if (!function) throw std::runtime_error(dlerror());
}

SecretFunctions loadAll() {
  void* library = dlopen("libsecret-1.so.0", RTLD_LAZY | RTLD_LOCAL);
  if (!library) throw std::runtime_error(dlerror());
  SecretFunctions found;
#define VELTRANE_SECRET_FIND(name) find(library, #name, found.name);
  VELTRANE_SECRET_FUNCTIONS(VELTRANE_SECRET_FIND)
#undef VELTRANE_SECRET_FIND
  return found;
}

}  // namespace

const SecretFunctions& libsecret() {
  static const SecretFunctions functions = loadAll();
  return functions;
}

}  // namespace veltrane::authenticator
