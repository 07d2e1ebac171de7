#include "platform/authenticator/tpm_library.h"

#include <dlfcn.h>

#include <stdexcept>

namespace veltrane::authenticator {
namespace {

void* open(const char* name) {
  void* library = dlopen(name, RTLD_LAZY | RTLD_LOCAL);
  if (!library) throw std::runtime_error(dlerror());
  return library;
}

template <typename Function>
void find(void* library, const char* name, Function& function) {
  function = reinterpret_cast<Function>(dlsym(library, name));
}

TPMFunctions loadAll() {
  // The first was linked with the part that marshals, which is found through it.
  void* const libraries[] = {open("libtss2-esys.so.0"), open("libtss2-tctildr.so.0")};
  TPMFunctions found;
#define VELTRANE_TPM_FIND(name)                        \
  for (void* library : libraries) {                    \
    if (!found.name) find(library, #name, found.name); \
  }                                                    \
  if (!found.name) throw std::runtime_error("tpm2-tss lacks " #name);
  VELTRANE_TPM_FUNCTIONS(VELTRANE_TPM_FIND)
#undef VELTRANE_TPM_FIND
  if (void* words = dlopen("libtss2-rc.so.0", RTLD_LAZY | RTLD_LOCAL)) {
    find(words, "Tss2_RC_Decode", found.Tss2_RC_Decode);
  }
  return found;
}

}  // namespace

const TPMFunctions& tpm2() {
  static const TPMFunctions functions = loadAll();
  return functions;
}

}  // namespace veltrane::authenticator
