#pragma once

#include <string>

namespace veltrane::sandbox {

/// The text as it may stand in HTML, in an attribute's value too.
std::string escapedHtml(const std::string& text);

}  // namespace veltrane::sandbox
