#pragma once

#include <chrono>
#include <cstddef>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace veltrane::fido2 {

class Halt;

/// How long a key is waited for.
struct Patience {
  /// Between two looks for keys, and at a key that may have been touched.
  std::chrono::milliseconds glance{250};
  /// A key at work says so ten times a second; one that says nothing for so long is broken.
  std::chrono::milliseconds silence{10'000};
  /// For a key to end what it does once it has been told to.
  std::chrono::milliseconds farewell{500};
};

/// A key's USB reports, one at a time. Used by one thread.
class KeyWire {
 public:
  /// Of every report.
  static constexpr std::size_t kReportSize = 64;

  virtual ~KeyWire() = default;
  /// Waits for a report. 0 bytes: none came within the time (negative: no limit), or `halt`, when
  /// given, was requested. Nothing: the key is gone.
  virtual std::optional<std::size_t> read(std::span<unsigned char> report,
                                          std::chrono::milliseconds limit, const Halt* halt) = 0;
  /// False: the key is gone.
  virtual bool write(std::span<const unsigned char> report) = 0;
};

/// Where security keys are found. Used by one thread.
class KeySource {
 public:
  struct Key {
    std::string path;
    std::string product;
  };

  virtual ~KeySource() = default;
  /// The keys that are plugged in now.
  virtual std::vector<Key> list() = 0;
  /// Null when the key cannot be opened; `errno` says why.
  virtual std::unique_ptr<KeyWire> open(const std::string& path) = 0;
};

/// The keys at this machine's USB ports.
std::shared_ptr<KeySource> usbKeys();

}  // namespace veltrane::fido2
