#pragma once

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

namespace veltrane {

class Dictionary;
struct JSONParseResult;

/// A dynamic JSON value: a cheap handle (owner and node) on a document that never changes once it
/// is built. Copying shares; nothing a server sent is copied on its way to a row.
///
/// Reading is lenient: a missing key or index is null, an accessor for another kind yields nothing.
/// A `std::string_view` that an accessor returns stays valid as long as any handle on the same
/// document lives. Handles may be read and copied on any thread.
class JSON {
 public:
  enum class Kind : std::uint8_t { null, boolean, integer, real, text, array, object };

  /// What a document may ask of memory and stack: deeper nesting is a parse failure.
  static constexpr std::size_t kMaxDepth = 128;

  JSON() noexcept = default;
  JSON(std::nullptr_t) noexcept {}
  JSON(bool value) noexcept;
  JSON(std::int64_t value);
  JSON(int value) : JSON(static_cast<std::int64_t>(value)) {}
  JSON(double value);
  JSON(std::string_view value);
  JSON(const std::string& value) : JSON(std::string_view(value)) {}
  JSON(const char* value) : JSON(std::string_view(value)) {}
  JSON(const Dictionary& entries);
  static JSON array(const std::vector<JSON>& items);
  /// A text, the standard Base64 of these bytes. They are copied, and wiped when the last handle on
  /// a document that holds the value goes. The text itself is made where it is serialized, right in
  /// its place, or when somebody reads it. Two such values are equal when one is a copy of the
  /// other.
  static JSON base64(std::string_view bytes);

  /// Parses UTF-8 text. Never throws; the result holds either the value or why there is none.
  static JSONParseResult parse(std::string_view text);

  Kind kind() const noexcept;
  bool isNull() const noexcept { return kind() == Kind::null; }
  bool isObject() const noexcept { return kind() == Kind::object; }
  bool isArray() const noexcept { return kind() == Kind::array; }

  JSON operator[](std::string_view key) const;
  JSON operator[](const char* key) const { return (*this)[std::string_view(key)]; }
  template <std::integral Index>
  JSON operator[](Index index) const {
    return index < 0 ? JSON() : item(static_cast<std::size_t>(index));
  }
  bool contains(std::string_view key) const;

  /// Members of an object or items of an array, otherwise 0.
  std::size_t size() const noexcept;

  /// A text; numbers and booleans are none.
  std::optional<std::string_view> text() const;
  /// true or false; of the numbers only 0 and 1 count.
  std::optional<bool> boolean() const noexcept;
  /// A whole number within 64 bits (2.0 is 2); a boolean counts as 1 or 0.
  std::optional<std::int64_t> integer() const noexcept;
  /// Any number; a boolean is none.
  std::optional<double> number() const noexcept;

  /// The text below members within members; nothing where one is missing or it is no text. Quicker
  /// than one `[]` after another, which each share the document.
  std::optional<std::string_view> textAt(std::initializer_list<std::string_view> path) const;
  std::string textValue() const { return std::string(text().value_or(std::string_view())); }
  /// Itself when it is an object that has members, otherwise nothing.
  std::optional<JSON> nonEmptyObject() const;

  /// "As text": a text as it is, a number or boolean through its integer value (2.9 is "2", true is
  /// "1", what lies outside 64 bits is its nearest bound), anything else the empty text.
  std::string asText() const;

  /// The shortest decimal form of a number ("2.5", "5"), empty for every other kind.
  std::string shortestDecimal() const;

  /// Compact JSON text; nothing when a text is not UTF-8 or a number is not finite.
  std::optional<std::string> serialized() const;

  /// Calls `visit(std::string_view name, const JSON& value)` for each member, names in byte order.
  template <typename Visitor>
  void forEachMember(Visitor&& visit) const {
    using V = std::remove_reference_t<Visitor>;
    visitMembers(const_cast<void*>(static_cast<const void*>(&visit)),
                 [](void* visitor, std::string_view name, const JSON& value) {
                   (*static_cast<V*>(visitor))(name, value);
                 });
  }

  friend bool operator==(const JSON& a, const JSON& b);

 private:
  using Owner = std::shared_ptr<const void>;
  /// A value of the parsed tree, whose type only json.cpp knows.
  using Node = const void*;
  JSON(Owner owner, Node node) noexcept : owner_(std::move(owner)), node_(node) {}
  template <typename Fill>
  static JSON build(Fill&& fill);
  JSON item(std::size_t index) const;
  void visitMembers(void* visitor, void (*visit)(void*, std::string_view, const JSON&)) const;

  Owner owner_;
  Node node_ = nullptr;
};

struct JSONParseResult {
  JSON value;
  /// Why the text could not be parsed; empty when it could.
  std::string error;

  bool ok() const noexcept { return error.empty(); }
};

}  // namespace veltrane
