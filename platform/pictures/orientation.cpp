#include "platform/pictures/orientation.h"

#include <libexif/exif-data.h>

#include <cstring>
#include <memory>
#include <string>

#include "platform/pictures/pixels.h"

namespace veltrane::pictures {
namespace {

constexpr std::string_view kHeader("Exif\0\0", 6);
/// What fits in a JPEG's marker; the other formats set no limit.
constexpr std::size_t kMaxExif = 65535;

struct FreeExif {
  void operator()(ExifData* data) const { exif_data_unref(data); }
};

/// Where the pixels of the upright picture come from: the offset of the first one, and how far it
/// is to the next one of a row and of a column, all in pixels of the stored picture.
struct Walk {
  std::ptrdiff_t start;
  std::ptrdiff_t right;
  std::ptrdiff_t down;
};

Walk walk(PixelSize stored, Orientation orientation) {
  const std::ptrdiff_t width = stored.width;
  const std::ptrdiff_t lastColumn = width - 1;
  const std::ptrdiff_t lastRow = (stored.height - 1) * width;
  switch (orientation) {
    case Orientation::upright:
      return {0, 1, width};
    case Orientation::mirrored:
      return {lastColumn, -1, width};
    case Orientation::upsideDown:
      return {lastRow + lastColumn, -1, -width};
    case Orientation::flipped:
      return {lastRow, 1, -width};
    case Orientation::transposed:
      return {0, width, 1};
    case Orientation::turnedRight:
      return {lastRow, -width, 1};
    case Orientation::transversed:
      return {lastRow + lastColumn, -width, -1};
    case Orientation::turnedLeft:
      return {lastColumn, width, -1};
  }
  return {0, 1, width};
}

}  // namespace

Orientation orientationOf(std::string_view exif) {
  if (exif.empty() || exif.size() > kMaxExif) return Orientation::upright;
  std::string data(exif.starts_with(kHeader) ? "" : kHeader);
  data.append(exif);
  const std::unique_ptr<ExifData, FreeExif> parsed(exif_data_new_from_data(
      reinterpret_cast<const unsigned char*>(data.data()), static_cast<unsigned>(data.size())));
  if (!parsed) return Orientation::upright;
  const ExifEntry* entry = exif_content_get_entry(parsed->ifd[EXIF_IFD_0], EXIF_TAG_ORIENTATION);
  if (!entry || entry->format != EXIF_FORMAT_SHORT || entry->size < 2) return Orientation::upright;
  const ExifShort value = exif_get_short(entry->data, exif_data_get_byte_order(parsed.get()));
  return value >= 1 && value <= 8 ? static_cast<Orientation>(value) : Orientation::upright;
}

Picture turned(Picture picture, Orientation orientation) {
  if (orientation == Orientation::upright) return picture;
  const bool swaps = orientation >= Orientation::transposed;
  const PixelSize size = swaps ? PixelSize{picture.size.height, picture.size.width} : picture.size;
  const Walk way = walk(picture.size, orientation);
  Picture result = unwritten(size);
  result.isOpaque = picture.isOpaque;
  for (int y = 0; y < size.height; ++y) {
    std::uint8_t* to = row(result, y);
    std::ptrdiff_t from = way.start + y * way.down;
    for (int x = 0; x < size.width; ++x, from += way.right, to += Picture::kBytesAPixel) {
      std::memcpy(to, picture.pixels.data() + from * std::ptrdiff_t{Picture::kBytesAPixel},
                  Picture::kBytesAPixel);
    }
  }
  return result;
}

}  // namespace veltrane::pictures
