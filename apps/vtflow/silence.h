#pragma once

#include <string_view>

#include "veltrane/base/console.h"

namespace veltrane::tool {

/// The console of what tells all there is to tell by itself.
class Silence final : public ConsoleSink {
 public:
  void print(std::string_view /*line*/) override {}
};

}  // namespace veltrane::tool
