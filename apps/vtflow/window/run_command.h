#pragma once

#include <filesystem>
#include <iosfwd>
#include <optional>
#include <string>
#include <vector>

namespace veltrane::tool {

/// The program that shows flows in a window, for a tool that lives in `toolFolder`: beside it,
/// where an installation puts it, or in the build tree. Nothing when there is none: the front end
/// is a part that need not be installed.
std::optional<std::filesystem::path> findWindowProgram(const std::filesystem::path& toolFolder);

/// `vtflow run`: becomes the window program, which takes all of `arguments`. Comes back only if
/// that is impossible: says why on `errors` and returns the exit status.
int runInWindow(const std::vector<std::string>& arguments, std::ostream& errors);

}  // namespace veltrane::tool
