#pragma once

#include <filesystem>

#include "veltrane/face/face_geometry.h"
#include "veltrane/toolkit/picture.h"

namespace veltrane::clip {

/// The portrait whose measures are known here, by the name of its file.
inline constexpr const char* kPortrait = "grace_hopper.jpg";
/// Where its face lies: the middle, and the width, in its pixels.
inline constexpr Point kFace{265, 238};
inline constexpr double kFaceWidth = 175;
/// A place of its background, far from the face.
inline constexpr Point kWall{455, 90};

/// Throws std::runtime_error when the file is no picture.
PicturePtr readPhotograph(const std::filesystem::path& file);
/// Throws std::runtime_error when it cannot be written.
void writePicture(const Picture& picture, const std::filesystem::path& file);

/// A camera's picture of a photograph: `at` in its middle, each pixel of the photograph as wide as
/// `zoom` of its own. What lies above and below it is its mirror image; beside it, its edge goes
/// on.
Picture shot(const Picture& photograph, PixelSize size, Point at, double zoom);

/// Shots of the portrait as a screen of 390 x 844 points shows them, whatever their size: the face
/// is 225 points wide, in the oval, in the middle or `aside` points from it to either side.
Picture faceShot(const Picture& portrait, PixelSize size, double aside = 0);
Picture wallShot(const Picture& portrait, PixelSize size);

}  // namespace veltrane::clip
