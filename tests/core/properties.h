#pragma once

#include <string>
#include <vector>

namespace veltrane::testing {

/// Members of a property set, each as its JSON text.
using Properties = std::vector<std::string>;

inline std::string joined(const Properties& properties) {
  std::string text;
  for (const auto& each : properties) text += (text.empty() ? "" : ",") + each;
  return text;
}

}  // namespace veltrane::testing
