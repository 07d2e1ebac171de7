#include "veltrane/base/wipe.h"

#include <cstring>

namespace veltrane {

void wipe(void* bytes, std::size_t count) noexcept {
  // Through a pointer that may change at any time, as far as the compiler knows: a call that it
  // cannot look into cannot be left out either.
  static void* (*const volatile fill)(void*, int, std::size_t) = std::memset;
  if (count > 0) fill(bytes, 0, count);
}

}  // namespace veltrane
