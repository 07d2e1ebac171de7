#pragma once

#include <filesystem>

#include "veltrane/toolkit/picture.h"

namespace veltrane::testing {

/// The portrait of apps/face_clip; downloaded once for all tests of this machine. Throws when it
/// cannot be had.
const Picture& portrait();

/// A clip that has its picture taken: a wall, then the face beside the oval, then in it.
void writeClip(const std::filesystem::path& folder);

/// The same pictures as a video, a few times each.
void writeVideo(const std::filesystem::path& file);

}  // namespace veltrane::testing
