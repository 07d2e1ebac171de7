#include "apps/window/window_options.h"

#include <CLI/CLI.hpp>
#include <charconv>
#include <string>
#include <system_error>

#include "apps/vtflow/drive/exit_status.h"
#include "apps/vtflow/option_checks.h"

namespace veltrane::window {
namespace {

namespace exit_status = tool::exit_status;

constexpr const char* kDisplayHelp =
    "\n\nWithout a display it ends with status 2, unless --pictures or --script is given: then it "
    "draws"
    "\nthe window into memory";
constexpr int kLargestSide = 10'000;

bool readSide(std::string_view text, int& side) {
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), side);
  return error == std::errc() && end == text.data() + text.size() && side > 0 &&
         side <= kLargestSide;
}

std::string checkTextScale(const std::string& text) {
  return tool::checkNumber(text, 1, 2);
}

std::optional<QSize> readSize(std::string_view text) {
  const auto cross = text.find('x');
  if (cross == std::string_view::npos) return std::nullopt;
  int width = 0;
  int height = 0;
  if (!readSide(text.substr(0, cross), width)) return std::nullopt;
  if (!readSide(text.substr(cross + 1), height)) return std::nullopt;
  return QSize(width, height);
}

}  // namespace

void addWindowOptions(CLI::App& command, WindowOptions& options) {
  addFlowOptions(command, options.flow);
  command.footer(std::string(exit_status::kHelp) + kDisplayHelp);
  command.add_flag("--tablet", options.tablet, "Behave as on a tablet");
  command.add_flag("--dark", options.dark, "Dark colours, whatever the system asks for");
  command.add_flag("--rtl", options.rightToLeft, "Lay out from right to left");
  command.add_flag("--verbose", options.verbose, "Diagnostic lines on standard error");
  command.add_option("--text-scale", options.textScale, "Text size, 1 to 2 times the usual")
      ->check(tool::checkedBy(checkTextScale))
      ->type_name("F");
  command
      .add_option_function<std::string>(
          "--size",
          [&options](const std::string& text) {
            const auto size = readSize(text);
            if (!size)
              throw CLI::ValidationError("--size",
                                         "must be WxH, such as 390x844, not \"" + text + '"');
            options.size = *size;
          },
          "Window size in points")
      ->type_name("WxH");
  command
      .add_option(
          "--credentials", options.credentials,
          "Passkeys of this machine; absent: the user's own, but temporary ones for a "
          "script, which answers their panels too, and leaves the TPM and the keyring alone")
      ->check(tool::checkedBy(tool::checkStoreFile))
      ->type_name("FILE");
  command
      .add_option("--camera", options.camera,
                  "Picture, folder of pictures or video that stands for the camera; absent: this "
                  "machine's own")
      ->check(tool::checkedBy(tool::checkCamera))
      ->type_name("PATH");
  command
      .add_option("--identity-vendors", options.identityVendors,
                  "Stand-ins for the identity vendors, as vtflow serve has them; absent: the "
                  "vendors' own")
      ->check(tool::checkedBy(tool::checkBaseURL))
      ->type_name("URL");
  command
      .add_option(
          "--pictures", options.pictures,
          "Show nothing; leave a PNG of each screen in this folder. What an earlier run left "
          "there is replaced, other files stay")
      ->check(tool::checkedBy(tool::checkWritableFolder))
      ->type_name("DIR");
  command
      .add_option(
          "--script", options.script,
          "Commands to play with keys and clicks, as vtflow drive takes them: a JSON list, or "
          "a flow file that has them as its \"demo\"")
      ->check(tool::checkedBy(tool::checkReadableFile))
      ->type_name("FILE");
  command
      .add_option("--look", options.look,
                  "Flow file whose \"look\" says direction, darkness and theme; --theme "
                  "goes before it")
      ->check(tool::checkedBy(tool::checkReadableFile))
      ->type_name("FILE");
}

}  // namespace veltrane::window
