#pragma once

#include <stddef.h>
#include <stdint.h>

// What the library that finds faces offers: networks and nothing about faces. It is loaded when
// faces are first to be looked for.

extern "C" {

/// Red, green, blue and a byte that counts for nothing.
struct VeltranePixels {
  const uint8_t* data;
  int width;
  int height;
};

/// From a network's input, in pixels of it, to `VeltranePixels`: x' = a x + b y + c and so on. The
/// middle of the first pixel is at 0.5.
struct VeltraneMap {
  double a, b, c;
  double d, e, f;
};

struct VeltraneBox {
  int x, y, width, height;
  /// How many slightly different windows have shown it.
  int count;
};

/// Both networks look at a square of this many pixels a side.
constexpr int kVeltraneInput = 192;
/// The detector's answers, from left to right and top to bottom in a grid over its input.
constexpr int kVeltraneGrid = 48;
constexpr int kVeltraneCells = kVeltraneGrid * kVeltraneGrid;
/// Numbers of each answer: middle, width and height of a box, then six points: the right eye (of
/// the person), the left one, nose, mouth, right ear, left ear. In pixels of the input, the middle
/// and the points from the middle of the cell.
constexpr int kVeltraneCellNumbers = 16;
/// The mesh: x, y and depth of each point, in pixels of the input.
constexpr int kVeltranePoints = 468;
constexpr int kVeltranePointNumbers = 3;

struct VeltraneDetection {
  /// Before the logistic function.
  float scores[kVeltraneCells];
  float cells[kVeltraneCells * kVeltraneCellNumbers];
};

struct VeltraneMesh {
  /// Before the logistic function: whether there is a face.
  float presence;
  float points[kVeltranePoints * kVeltranePointNumbers];
};

/// Nothing throws; false or null is a failure, and `error` (of `size` bytes) then holds why. No
/// thread is started: OpenCV is told, for this whole process, to use the caller's alone and to
/// print nothing. It is told once, by the first `open`. Any thread may call; one at a time for each
/// vision.
struct VeltraneVisionFunctions {
  /// To be closed. Those that open at once wait for each other.
  void* (*open)(char* error, size_t size);
  void (*close)(void* vision);
  /// Without them the cascade is what there is.
  bool (*hasNetworks)(const void* vision);
  /// What lies outside the pixels is black.
  bool (*detect)(void* vision, VeltranePixels pixels, VeltraneMap map, VeltraneDetection* found,
                 char* error, size_t size);
  /// What lies outside the pixels is as at their edge.
  bool (*mesh)(void* vision, VeltranePixels pixels, VeltraneMap map, VeltraneMesh* found,
               char* error, size_t size);
  /// Upright frontal faces in a square of `side` pixels, where what lies outside the pixels is
  /// black; answers how many, `most` at most, or -1.
  int (*cascade)(void* vision, VeltranePixels pixels, VeltraneMap map, int side, VeltraneBox* boxes,
                 int most, char* error, size_t size);
};

__attribute__((visibility("default"))) const VeltraneVisionFunctions* veltrane_vision_functions();
}
