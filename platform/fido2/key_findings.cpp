#include "platform/fido2/key_findings.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <fstream>
#include <iterator>
#include <string_view>
#include <system_error>

namespace veltrane::fido2 {
namespace {

namespace fs = std::filesystem;

std::string contentOf(const fs::path& file) {
  std::ifstream stream(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), {}};
}

/// Whether a HID report descriptor opens a collection of the usage page that FIDO keys have,
/// 0xF1D0.
bool isOfAKey(std::string_view descriptor) {
  for (std::size_t i = 0; i < descriptor.size();) {
    const auto prefix = static_cast<std::uint8_t>(descriptor[i]);
    const bool isLong = prefix == 0xFE;
    if (isLong && i + 1 >= descriptor.size()) return false;
    constexpr std::size_t kSizes[] = {0, 1, 2, 4};
    const std::size_t size =
        isLong ? 2 + static_cast<std::uint8_t>(descriptor[i + 1]) : kSizes[prefix & 3U];
    if (prefix == 0x06 && descriptor.substr(i + 1, 2) == "\xD0\xF1") return true;
    i += 1 + size;
  }
  return false;
}

/// The name in a device's "uevent", a line "HID_NAME=...".
std::string nameIn(std::string_view uevent) {
  constexpr std::string_view kName = "HID_NAME=";
  const std::size_t start = uevent.find(kName);
  if (start == std::string_view::npos) return {};
  const std::string_view rest = uevent.substr(start + kName.size());
  return std::string(rest.substr(0, rest.find('\n')));
}

KeyFinding judge(const fs::path& device, std::string product) {
  KeyFinding finding{.path = device, .product = std::move(product)};
  std::error_code error;
  if (!fs::exists(device, error)) {
    finding.cause = "The system knows the key, but its device " + device.string() + " is missing.";
    finding.remedy = "Take the key out and insert it again; in a container, hand the device in.";
  } else if (faccessat(AT_FDCWD, device.c_str(), R_OK | W_OK, AT_EACCESS) != 0) {
    finding.cause = "You may not read and write " + device.string() + ".";
    finding.remedy =
        "Install udev's rules for security keys (Debian: apt-get install libfido2-1 udev), then "
        "take the key out and insert it again.";
  } else {
    finding.usable = true;
  }
  return finding;
}

}  // namespace

std::vector<KeyFinding> findKeys(const KeyPlaces& places) {
  std::vector<KeyFinding> findings;
  std::error_code error;
  for (const auto& entry : fs::directory_iterator(places.descriptions, error)) {
    const fs::path about = entry.path() / "device";
    if (!isOfAKey(contentOf(about / "report_descriptor"))) continue;
    findings.push_back(
        judge(places.devices / entry.path().filename(), nameIn(contentOf(about / "uevent"))));
  }
  std::ranges::sort(findings, {}, &KeyFinding::path);
  if (findings.empty()) {
    findings.push_back({.cause = "No security key is plugged in.",
                        .remedy = "Insert a FIDO2 security key into a USB port."});
  }
  return findings;
}

}  // namespace veltrane::fido2
