#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace veltrane::bench {

struct GeneratedDocument {
  std::string text;
  std::size_t userViews = 0;
  /// Rows of all user views together.
  std::size_t rows = 0;
};

/// A flow document as servers send them: user views with a property set each, between 12 and 28
/// rows a view, about 195 bytes a row. The same size and seed always give the same text, on every
/// platform.
///
/// `bytes`: the least length of the text; it ends with the first whole user view beyond it.
GeneratedDocument generateDocument(std::size_t bytes, std::uint32_t seed = 20240229);

/// One user view with so many component rows, a title and a button; for screens of a given length.
GeneratedDocument generateScreen(std::size_t componentRows, std::uint32_t seed = 20240229);

}  // namespace veltrane::bench
