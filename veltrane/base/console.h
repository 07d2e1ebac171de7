#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace veltrane {

class Dictionary;
class JSON;

/// Port: where diagnostic lines go. Lines come complete, without a line break, with their secrets
/// masked; from any thread, several at once.
class ConsoleSink {
 public:
  virtual ~ConsoleSink() = default;
  virtual void print(std::string_view line) = 0;
};

namespace console {

/// Names whose values are secrets on this screen (the keys of its masked fields), beside those that
/// are secrets everywhere: tokens, API secrets, credential responses, picture data.
using SecretNames = std::vector<std::string>;

/// One diagnostic line, to the platform's console sink, or to standard error when it has none.
void print(std::string_view line);

/// One diagnostic line: a fixed text followed by a value. Long values are cut at 64 KiB, so that a
/// large document costs a line, not a stall.
void print(std::string_view text, const JSON& value, const SecretNames& secrets = {});
void print(std::string_view text, const Dictionary& value, const SecretNames& secrets = {});
void print(std::string_view text, const std::vector<Dictionary>& value);

/// What stands in place of a secret.
inline constexpr std::string_view kMask = "•••";

/// A value that is a secret as a whole: `kMask`, or itself for a host that wants plain values.
JSON secret(const JSON& value);

/// The same value with every secret replaced by `kMask`. Follows the host's wish for plain values.
JSON masked(const JSON& value, const SecretNames& secrets = {});

}  // namespace console
}  // namespace veltrane
