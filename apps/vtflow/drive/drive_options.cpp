#include "apps/vtflow/drive/drive_options.h"

#include <CLI/CLI.hpp>
#include <charconv>
#include <string_view>

#include "apps/vtflow/option_checks.h"

namespace veltrane::tool {
namespace {

constexpr double kLargestSide = 10'000;
constexpr double kLargestScale = 10;

/// The number at the start of the text, which is cut off together with what must follow it.
std::optional<double> takeNumber(std::string_view& text, double most, std::string_view follows) {
  double number = 0;
  const auto [end, error] =
      std::from_chars(text.data(), text.data() + text.size(), number, std::chars_format::fixed);
  if (error != std::errc() || !(number > 0 && number <= most)) return std::nullopt;
  text.remove_prefix(static_cast<std::size_t>(end - text.data()));
  if (!text.starts_with(follows)) return std::nullopt;
  text.remove_prefix(follows.size());
  return number;
}

std::string checkScreen(const std::string& text) {
  return parseScreenSize(text) ? std::string()
                               : "must be WxH@SCALE, such as 390x844@2, not \"" + text + '"';
}

std::string checkYesOrNo(const std::string& text) {
  return text == "yes" || text == "no" ? "" : "must be yes or no, not \"" + text + '"';
}

}  // namespace

std::optional<ScreenSize> parseScreenSize(const std::string& text) {
  std::string_view rest = text;
  const auto width = takeNumber(rest, kLargestSide, "x");
  const auto height = width ? takeNumber(rest, kLargestSide, "@") : std::nullopt;
  const auto scale = height ? takeNumber(rest, kLargestScale, "") : std::nullopt;
  if (!scale || !rest.empty()) return std::nullopt;
  return ScreenSize{*width, *height, *scale};
}

ScreenSize DriveOptions::screen() const {
  return parseScreenSize(rawScreen).value_or(ScreenSize());
}

void addDriveOptions(CLI::App& command, DriveOptions& options) {
  addFlowOptions(command, options.flow);
  command
      .add_option("--credentials", options.credentials,
                  "Passkeys of the software authenticator; absent: a temporary file")
      ->check(checkedBy(checkStoreFile))
      ->type_name("FILE");
  command
      .add_option("--user-verification", options.userVerification,
                  "How the user answers when a passkey asks for consent")
      ->check(checkedBy(checkYesOrNo))
      ->capture_default_str()
      ->type_name("yes|no");
  command
      .add_option("--camera", options.camera,
                  "Picture, folder of pictures or video that stands for the front camera")
      ->check(checkedBy(checkCamera))
      ->type_name("PATH");
  command.add_option("--screen", options.rawScreen, "Screen in points, and pixels a point")
      ->check(checkedBy(checkScreen))
      ->capture_default_str()
      ->type_name("WxH@SCALE");
  command.add_flag("--tablet", options.tablet, "The device is a tablet");
  command.add_flag("--device-jailbroken", options.deviceJailbroken,
                   "The identity SDK's check of the device answers true");
}

}  // namespace veltrane::tool
