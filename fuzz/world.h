#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>

#include "tests/support/fakes.h"
#include "veltrane/base/console.h"
#include "veltrane/base/json.h"

namespace veltrane::fuzz {

/// Stops the program, which the fuzzer takes for a finding.
inline void require(bool holds) {
  if (!holds) __builtin_trap();
}

inline std::string_view asText(const std::uint8_t* data, std::size_t size) {
  return {reinterpret_cast<const char*>(data), size};
}

/// The fake ports of the tests, with a console that forgets: lines are made, not kept.
struct World : testing::FakePlatform {
  struct Silence final : ConsoleSink {
    void print(std::string_view /*line*/) override {}
  };
  static Platform silenced(Platform ports) {
    ports.console = std::make_shared<Silence>();
    return ports;
  }
  PlatformScope silence{silenced(ports())};
};

/// What holds for any text: a value that was parsed can be written, and reads back the same.
inline void requireRoundTrip(const JSON& value) {
  const auto text = value.serialized();
  require(text.has_value());
  const auto again = JSON::parse(*text);
  require(again.ok());
  require(again.value == value);
}

}  // namespace veltrane::fuzz
