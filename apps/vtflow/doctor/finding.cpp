#include "apps/vtflow/doctor/finding.h"

#include <algorithm>
#include <cstddef>

#include "veltrane/passkeys/display_text.h"

namespace veltrane::tool {
namespace {

constexpr std::size_t kLongestLine = 4096;

const char* wordFor(Finding::State state) {
  switch (state) {
    case Finding::State::ok:
      return "ok       ";
    case Finding::State::missing:
      return "missing  ";
    case Finding::State::unsure:
      return "unsure   ";
    case Finding::State::wrong:
      return "wrong    ";
    case Finding::State::fatal:
      return "FATAL    ";
  }
  return "";
}

}  // namespace

std::string lineOf(const Finding& finding) {
  std::string line = wordFor(finding.state) + finding.subject + ": " + finding.cause;
  if (!line.ends_with('.')) line += '.';
  if (!finding.remedy.empty()) line += ' ' + finding.remedy;
  // Names of devices and services are their makers'.
  std::replace_if(
      line.begin(), line.end(), [](unsigned char c) { return c < ' ' || c == 0x7F; }, ' ');
  return displayText(line, kLongestLine);
}

bool allowPasskeys(const Findings& findings) {
  return std::none_of(findings.begin(), findings.end(), [](const Finding& finding) {
    return finding.state == Finding::State::fatal;
  });
}

Finding verdictOn(const Findings& findings) {
  if (allowPasskeys(findings)) return {Finding::State::ok, "passkeys", "They can work here.", {}};
  return {Finding::State::fatal, "passkeys", "They cannot work here.",
          "Mend what is FATAL above first."};
}

}  // namespace veltrane::tool
