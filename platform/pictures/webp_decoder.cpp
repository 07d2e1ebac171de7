#include <webp/decode.h>
#include <webp/demux.h>

#include <algorithm>
#include <memory>

#include "platform/pictures/decoders.h"
#include "platform/pictures/pixels.h"

namespace veltrane::pictures {
namespace {

struct Free {
  void operator()(WebPDemuxer* demuxer) const { WebPDemuxDelete(demuxer); }
  void operator()(WebPAnimDecoder* decoder) const { WebPAnimDecoderDelete(decoder); }
};

const std::uint8_t* data(std::string_view bytes) {
  return reinterpret_cast<const std::uint8_t*>(bytes.data());
}

Orientation storedOrientation(std::string_view bytes) {
  const WebPData file{data(bytes), bytes.size()};
  const std::unique_ptr<WebPDemuxer, Free> demuxer(WebPDemux(&file));
  if (!demuxer) return Orientation::upright;
  WebPChunkIterator chunk{};
  Orientation orientation = Orientation::upright;
  if (WebPDemuxGetChunk(demuxer.get(), "EXIF", 1, &chunk)) {
    orientation =
        orientationOf({reinterpret_cast<const char*>(chunk.chunk.bytes), chunk.chunk.size});
  }
  WebPDemuxReleaseChunkIterator(&chunk);
  return orientation;
}

bool decodeStill(std::string_view bytes, Picture& picture) {
  WebPDecoderConfig config;
  if (!WebPInitDecoderConfig(&config)) return false;
  config.output.colorspace = MODE_rgbA;
  config.output.is_external_memory = 1;
  config.output.u.RGBA = {picture.pixels.data(), static_cast<int>(rowBytes(picture.size)),
                          picture.pixels.size()};
  const bool decoded = WebPDecode(data(bytes), bytes.size(), &config) == VP8_STATUS_OK;
  WebPFreeDecBuffer(&config.output);
  return decoded;
}

bool decodeFirstFrame(std::string_view bytes, Picture& picture) {
  WebPAnimDecoderOptions options;
  if (!WebPAnimDecoderOptionsInit(&options)) return false;
  options.color_mode = MODE_rgbA;
  const WebPData file{data(bytes), bytes.size()};
  const std::unique_ptr<WebPAnimDecoder, Free> decoder(WebPAnimDecoderNew(&file, &options));
  std::uint8_t* canvas = nullptr;
  int time = 0;
  if (!decoder || !WebPAnimDecoderGetNext(decoder.get(), &canvas, &time)) return false;
  std::copy_n(canvas, picture.pixels.size(), picture.pixels.data());
  return true;
}

}  // namespace

std::optional<Decoded> decodeWebP(std::string_view bytes) {
  WebPBitstreamFeatures features;
  if (WebPGetFeatures(data(bytes), bytes.size(), &features) != VP8_STATUS_OK) return std::nullopt;
  const PixelSize size{features.width, features.height};
  if (!isBearable(size)) return std::nullopt;
  Decoded decoded{.picture = unwritten(size), .isPremultiplied = true};
  const bool done = features.has_animation ? decodeFirstFrame(bytes, decoded.picture)
                                           : decodeStill(bytes, decoded.picture);
  if (!done) return std::nullopt;
  decoded.orientation = storedOrientation(bytes);
  return decoded;
}

}  // namespace veltrane::pictures
