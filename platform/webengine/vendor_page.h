#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace veltrane::webengine {

/// Our page, in which a vendor's page or script finds its room. The same for all: whatever differs,
/// secrets above all, comes in by the script.
std::string_view hostPageText();

/// The vendor's page in a frame of ours, which speaks to us by messages to the window.
struct FramedPage {
  std::string address;
  /// What the page may use, as an iframe's "allow" says it.
  std::string allow;
};
std::string scriptFor(const FramedPage& page);

/// A vendor's script within our page. It answers by messages to its own window, each a JSON object
/// with `mark` under "veltrane", "event" and "data".
struct ScriptedPage {
  std::string address;
  std::string token;
  std::vector<std::string> steps;
  /// Tells this page's messages from others'.
  std::string mark;
};
std::string scriptFor(const ScriptedPage& page);
std::string_view tearDownScript();

}  // namespace veltrane::webengine
