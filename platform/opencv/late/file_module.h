#pragma once

#include <stddef.h>
#include <stdint.h>

// What the library that reads pictures and videos offers. It is loaded when a file is first to
// serve as a camera: OpenCV brings some two hundred libraries along for it.

extern "C" {

struct VeltraneSize {
  int width;
  int height;
};

/// Nothing throws. Paths are absolute. What a function gives is freed by its namesake here.
struct VeltraneFileFunctions {
  /// Whether the file begins as a picture does.
  bool (*isPicture)(const char* path);
  /// A picture, upright by its metadata; null when it cannot be read.
  void* (*readPicture)(const char* path, VeltraneSize* size);
  /// Null when it is not a video.
  void* (*openVideo)(const char* path, double* framesPerSecond);
  /// Null at its end.
  void* (*nextPicture)(void* video, VeltraneSize* size);
  void (*closeVideo)(void* video);
  /// Its pixels: red, green, blue; from the top row to the bottom one.
  bool (*copyPicture)(const void* picture, uint8_t* to, ptrdiff_t stride);
  /// Wipes it too.
  void (*freePicture)(void* picture);
};

__attribute__((visibility("default"))) const VeltraneFileFunctions* veltrane_file_functions();
}
