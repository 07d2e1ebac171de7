#pragma once

#include <string_view>

#include "bench/document_generator.h"

namespace veltrane::bench {

/// The two sides that are compared, freeing included. Both return something of what they made, so
/// that nothing of it can be left out.
std::size_t documentToRows(std::string_view text);
std::size_t bareParse(std::string_view text);

/// Our side without the rows: the parse alone.
std::size_t coreParse(std::string_view text);

}  // namespace veltrane::bench
