#pragma once

#include <array>
#include <string_view>

namespace veltrane {

/// The screen templates that the generic screen shows.
struct SupportedScreens {
  static constexpr std::array<std::string_view, 13> kTemplateNames = {
      "UnsupportedScreen",       "PhoneScreenTemplate",
      "OtpScreenTemplate",       "ScreenTemplate1",
      "ScreenTemplate2",         "TwoFieldScreenTemplate",
      "UsernameScreenTemplate",  "UsernameLoginScreenTemplate",
      "ThirdPartyTemplate",      "ThirdPartyiFrameTemplate",
      "CustomScreenTemplate",    "MessageScreen",
      "FaceImageCaptureTemplate"};

  /// Exact, case-sensitive.
  static bool check(std::string_view screenTemplateName);
};

}  // namespace veltrane
