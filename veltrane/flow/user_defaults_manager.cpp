#include "veltrane/flow/user_defaults_manager.h"

#include <cmath>

#include "veltrane/base/fatal.h"
#include "veltrane/platform.h"

namespace veltrane {
namespace {

KeyValueStore& store() {
  const auto& settings = Platform::current().settings;
  if (!settings)
    fatal("No settings store is installed. Install a Platform before the first VTFlow.");
  return *settings;
}

template <typename T>
std::optional<T> read(std::string_view key) {
  auto value = store().value(key);
  if (!value) return std::nullopt;
  auto* typed = std::get_if<T>(&*value);
  return typed ? std::optional<T>(std::move(*typed)) : std::nullopt;
}

void save(std::string_view key, std::string_view value) {
  store().set(key, std::string(value));
}

}  // namespace

void UserDefaultsManager::saveApiKey(std::string_view key) {
  save("apiKey", key);
}
std::optional<std::string> UserDefaultsManager::getApiKey() {
  return read<std::string>("apiKey");
}
void UserDefaultsManager::deleteApiKey() {
  store().remove("apiKey");
}

void UserDefaultsManager::saveRPId(std::string_view key) {
  save("rpId", key);
}
std::optional<std::string> UserDefaultsManager::getRPId() {
  return read<std::string>("rpId");
}
void UserDefaultsManager::deleteRPId() {
  store().remove("rpId");
}

void UserDefaultsManager::saveOrigin(std::string_view key) {
  save("origin", key);
}
std::optional<std::string> UserDefaultsManager::getOrigin() {
  return read<std::string>("origin");
}
void UserDefaultsManager::deleteOrigin() {
  store().remove("origin");
}

void UserDefaultsManager::saveAccessToken(std::string_view key) {
  save("accessToken", key);
}
std::optional<std::string> UserDefaultsManager::getAccessToken() {
  return read<std::string>("accessToken");
}
void UserDefaultsManager::deleteAccessToken() {
  store().remove("accessToken");
}

void UserDefaultsManager::saveChallenge(std::string_view challenge) {
  save("challenge", challenge);
}
std::optional<std::string> UserDefaultsManager::getChallenge() {
  return read<std::string>("challenge");
}
void UserDefaultsManager::deleteChallenge() {
  store().remove("challenge");
}

void UserDefaultsManager::saveCredId(std::string_view credId) {
  save("credId", credId);
}
std::optional<std::string> UserDefaultsManager::getCredId() {
  return read<std::string>("credId");
}
void UserDefaultsManager::deleteCredId() {
  store().remove("credId");
}

void UserDefaultsManager::saveTimeout(double key) {
  store().set("timeout", key);
}
double UserDefaultsManager::getTimeout() {
  return read<double>("timeout").value_or(kDefaultTimeout);
}
double UserDefaultsManager::usableTimeout() {
  const double timeout = getTimeout();
  return std::isfinite(timeout) && timeout > 0 ? timeout : kDefaultTimeout;
}

void UserDefaultsManager::saveIsSandbox(bool key) {
  store().set("isSandbox", key);
}
bool UserDefaultsManager::getIsSandbox() {
  return read<bool>("isSandbox").value_or(false);
}

void UserDefaultsManager::saveUITheme(const TextDictionary& themeObject) {
  store().set("uiTheme", themeObject);
}
std::optional<TextDictionary> UserDefaultsManager::getUITheme() {
  return read<TextDictionary>("uiTheme");
}
void UserDefaultsManager::deleteUITheme() {
  store().remove("uiTheme");
}

}  // namespace veltrane
