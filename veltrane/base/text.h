#pragma once

#include <cstddef>
#include <string_view>

namespace veltrane {

/// Without Unicode white space at both ends. Reads UTF-8; ill-formed bytes are no white space.
std::string_view trimmed(std::string_view text);

/// Code points in UTF-8 text; an ill-formed byte counts as one.
std::size_t codePointCount(std::string_view text);

}  // namespace veltrane
