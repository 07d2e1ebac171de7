#include "veltrane/base/fatal.h"

#include <cstdlib>
#include <iostream>

namespace veltrane {

void fatal(std::string_view message) noexcept {
  std::cerr << "Fatal error: " << message << std::endl;
  std::abort();
}

}  // namespace veltrane
