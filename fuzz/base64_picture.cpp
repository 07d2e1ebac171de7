// A server's text as a picture, Base64 or a data URL, and its bytes as they are: what is decoded
// can be scaled and written, and nothing takes more memory than a picture may.
#include "fuzz/world.h"
#include "platform/pictures/codec.h"
#include "veltrane/face/image.h"
#include "veltrane/platform.h"

namespace {

using namespace veltrane;

void requireSound(const Picture& picture) {
  fuzz::require(isBearable(picture.size));
  const auto count = std::size_t(picture.size.width) * std::size_t(picture.size.height);
  fuzz::require(picture.pixels.size() == count * Picture::kBytesAPixel);
  for (std::size_t i = 0; i < picture.pixels.size(); i += Picture::kBytesAPixel) {
    const std::uint8_t* pixel = &picture.pixels[i];
    fuzz::require(pixel[3] == 255 || !picture.isOpaque);
    fuzz::require(pixel[0] <= pixel[3] && pixel[1] <= pixel[3] && pixel[2] <= pixel[3]);
  }
}

void requireEncodes(const PictureCodec& codec, const Picture& picture) {
  const auto file = codec.encodePNG(picture);
  fuzz::require(file.has_value());
  const PicturePtr again = codec.decode(*file);
  fuzz::require(again && again->size == picture.size && again->pixels == picture.pixels);
}

/// `choice` is the fuzzer's: it says how, and to which size.
void requireScales(const PictureCodec& codec, const Picture& picture, std::size_t choice) {
  const PixelSize size{static_cast<int>(1 + choice % 61), static_cast<int>(1 + choice % 53)};
  const auto framework = static_cast<ResizeFramework>(choice % 5);
  const PicturePtr scaled = codec.resize(picture, size, framework);
  if (!scaled) return;
  fuzz::require(scaled->size == size);
  requireSound(*scaled);
}

void tryPicture(const PictureCodec& codec, const PicturePtr& picture, std::size_t choice) {
  if (!picture) return;
  // A large picture is decoded, since that is what a server may do; the rest would only cost time.
  if (picture->pixels.size() > std::size_t{1} << 20) return;
  requireSound(*picture);
  requireEncodes(codec, *picture);
  requireScales(codec, *picture, choice);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const auto codec = std::make_shared<pictures::Codec>();
  static const PlatformScope scope([] {
    Platform platform;
    platform.pictureCodec = codec;
    return platform;
  }());
  const std::string_view bytes = fuzz::asText(data, size);
  tryPicture(*codec, codec->decode(bytes), size);
  tryPicture(*codec, Image::base64ToUIImage(bytes), size);
  return 0;
}
