#pragma once

namespace veltrane::tool {

/// How a run of the driver ended, for the shell that started it.
namespace exit_status {

inline constexpr int kResponse = 0;
inline constexpr int kError = 1;
inline constexpr int kUsage = 2;
inline constexpr int kUserCancelled = 3;
inline constexpr int kNoResult = 4;

inline constexpr const char* kHelp =
    "Exit status: 0 the result is a response, 1 it is an error, 2 wrong use, 3 the user cancelled, "
    "4 no result";

}  // namespace exit_status
}  // namespace veltrane::tool
