#pragma once

#include <filesystem>
#include <stdexcept>
#include <string>
#include <vector>

#include "veltrane/base/json.h"

namespace veltrane::window {

/// The file is not a list of commands; `what()` says where.
class ScriptError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// The commands of a file, in order: objects with a known "do". The file is a list of them, or a
/// flow of the sandbox that brings them as its "demo". Throws ScriptError.
std::vector<JSON> readScript(const std::filesystem::path& file);

}  // namespace veltrane::window
