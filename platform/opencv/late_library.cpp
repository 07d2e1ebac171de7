#include "platform/opencv/late_library.h"

#include <dlfcn.h>

namespace veltrane::opencv {

void* findLate(const char* library, const char* symbol, std::string& error) {
  void* const opened = dlopen(library, RTLD_LAZY | RTLD_LOCAL);
  void* const found = opened ? dlsym(opened, symbol) : nullptr;
  if (!found) {
    const char* const reason = dlerror();
    error = reason ? reason : "it is of another version";
  }
  return found;
}

}  // namespace veltrane::opencv
