#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace veltrane::fido2 {

/// One thing found out about the security keys of this machine. `cause` and `remedy` are a sentence
/// each for the person who runs a diagnosis; both are empty where all is well.
struct KeyFinding {
  /// The device ("/dev/hidraw0"); empty when the finding is about no key in particular.
  std::string path;
  /// What the key calls itself; empty when it does not tell.
  std::string product;
  bool usable = false;
  std::string cause;
  std::string remedy;
};

/// Where the system tells of its HID devices.
struct KeyPlaces {
  std::filesystem::path devices = "/dev";
  std::filesystem::path descriptions = "/sys/class/hidraw";
};

/// One finding for each security key that is plugged in, or a single one saying that none is. Looks
/// at descriptions and permissions alone: no key is opened, none blinks. Any thread.
std::vector<KeyFinding> findKeys(const KeyPlaces& places = {});

}  // namespace veltrane::fido2
