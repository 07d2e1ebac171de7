#include "bench/bare_png.h"

#include <string>

namespace veltrane::bench {

std::size_t barePNG(const Picture& picture, int color, void (*tune)(png_structp)) {
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
  const auto [width, height] = picture.size;
  png_set_IHDR(png, info, width, height, 8, color, PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT,
               PNG_FILTER_TYPE_DEFAULT);
  if (tune) tune(png);
  png_write_info(png, info);
  if (color == PNG_COLOR_TYPE_RGB) png_set_filler(png, 0, PNG_FILLER_AFTER);
  for (int y = 0; y < height; ++y) {
    png_write_row(png, picture.pixels.data() + std::size_t{4} * width * y);
  }
  png_write_end(png, nullptr);
  png_destroy_write_struct(&png, &info);
  return file.size();
}

}  // namespace veltrane::bench
