#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "platform/pictures/orientation.h"
#include "veltrane/toolkit/picture.h"

namespace veltrane::pictures {

/// A picture as it lies in its file: colours may be not yet premultiplied, and it may lie on its
/// side.
struct Decoded {
  Picture picture;
  bool isPremultiplied = false;
  Orientation orientation = Orientation::upright;
};

/// Each expects bytes that start as its format does. Nothing for a picture that is damaged, cut
/// short or not bearable; its size is known before memory is taken for it. May throw
/// std::bad_alloc, nothing else.
std::optional<Decoded> decodePNG(std::string_view bytes);
std::optional<Decoded> decodeJPEG(std::string_view bytes);
std::optional<Decoded> decodeWebP(std::string_view bytes);
std::optional<Decoded> decodeGIF(std::string_view bytes);

}  // namespace veltrane::pictures
