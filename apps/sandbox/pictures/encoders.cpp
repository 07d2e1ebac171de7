#include "apps/sandbox/pictures/encoders.h"

#include <openssl/evp.h>
#include <png.h>
#include <qrencode.h>
#include <webp/encode.h>
#include <zlib.h>

#include <array>
#include <cstdio>
// After <cstdio>, which jpeglib.h needs and does not include.
#include <jpeglib.h>

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <stdexcept>

namespace veltrane::sandbox {
namespace {

constexpr int kJpegQuality = 90;
constexpr float kWebpQuality = 90;
constexpr int kQuietModules = 4;
constexpr int kModulePixels = 6;

void appendBigEndian(std::string& bytes, std::uint32_t value) {
  for (const int shift : {24, 16, 8, 0}) bytes += static_cast<char>((value >> shift) & 0xFF);
}

void appendChunk(std::string& file, const std::string& type, const std::string& data) {
  const std::string summed = type + data;
  appendBigEndian(file, static_cast<std::uint32_t>(data.size()));
  file += summed;
  const auto* bytes = reinterpret_cast<const Bytef*>(summed.data());
  appendBigEndian(file,
                  static_cast<std::uint32_t>(::crc32(0, bytes, static_cast<uInt>(summed.size()))));
}

/// libjpeg's own way out of an error ends the program.
[[noreturn]] void failJpeg(j_common_ptr) {
  throw std::runtime_error("Cannot write a JPEG.");
}

std::string rowOnWhite(const Bitmap& bitmap, int y) {
  std::string row;
  for (int x = 0; x < bitmap.width; ++x) {
    const std::uint8_t* pixel = bitmap.at(x, y);
    for (int channel = 0; channel < 3; ++channel) {
      row += static_cast<char>((pixel[channel] * pixel[3] + 255 * (255 - pixel[3])) / 255);
    }
  }
  return row;
}

/// The EXIF block with nothing but "turn me a quarter clockwise to show me".
constexpr std::array<unsigned char, 32> kTurned{
    'E', 'x', 'i', 'f', 0, 0, 'M', 'M', 0, 42, 0, 0, 0, 8,  // big endian, first table at 8
    0,   1,                                                 // one entry
    1,   18,  0,   3,   0, 0, 0,   1,   0, 6,  0, 0,        // orientation, a short, 6
    0,   0,   0,   0};                                      // no further table

std::string writeJpeg(const Bitmap& bitmap, bool turned) {
  jpeg_error_mgr errors{};
  jpeg_compress_struct encoder{};
  encoder.err = jpeg_std_error(&errors);
  errors.error_exit = failJpeg;
  jpeg_create_compress(&encoder);
  unsigned char* memory = nullptr;
  unsigned long size = 0;
  jpeg_mem_dest(&encoder, &memory, &size);
  encoder.image_width = static_cast<JDIMENSION>(bitmap.width);
  encoder.image_height = static_cast<JDIMENSION>(bitmap.height);
  encoder.input_components = 3;
  encoder.in_color_space = JCS_RGB;
  jpeg_set_defaults(&encoder);
  jpeg_set_quality(&encoder, kJpegQuality, TRUE);
  jpeg_start_compress(&encoder, TRUE);
  if (turned) jpeg_write_marker(&encoder, JPEG_APP0 + 1, kTurned.data(), kTurned.size());
  for (int y = 0; y < bitmap.height; ++y) {
    std::string row = rowOnWhite(bitmap, y);
    auto* start = reinterpret_cast<JSAMPROW>(row.data());
    jpeg_write_scanlines(&encoder, &start, 1);
  }
  jpeg_finish_compress(&encoder);
  jpeg_destroy_compress(&encoder);
  const std::unique_ptr<unsigned char, decltype(&std::free)> owner(memory, std::free);
  return {reinterpret_cast<const char*>(memory), size};
}

/// Turned a quarter anticlockwise.
Bitmap onItsSide(const Bitmap& upright) {
  Bitmap side(upright.height, upright.width);
  for (int y = 0; y < side.height; ++y) {
    for (int x = 0; x < side.width; ++x) {
      std::copy_n(upright.at(upright.width - 1 - y, x), 4, side.at(x, y));
    }
  }
  return side;
}

}  // namespace

std::string png(const Bitmap& bitmap) {
  png_image image{};
  image.version = PNG_IMAGE_VERSION;
  image.width = static_cast<png_uint_32>(bitmap.width);
  image.height = static_cast<png_uint_32>(bitmap.height);
  image.format = PNG_FORMAT_RGBA;
  std::string file(PNG_IMAGE_PNG_SIZE_MAX(image), '\0');
  png_alloc_size_t size = file.size();
  if (!png_image_write_to_memory(&image, file.data(), &size, 0, bitmap.pixels.data(), 0, nullptr)) {
    throw std::runtime_error("Cannot write a PNG: " + std::string(image.message));
  }
  file.resize(size);
  return file;
}

std::string jpeg(const Bitmap& bitmap) {
  return writeJpeg(bitmap, false);
}

std::string turnedJpeg(const Bitmap& bitmap) {
  return writeJpeg(onItsSide(bitmap), true);
}

std::string webp(const Bitmap& bitmap) {
  std::uint8_t* memory = nullptr;
  const std::size_t size = WebPEncodeRGBA(bitmap.pixels.data(), bitmap.width, bitmap.height,
                                          bitmap.width * 4, kWebpQuality, &memory);
  const std::unique_ptr<std::uint8_t, decltype(&WebPFree)> owner(memory, WebPFree);
  if (size == 0) throw std::runtime_error("Cannot write a WebP.");
  return {reinterpret_cast<const char*>(memory), size};
}

std::string pngThatClaims(unsigned width, unsigned height) {
  std::string header;
  appendBigEndian(header, width);
  appendBigEndian(header, height);
  header.append("\x08\x06\x00\x00\x00", 5);  // 8 bits a channel, RGBA, nothing special
  std::string file = "\x89PNG\r\n\x1a\n";
  appendChunk(file, "IHDR", header);
  // A complete zlib stream of no bytes.
  appendChunk(file, "IDAT", std::string("\x78\x9c\x03\x00\x00\x00\x00\x01", 8));
  appendChunk(file, "IEND", "");
  return file;
}

Bitmap qrCode(const std::string& text) {
  const std::unique_ptr<QRcode, decltype(&QRcode_free)> code(
      QRcode_encodeData(static_cast<int>(text.size()),
                        reinterpret_cast<const unsigned char*>(text.data()), 0, QR_ECLEVEL_M),
      QRcode_free);
  if (!code) throw std::invalid_argument("no QR code can hold this text");
  const int modules = code->width;
  const int side = (modules + 2 * kQuietModules) * kModulePixels;
  Bitmap bitmap(side, side);
  for (int y = 0; y < side; ++y) {
    for (int x = 0; x < side; ++x) {
      const int column = x / kModulePixels - kQuietModules;
      const int row = y / kModulePixels - kQuietModules;
      const bool inside = column >= 0 && column < modules && row >= 0 && row < modules;
      const bool black = inside && (code->data[row * modules + column] & 1) != 0;
      const std::uint8_t level = black ? 0 : 255;
      const std::array<std::uint8_t, 4> pixel{level, level, level, 255};
      std::copy(pixel.begin(), pixel.end(), bitmap.at(x, y));
    }
  }
  return bitmap;
}

std::string base64(const std::string& bytes) {
  std::string text(4 * ((bytes.size() + 2) / 3) + 1, '\0');  // and the zero behind it
  const int length = EVP_EncodeBlock(reinterpret_cast<unsigned char*>(text.data()),
                                     reinterpret_cast<const unsigned char*>(bytes.data()),
                                     static_cast<int>(bytes.size()));
  text.resize(static_cast<std::size_t>(length));
  return text;
}

}  // namespace veltrane::sandbox
