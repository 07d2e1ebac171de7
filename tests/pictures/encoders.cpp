// Pictures in every variant, written by the formats' own libraries.
#include <gif_lib.h>
#include <png.h>
#include <webp/encode.h>
#include <webp/mux.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
// libjpeg's header needs <cstdio> before it.
#include <jpeglib.h>

#include "tests/pictures/samples.h"

namespace veltrane::pictures::testing {
namespace {

using Bytes = std::vector<std::uint8_t>;

void require(bool holds) {
  if (!holds) std::abort();
}

/// Place of a painted colour in the palette: a bit a channel, and transparent after those.
int indexOf(const std::uint8_t* pixel) {
  return pixel[3] == 0 ? 8 : (pixel[0] >> 7) + (pixel[1] >> 7) * 2 + (pixel[2] >> 7) * 4;
}

std::uint8_t paletteByte(int index, int channel) {
  return (index >> channel & 1) ? 255 : 0;
}

/// One pixel as the kind has it; grey takes the red.
void appendPixel(Bytes& row, const std::uint8_t* pixel, Kind kind) {
  switch (kind) {
    case Kind::grey1:
    case Kind::greyAlpha:
      row.insert(row.end(), {pixel[0], pixel[3]});
      break;
    case Kind::grey16:
      row.insert(row.end(), {pixel[0], pixel[0]});
      break;
    case Kind::palette:
      row.push_back(static_cast<std::uint8_t>(indexOf(pixel)));
      break;
    case Kind::rgb:
      row.insert(row.end(), pixel, pixel + 3);
      break;
    case Kind::rgb16:
      for (int i = 0; i < 3; ++i) row.insert(row.end(), 2, pixel[i]);
      break;
    case Kind::rgba:
      row.insert(row.end(), pixel, pixel + 4);
      break;
  }
}

Bytes rowOf(const Picture& picture, int y, Kind kind) {
  Bytes row;
  const std::uint8_t* pixel = &picture.pixels[4 * std::size_t(y) * picture.size.width];
  for (int x = 0; x < picture.size.width; ++x) appendPixel(row, pixel + 4 * x, kind);
  if (kind != Kind::grey1) return row;
  Bytes packed((static_cast<std::size_t>(picture.size.width) + 7) / 8);
  for (std::size_t x = 0; x < static_cast<std::size_t>(picture.size.width); ++x) {
    packed[x / 8] = static_cast<std::uint8_t>(packed[x / 8] | (row[2 * x] & 0x80) >> x % 8);
  }
  return packed;
}

int pngColor(Kind kind) {
  switch (kind) {
    case Kind::grey1:
    case Kind::grey16:
      return PNG_COLOR_TYPE_GRAY;
    case Kind::greyAlpha:
      return PNG_COLOR_TYPE_GRAY_ALPHA;
    case Kind::palette:
      return PNG_COLOR_TYPE_PALETTE;
    case Kind::rgb:
    case Kind::rgb16:
      return PNG_COLOR_TYPE_RGB;
    case Kind::rgba:
      return PNG_COLOR_TYPE_RGB_ALPHA;
  }
  return 0;
}

int pngDepth(Kind kind) {
  if (kind == Kind::grey1) return 1;
  return kind == Kind::grey16 || kind == Kind::rgb16 ? 16 : 8;
}

void setColors(png_structp png, png_infop info, const PNGOptions& options) {
  png_color palette[8];
  for (int i = 0; i < 8; ++i) {
    palette[i] = {paletteByte(i, 0), paletteByte(i, 1), paletteByte(i, 2)};
  }
  if (options.kind == Kind::palette) png_set_PLTE(png, info, palette, 8);
  png_color_16 black{};
  const png_byte alphas[] = {0};
  if (options.hasTransparentBlack) png_set_tRNS(png, info, alphas, 1, &black);
}

void setMetadata(png_structp png, png_infop info, const PNGOptions& options) {
  std::string data = options.exif;
  if (!data.empty()) {
    png_set_eXIf_1(png, info, static_cast<png_uint_32>(data.size()),
                   reinterpret_cast<png_bytep>(data.data()));
  }
  if (options.text == 0) return;
  std::string text(options.text, 'a');
  char key[] = "Comment";
  png_text entry{};
  entry.compression = PNG_TEXT_COMPRESSION_zTXt;
  entry.key = key;
  entry.text = text.data();
  entry.text_length = text.size();
  png_set_text(png, info, &entry, 1);
}

}  // namespace

std::string asPNG(const Picture& picture, const PNGOptions& options) {
  std::string file;
  png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
  png_infop info = png_create_info_struct(png);
  png_set_write_fn(
      png, &file,
      [](png_structp self, png_bytep data, std::size_t size) {
        static_cast<std::string*>(png_get_io_ptr(self))
            ->append(reinterpret_cast<char*>(data), size);
      },
      nullptr);
  png_set_IHDR(png, info, static_cast<png_uint_32>(picture.size.width),
               static_cast<png_uint_32>(picture.size.height), pngDepth(options.kind),
               pngColor(options.kind),
               options.isInterlaced ? PNG_INTERLACE_ADAM7 : PNG_INTERLACE_NONE,
               PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
  setColors(png, info, options);
  setMetadata(png, info, options);
  png_write_info(png, info);
  const int passes = png_set_interlace_handling(png);
  for (int pass = 0; pass < passes; ++pass) {
    for (int y = 0; y < picture.size.height; ++y) {
      png_write_row(png, rowOf(picture, y, options.kind).data());
    }
  }
  png_write_end(png, info);
  png_destroy_write_struct(&png, &info);
  return file;
}

namespace {

Bytes inksOf(const Picture& picture, JDIMENSION y, Inks inks) {
  Bytes row;
  const std::uint8_t* pixel = &picture.pixels[4 * std::size_t(y) * picture.size.width];
  for (int x = 0; x < picture.size.width; ++x, pixel += 4) {
    switch (inks) {
      case Inks::grey:
        row.push_back(pixel[0]);
        break;
      case Inks::rgb:
        row.insert(row.end(), pixel, pixel + 3);
        break;
      case Inks::cmykWithoutAdobe:
        for (int i = 0; i < 3; ++i) row.push_back(static_cast<std::uint8_t>(255 - pixel[i]));
        row.push_back(0);
        break;
      case Inks::cmyk:
      case Inks::ycck:
        row.insert(row.end(), pixel, pixel + 3);
        row.push_back(255);
        break;
    }
  }
  return row;
}

void setInks(jpeg_compress_struct& jpeg, Inks inks) {
  const bool hasFour = inks >= Inks::cmyk;
  jpeg.input_components = hasFour ? 4 : inks == Inks::grey ? 1 : 3;
  jpeg.in_color_space = hasFour ? JCS_CMYK : inks == Inks::grey ? JCS_GRAYSCALE : JCS_RGB;
  jpeg_set_defaults(&jpeg);
  if (hasFour) jpeg_set_colorspace(&jpeg, inks == Inks::ycck ? JCS_YCCK : JCS_CMYK);
  if (inks == Inks::cmykWithoutAdobe) jpeg.write_Adobe_marker = FALSE;
}

}  // namespace

std::string asJPEG(const Picture& picture, const JPEGOptions& options) {
  jpeg_compress_struct jpeg{};
  jpeg_error_mgr errors{};
  jpeg.err = jpeg_std_error(&errors);
  jpeg_create_compress(&jpeg);
  unsigned char* data = nullptr;
  unsigned long size = 0;
  jpeg_mem_dest(&jpeg, &data, &size);
  jpeg.image_width = static_cast<JDIMENSION>(picture.size.width);
  jpeg.image_height = static_cast<JDIMENSION>(picture.size.height);
  setInks(jpeg, options.inks);
  jpeg_set_quality(&jpeg, 95, TRUE);
  if (options.isProgressive) jpeg_simple_progression(&jpeg);
  jpeg_start_compress(&jpeg, TRUE);
  if (!options.exif.empty()) {
    const std::string marker = std::string("Exif\0\0", 6) + options.exif;
    jpeg_write_marker(&jpeg, JPEG_APP0 + 1, reinterpret_cast<const JOCTET*>(marker.data()),
                      static_cast<unsigned>(marker.size()));
  }
  while (jpeg.next_scanline < jpeg.image_height) {
    Bytes row = inksOf(picture, jpeg.next_scanline, options.inks);
    JSAMPROW line = row.data();
    jpeg_write_scanlines(&jpeg, &line, 1);
  }
  jpeg_finish_compress(&jpeg);
  std::string file(reinterpret_cast<char*>(data), size);
  jpeg_destroy_compress(&jpeg);
  std::free(data);
  return file;
}

namespace {

std::string taken(WebPData& data) {
  std::string file(reinterpret_cast<const char*>(data.bytes), data.size);
  WebPDataClear(&data);
  return file;
}

std::string still(const Picture& picture, bool isLossy) {
  const auto [width, height] = picture.size;
  WebPData data;
  const std::uint8_t* pixels = picture.pixels.data();
  std::uint8_t* bytes = nullptr;
  data.size = isLossy ? WebPEncodeRGBA(pixels, width, height, 4 * width, 95, &bytes)
                      : WebPEncodeLosslessRGBA(pixels, width, height, 4 * width, &bytes);
  data.bytes = bytes;
  require(data.size > 0);
  return taken(data);
}

void addFrame(WebPAnimEncoder* encoder, const Picture& picture, int time) {
  WebPPicture frame;
  require(WebPPictureInit(&frame));
  frame.use_argb = 1;
  frame.width = picture.size.width;
  frame.height = picture.size.height;
  require(WebPPictureImportRGBA(&frame, picture.pixels.data(), 4 * frame.width));
  WebPConfig config;
  require(WebPConfigInit(&config));
  require(WebPConfigLosslessPreset(&config, 0));
  require(WebPAnimEncoderAdd(encoder, &frame, time, &config));
  WebPPictureFree(&frame);
}

/// The picture, then a black one.
std::string animation(const Picture& picture) {
  WebPAnimEncoderOptions options;
  require(WebPAnimEncoderOptionsInit(&options));
  WebPAnimEncoder* encoder = WebPAnimEncoderNew(picture.size.width, picture.size.height, &options);
  addFrame(encoder, picture, 0);
  Picture black = picture;
  for (std::size_t i = 0; i < black.pixels.size(); ++i) black.pixels[i] = i % 4 == 3 ? 255 : 0;
  addFrame(encoder, black, 100);
  require(WebPAnimEncoderAdd(encoder, nullptr, 200, nullptr));
  WebPData data;
  WebPDataInit(&data);
  require(WebPAnimEncoderAssemble(encoder, &data));
  WebPAnimEncoderDelete(encoder);
  return taken(data);
}

std::string withExif(const std::string& file, const std::string& exif) {
  const WebPData image{reinterpret_cast<const std::uint8_t*>(file.data()), file.size()};
  const WebPData chunk{reinterpret_cast<const std::uint8_t*>(exif.data()), exif.size()};
  WebPMux* mux = WebPMuxCreate(&image, 1);
  require(WebPMuxSetChunk(mux, "EXIF", &chunk, 1) == WEBP_MUX_OK);
  WebPData data;
  require(WebPMuxAssemble(mux, &data) == WEBP_MUX_OK);
  WebPMuxDelete(mux);
  return taken(data);
}

}  // namespace

std::string asWebP(const Picture& picture, const WebPOptions& options) {
  const std::string file =
      options.isAnimated ? animation(picture) : still(picture, options.isLossy);
  return options.exif.empty() ? file : withExif(file, options.exif);
}

namespace {

void writeLine(GifFileType* gif, const Picture& picture, int y) {
  Bytes line;
  for (int x = 0; x < picture.size.width; ++x) {
    const auto at = 4 * (std::size_t(y) * picture.size.width + x);
    line.push_back(static_cast<std::uint8_t>(indexOf(&picture.pixels[at])));
  }
  require(EGifPutLine(gif, line.data(), static_cast<int>(line.size())) == GIF_OK);
}

void writeFrame(GifFileType* gif, const Picture& picture, const GIFOptions& options) {
  GraphicsControlBlock control{};
  control.TransparentColor = 8;
  GifByteType extension[4];
  EGifGCBToExtension(&control, extension);
  require(EGifPutExtension(gif, GRAPHICS_EXT_FUNC_CODE, 4, extension) == GIF_OK);
  const int offset = options.margin * kField;
  const auto [width, height] = picture.size;
  require(EGifPutImageDesc(gif, offset, offset, width, height, options.isInterlaced, nullptr) ==
          GIF_OK);
  const int starts[] = {0, 4, 2, 1};
  const int steps[] = {8, 8, 4, 2};
  for (int pass = 0; pass < (options.isInterlaced ? 4 : 1); ++pass) {
    const int step = options.isInterlaced ? steps[pass] : 1;
    for (int y = starts[pass]; y < height; y += step) writeLine(gif, picture, y);
  }
}

}  // namespace

std::string asGIF(const Picture& picture, const GIFOptions& options) {
  std::string file;
  GifFileType* gif = EGifOpen(
      &file,
      [](GifFileType* self, const GifByteType* data, int size) {
        static_cast<std::string*>(self->UserData)
            ->append(reinterpret_cast<const char*>(data), static_cast<std::size_t>(size));
        return size;
      },
      nullptr);
  EGifSetGifVersion(gif, true);
  GifColorType colors[16] = {};
  for (int i = 0; i < 8; ++i) {
    colors[i] = {paletteByte(i, 0), paletteByte(i, 1), paletteByte(i, 2)};
  }
  ColorMapObject* map = GifMakeMapObject(16, colors);
  const int margin = options.margin * kField;
  require(EGifPutScreenDesc(gif, picture.size.width + margin, picture.size.height + margin, 4, 0,
                            map) == GIF_OK);
  GifFreeMapObject(map);
  writeFrame(gif, picture, options);
  Picture black = picture;
  std::fill(black.pixels.begin(), black.pixels.end(), std::uint8_t{1});
  if (options.isAnimated) writeFrame(gif, black, options);
  require(EGifCloseFile(gif, nullptr) == GIF_OK);
  return file;
}

}  // namespace veltrane::pictures::testing
