// A machine on which what decodes pictures is not installed: there are no pictures, and no crash.
#include <gtest/gtest.h>

#include "platform/pictures/codec.h"

namespace veltrane::pictures {
namespace {

TEST(WithoutLibraries, PicturesStayEmpty) {
  const Codec codec;
  EXPECT_FALSE(
      codec.decode("GIF89a\1\0\1\0\x80\0\0\0\0\0\xff\xff\xff,\0\0\0\0\1\0\1\0\0\2\2D\1\0;"));
  Picture picture{.size = {1, 1}, .pixels = Pixels(4)};
  EXPECT_FALSE(codec.encodePNG(picture));
  for (const auto framework : {ResizeFramework::uikit, ResizeFramework::coreGraphics}) {
    EXPECT_FALSE(codec.resize(picture, {2, 2}, framework));
  }
}

}  // namespace
}  // namespace veltrane::pictures
