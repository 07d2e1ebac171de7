#pragma once

#include <iosfwd>

namespace veltrane::tool {

/// What the tool talks through. The descriptors carry the driver's lines; they stay the caller's.
struct Terminal {
  int input = 0;
  int output = 1;
  std::ostream& text;
  std::ostream& errors;
};

/// The tool: `vtflow COMMAND [options]`, `arguments` as `main` gets them. Returns the exit status;
/// wrong use is 2, with one line on `errors` and nothing else done.
int runTool(int argumentCount, const char* const* arguments, Terminal terminal);

}  // namespace veltrane::tool
