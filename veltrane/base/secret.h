#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace veltrane {

/// A secret's bytes, wiped when it goes. Moved, never copied: there is one place to wipe. Nothing
/// writes it to a log, since nothing converts it to text.
class Secret {
 public:
  Secret() = default;
  /// Takes the bytes and wipes the string they came in.
  explicit Secret(std::string&& bytes);
  explicit Secret(std::string_view bytes);
  Secret(Secret&& other) noexcept;
  Secret& operator=(Secret&& other) noexcept;
  ~Secret();

  /// Valid as long as this lives.
  std::string_view bytes() const { return {bytes_.data(), bytes_.size()}; }
  /// The same with a NUL after them, for C libraries.
  const char* cString() const { return bytes_.c_str(); }
  std::size_t size() const { return bytes_.size(); }
  bool empty() const { return bytes_.empty(); }
  Secret copy() const { return Secret(bytes()); }

  /// Overwrites all that `text` holds, room included, and empties it.
  static void wipe(std::string& text) noexcept;

 private:
  std::string bytes_;
};

}  // namespace veltrane
