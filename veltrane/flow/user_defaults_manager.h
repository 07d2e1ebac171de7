#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "veltrane/flow/key_value_store.h"

namespace veltrane {

/// The session settings by name, in the installed platform's settings store. Any thread. A value
/// that is absent or of another type reads as nothing, or as the default named here.
struct UserDefaultsManager {
  /// Seconds; what `getTimeout` answers when nothing is stored.
  static constexpr double kDefaultTimeout = 120.0;

  static void saveApiKey(std::string_view key);
  static std::optional<std::string> getApiKey();
  static void deleteApiKey();

  static void saveRPId(std::string_view key);
  static std::optional<std::string> getRPId();
  static void deleteRPId();

  static void saveOrigin(std::string_view key);
  static std::optional<std::string> getOrigin();
  static void deleteOrigin();

  static void saveAccessToken(std::string_view key);
  static std::optional<std::string> getAccessToken();
  static void deleteAccessToken();

  static void saveChallenge(std::string_view challenge);
  static std::optional<std::string> getChallenge();
  static void deleteChallenge();

  static void saveCredId(std::string_view credId);
  static std::optional<std::string> getCredId();
  static void deleteCredId();

  /// Seconds, stored and read back as given.
  static void saveTimeout(double key);
  static double getTimeout();
  /// Seconds a request may take: the stored ones, or the default when these cannot be waited for.
  static double usableTimeout();

  /// False when nothing is stored.
  static void saveIsSandbox(bool key);
  static bool getIsSandbox();

  /// The four colours of `VTTheme` by their field names.
  static void saveUITheme(const TextDictionary& themeObject);
  static std::optional<TextDictionary> getUITheme();
  static void deleteUITheme();
};

}  // namespace veltrane
