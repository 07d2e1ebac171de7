#include <gif_lib.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <vector>

#include "platform/pictures/decoders.h"
#include "platform/pictures/pixels.h"

namespace veltrane::pictures {
namespace {

struct Close {
  void operator()(GifFileType* gif) const { DGifCloseFile(gif, nullptr); }
};
using Gif = std::unique_ptr<GifFileType, Close>;

/// No GIF stream grows by more than this: a code of 12 bits stands for at most 4,096 pixels.
constexpr std::int64_t kMaxGrowth = 4096;
/// A canvas costs its file nothing, and a frame need not fill it: a small file is believed as many
/// pixels as one of this size would be, which take 16 MiB.
constexpr std::size_t kSmallestFile = 1024;

/// Whether so many pixels are likely in a file of this size: a few bytes need not cost 256 MiB.
bool isPlausible(PixelSize size, std::size_t fileSize) {
  return std::int64_t{size.width} * size.height / kMaxGrowth <= static_cast<std::int64_t>(fileSize);
}

int readBytes(GifFileType* gif, GifByteType* data, int size) {
  auto& left = *static_cast<std::string_view*>(gif->UserData);
  const std::size_t count = std::min(left.size(), static_cast<std::size_t>(std::max(size, 0)));
  std::memcpy(data, left.data(), count);
  left.remove_prefix(count);
  return static_cast<int>(count);
}

/// Reads one extension; takes the index of the transparent colour out of the one that has it.
bool readExtension(GifFileType* gif, int& transparent) {
  int code = 0;
  GifByteType* block = nullptr;
  if (DGifGetExtension(gif, &code, &block) != GIF_OK) return false;
  while (block) {
    GraphicsControlBlock control{};
    if (code == GRAPHICS_EXT_FUNC_CODE &&
        DGifExtensionToGCB(block[0], block + 1, &control) == GIF_OK) {
      transparent = control.TransparentColor;
    }
    if (DGifGetExtensionNext(gif, &block) != GIF_OK) return false;
  }
  return true;
}

/// Reads up to the first frame; its place and colours are in `gif` then.
bool findFrame(GifFileType* gif, int& transparent) {
  GifRecordType type = UNDEFINED_RECORD_TYPE;
  while (DGifGetRecordType(gif, &type) == GIF_OK) {
    if (type == IMAGE_DESC_RECORD_TYPE) return DGifGetImageDesc(gif) == GIF_OK;
    if (type != EXTENSION_RECORD_TYPE || !readExtension(gif, transparent)) return false;
  }
  return false;
}

struct Pass {
  int start;
  int step;
};
constexpr Pass kWhole[] = {{0, 1}};
constexpr Pass kInterlaced[] = {{0, 8}, {4, 8}, {2, 4}, {1, 2}};

class Frame {
 public:
  Frame(GifFileType* gif, int transparent) : gif_(gif), transparent_(transparent) {
    colors_ = gif->Image.ColorMap ? gif->Image.ColorMap : gif->SColorMap;
  }

  bool isBearable(std::size_t fileSize) const {
    const PixelSize size{gif_->Image.Width, gif_->Image.Height};
    return colors_ && veltrane::isBearable(size) && isPlausible(size, fileSize);
  }

  bool read(Picture& picture) {
    line_.resize(static_cast<std::size_t>(gif_->Image.Width));
    if (!gif_->Image.Interlace) return readPass(picture, kWhole[0]);
    return std::all_of(std::begin(kInterlaced), std::end(kInterlaced),
                       [&](Pass pass) { return readPass(picture, pass); });
  }

 private:
  bool readPass(Picture& picture, Pass pass) {
    for (int y = pass.start; y < gif_->Image.Height; y += pass.step) {
      if (DGifGetLine(gif_, line_.data(), gif_->Image.Width) != GIF_OK) return false;
      paint(picture, y + gif_->Image.Top);
    }
    return true;
  }

  /// What lies beyond the picture's edge is lost.
  void paint(Picture& picture, int y) const {
    if (y < 0 || y >= picture.size.height) return;
    const int left = gif_->Image.Left;
    const int end = std::min(gif_->Image.Width, picture.size.width - left);
    for (int x = std::max(0, -left); x < end; ++x) {
      const int index = line_[static_cast<std::size_t>(x)];
      if (index == transparent_ || index >= colors_->ColorCount) continue;
      const GifColorType& color = colors_->Colors[index];
      const std::uint8_t pixel[] = {color.Red, color.Green, color.Blue, 255};
      std::memcpy(row(picture, y) + Picture::kBytesAPixel * static_cast<std::size_t>(left + x),
                  pixel, sizeof pixel);
    }
  }

  GifFileType* gif_;
  const ColorMapObject* colors_;
  int transparent_;
  std::vector<GifPixelType> line_;
};

}  // namespace

std::optional<Decoded> decodeGIF(std::string_view bytes) {
  std::string_view left = bytes;
  int error = 0;
  const Gif gif(DGifOpen(&left, readBytes, &error));
  int transparent = NO_TRANSPARENT_COLOR;
  if (!gif || !findFrame(gif.get(), transparent)) return std::nullopt;
  Frame frame(gif.get(), transparent);
  const PixelSize size{gif->SWidth, gif->SHeight};
  const bool fits = isBearable(size) && isPlausible(size, std::max(bytes.size(), kSmallestFile));
  if (!fits || !frame.isBearable(bytes.size())) return std::nullopt;
  Decoded decoded{.picture = blank(size), .isPremultiplied = true};
  // Something follows a frame, the end mark if nothing else.
  GifRecordType next = UNDEFINED_RECORD_TYPE;
  if (!frame.read(decoded.picture) || DGifGetRecordType(gif.get(), &next) != GIF_OK) {
    return std::nullopt;
  }
  return decoded;
}

}  // namespace veltrane::pictures
