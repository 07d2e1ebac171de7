#include "platform/opencv/late_library.h"

#include <dlfcn.h>

#ifdef __SANITIZE_THREAD__
// OpenCV's reader of pictures sets up GDAL, which takes two locks of its own in either order.
extern "C" const char* __tsan_default_suppressions();  // NOLINT(bugprone-reserved-identifier)
const char* __tsan_default_suppressions() {            // NOLINT(bugprone-reserved-identifier)
  return "deadlock:libgdal.so\n";
}
#endif

namespace veltrane::opencv {

WithoutSignals::WithoutSignals() {
  sigset_t held;
  sigfillset(&held);
  // What a fault of the thread itself raises goes where it always does.
  for (const int fault : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGTRAP, SIGABRT, SIGSYS}) {
    sigdelset(&held, fault);
  }
  pthread_sigmask(SIG_BLOCK, &held, &former_);
}

WithoutSignals::~WithoutSignals() {
  pthread_sigmask(SIG_SETMASK, &former_, nullptr);
}

void* findLate(const char* library, const char* symbol, std::string& error) {
  const WithoutSignals held;
  void* const opened = dlopen(library, RTLD_LAZY | RTLD_LOCAL);
  void* const found = opened ? dlsym(opened, symbol) : nullptr;
  if (!found) {
    const char* const reason = dlerror();
    error = reason ? reason : "it is of another version";
  }
  return found;
}

}  // namespace veltrane::opencv
