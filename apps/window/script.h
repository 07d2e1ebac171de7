#pragma once

#include <filesystem>
#include <stdexcept>
#include <string>
#include <vector>

#include "veltrane/base/json.h"

namespace veltrane::window {

struct WindowOptions;

/// A file is not what it should be; `what()` names it, the place and the reason.
class FileError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// The commands of a file, in order, each with all that it needs. The file is a list of them, or a
/// flow of the sandbox that brings them as its "demo". Throws FileError.
std::vector<JSON> readScript(const std::filesystem::path& file);

/// Takes over how a flow of the sandbox wants to be shown, its "look", as far as the options do not
/// say otherwise. A flow without one changes nothing. Throws FileError.
void applyLook(const std::filesystem::path& file, WindowOptions& options);

}  // namespace veltrane::window
