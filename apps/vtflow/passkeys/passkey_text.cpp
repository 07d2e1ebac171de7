#include "apps/vtflow/passkeys/passkey_text.h"

#include <algorithm>
#include <cctype>
#include <ctime>
#include <iterator>

#include "veltrane/passkeys/display_text.h"

namespace veltrane::tool {
namespace {

using authenticator::PasskeyEntry;

std::string dayOf(std::chrono::sys_seconds time) {
  const std::time_t seconds = std::chrono::system_clock::to_time_t(time);
  std::tm parts{};
  char text[16];
  const auto size = std::strftime(text, sizeof text, "%Y-%m-%d", ::localtime_r(&seconds, &parts));
  return {text, size};
}

}  // namespace

std::string idText(const PasskeyEntry& entry) {
  std::string text;
  for (const unsigned char byte : entry.id) {
    text += "0123456789abcdef"[byte >> 4];
    text += "0123456789abcdef"[byte & 0x0F];
  }
  return text;
}

std::string ownerText(const PasskeyEntry& entry) {
  const auto& name = entry.userName.empty() ? entry.userDisplayName : entry.userName;
  return displayText(name) + " at " + relyingPartyText(entry.rpId);
}

std::string lineOf(const PasskeyEntry& entry) {
  return dayOf(entry.created) + "  " + ownerText(entry) + "  " + entry.keeper + "  " +
         std::to_string(entry.counter) + (entry.counter == 1 ? " signature  " : " signatures  ") +
         idText(entry);
}

std::vector<PasskeyEntry> withId(const std::vector<PasskeyEntry>& entries,
                                 const std::string& start) {
  std::string wanted = start;
  std::transform(wanted.begin(), wanted.end(), wanted.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  std::vector<PasskeyEntry> found;
  std::copy_if(entries.begin(), entries.end(), std::back_inserter(found),
               [&](const PasskeyEntry& entry) { return idText(entry).starts_with(wanted); });
  return found;
}

}  // namespace veltrane::tool
