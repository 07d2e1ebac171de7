#include "veltrane/base/json.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>
#include <limits>
#include <map>
#include <mutex>
#include <nlohmann/json.hpp>
#include <span>
#include <type_traits>
#include <utility>

#include "veltrane/base/arena.h"
#include "veltrane/base/base64.h"
#include "veltrane/base/dictionary.h"
#include "veltrane/base/growing_secret.h"
#include "veltrane/base/json_tree_builder.h"
#include "veltrane/base/long_strings.h"
#include "veltrane/base/secret.h"

namespace veltrane {
namespace {

using ArenaText = std::basic_string<char, std::char_traits<char>, ArenaAllocator<char>>;
using Tree = nlohmann::basic_json<std::map, std::vector, ArenaText, bool, std::int64_t,
                                  std::uint64_t, double, ArenaAllocator, nlohmann::adl_serializer,
                                  std::vector<std::uint8_t, ArenaAllocator<std::uint8_t>>>;

/// Bytes whose Base64 is a value. A tree holds the address as its one kind of binary value.
struct EncodedBytes {
  explicit EncodedBytes(std::string_view given) : bytes(given) {}
  ~EncodedBytes() {
    Secret::wipe(bytes);
    Secret::wipe(text);
  }
  EncodedBytes(const EncodedBytes&) = delete;
  EncodedBytes& operator=(const EncodedBytes&) = delete;

  std::span<const std::uint8_t> span() const {
    return {reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()};
  }
  std::string_view encoded() const {
    std::call_once(isEncoded, [this] { text = base64Encoded(span()); });
    return text;
  }

  std::string bytes;
  mutable std::once_flag isEncoded;
  mutable std::string text;
};

/// What owns a tree: its memory. The tree's destructor never runs; the arena drops it whole.
struct Document {
  Arena arena;
  Tree* root = nullptr;
  /// What the tree points to.
  std::vector<std::shared_ptr<const void>> kept;

  /// A tree has been copied from another document.
  void keepWhatIsKeptBy(const std::shared_ptr<const void>& other) {
    if (other && !static_cast<const Document*>(other.get())->kept.empty()) kept.push_back(other);
  }
  Tree& makeRoot() {
    root = new (arena.allocate(sizeof(Tree), alignof(Tree))) Tree();
    return *root;
  }
};

const Tree* asTree(const void* node) {
  return static_cast<const Tree*>(node);
}

const EncodedBytes* asEncoded(const Tree& tree) {
  if (!tree.is_binary()) return nullptr;
  const void* address = nullptr;
  std::memcpy(&address, tree.get_binary().data(), sizeof address);
  return static_cast<const EncodedBytes*>(address);
}

const Tree* constant(bool value) {
  static const Tree yes(true), no(false);
  return value ? &yes : &no;
}

std::int64_t toInt64(double value) {
  constexpr double kBound = 9223372036854775808.0;  // 2 to the 63rd
  if (std::isnan(value)) return 0;
  if (value >= kBound) return std::numeric_limits<std::int64_t>::max();
  if (value < -kBound) return std::numeric_limits<std::int64_t>::min();
  return static_cast<std::int64_t>(value);
}

template <typename Number>
std::string decimal(Number number) {
  char buffer[32];
  const auto end = std::to_chars(buffer, buffer + sizeof buffer, number).ptr;
  return {buffer, end};
}

std::optional<std::string_view> textOf(const Tree& tree) {
  if (const auto* const encoded = asEncoded(tree)) return encoded->encoded();
  const auto* const text = tree.get_ptr<const ArenaText*>();
  return text ? std::optional<std::string_view>(*text) : std::nullopt;
}

/// About as many characters as the tree becomes: more where texts need escapes.
std::size_t roomFor(const Tree& tree) {
  constexpr std::size_t kAround = 32;  // a number, or the marks around a text and its name
  if (const auto* const encoded = asEncoded(tree))
    return base64EncodedLength(encoded->bytes.size()) + kAround;
  std::size_t room = kAround;
  if (const auto* const text = tree.get_ptr<const ArenaText*>()) {
    room += text->size();
  } else if (const auto* const members = tree.get_ptr<const Tree::object_t*>()) {
    for (const auto& [name, value] : *members) room += name.size() + roomFor(value);
  } else if (tree.is_array()) {
    for (const Tree& value : tree) room += roomFor(value);
  }
  return room;
}

void write(const Tree& tree, GrowingSecret& text) {
  if (const auto* const encoded = asEncoded(tree)) {
    text.append("\"");
    base64Encode(encoded->span(), text.grownBy(base64EncodedLength(encoded->bytes.size())));
    text.append("\"");
  } else if (tree.is_object()) {
    const char* separator = "{";
    for (const auto& [name, value] : tree.get_ref<const Tree::object_t&>()) {
      text.append(std::exchange(separator, ","));
      text.append(Tree(name).dump());
      text.append(":");
      write(value, text);
    }
    text.append(tree.empty() ? "{}" : "}");
  } else if (tree.is_array()) {
    const char* separator = "[";
    for (const Tree& value : tree) {
      text.append(std::exchange(separator, ","));
      write(value, text);
    }
    text.append(tree.empty() ? "[]" : "]");
  } else {
    text.append(tree.dump());
  }
}

bool isFinite(const Tree& tree) {
  if (tree.is_number_float()) return std::isfinite(tree.get_ref<const double&>());
  if (!tree.is_structured()) return true;
  return std::all_of(tree.begin(), tree.end(), isFinite);
}

}  // namespace

template <typename Fill>
JSON JSON::build(Fill&& fill) {
  auto document = std::make_shared<Document>();
  const Arena::Scope scope(document->arena);
  if constexpr (std::is_invocable_v<Fill, Tree&, Document&>) {
    fill(document->makeRoot(), *document);
  } else {
    fill(document->makeRoot());
  }
  const Tree* root = document->root;
  return JSON(std::move(document), root);
}

JSON::JSON(bool value) noexcept : node_(constant(value)) {}
JSON::JSON(std::int64_t value) : JSON(build([=](Tree& root) { root = Tree(value); })) {}
JSON::JSON(double value) : JSON(build([=](Tree& root) { root = Tree(value); })) {}
JSON::JSON(std::string_view value)
    : JSON(build([=](Tree& root) { root = Tree(ArenaText(value)); })) {}

JSON::JSON(const Dictionary& entries)
    : JSON(build([&](Tree& root, Document& document) {
        root = Tree::object();
        for (const auto& [name, value] : entries) {
          document.keepWhatIsKeptBy(value.owner_);
          root[ArenaText(name)] = value.node_ ? *asTree(value.node_) : Tree();
        }
      })) {}

JSON JSON::array(const std::vector<JSON>& items) {
  return build([&](Tree& root, Document& document) {
    root = Tree::array();
    for (const JSON& item : items) {
      document.keepWhatIsKeptBy(item.owner_);
      root.push_back(item.node_ ? *asTree(item.node_) : Tree());
    }
  });
}

JSON JSON::base64(std::string_view bytes) {
  return build([&](Tree& root, Document& document) {
    const auto encoded = std::make_shared<const EncodedBytes>(bytes);
    document.kept.push_back(encoded);
    const void* const address = encoded.get();
    Tree::binary_t::container_type value(sizeof address);
    std::memcpy(value.data(), &address, sizeof address);
    root = Tree::binary(std::move(value));
  });
}

JSONParseResult JSON::parse(std::string_view text) {
  // Below this size looking for long strings is not worth it.
  constexpr std::size_t kLong = std::size_t{32} << 10;
  if (text.size() >= kLong) {
    if (const auto strings = longPlainStrings(text); !strings.empty()) {
      bool parsed = false;
      JSON value = build([&](Tree& root) {
        TextWithGaps rest(text, strings);
        TreeBuilder<Tree> builder(root, &rest);
        parsed = Tree::sax_parse(rest.begin(), rest.end(), &builder);
      });
      if (parsed) return {std::move(value), {}};
    }
  }
  std::string error;
  JSON value = build([&](Tree& root) {
    TreeBuilder<Tree> builder(root);
    if (!Tree::sax_parse(text.begin(), text.end(), &builder)) error = builder.error();
  });
  if (!error.empty()) return {JSON(), std::move(error)};
  return {std::move(value), {}};
}

JSON::Kind JSON::kind() const noexcept {
  if (!node_) return Kind::null;
  switch (asTree(node_)->type()) {
    case Tree::value_t::boolean:
      return Kind::boolean;
    case Tree::value_t::number_integer:
    case Tree::value_t::number_unsigned:
      return Kind::integer;
    case Tree::value_t::number_float:
      return Kind::real;
    case Tree::value_t::string:
    case Tree::value_t::binary:
      return Kind::text;
    case Tree::value_t::array:
      return Kind::array;
    case Tree::value_t::object:
      return Kind::object;
    default:
      return Kind::null;
  }
}

JSON JSON::operator[](std::string_view key) const {
  if (!isObject()) return {};
  const auto found = asTree(node_)->find(key);
  return found == asTree(node_)->end() ? JSON() : JSON(owner_, &*found);
}

JSON JSON::item(std::size_t index) const {
  if (!isArray() || index >= asTree(node_)->size()) return {};
  return JSON(owner_, &(*asTree(node_))[index]);
}

std::optional<std::string_view> JSON::textAt(std::initializer_list<std::string_view> path) const {
  const Tree* node = asTree(node_);
  for (const auto key : path) {
    if (!node || !node->is_object()) return std::nullopt;
    const auto found = node->find(key);
    node = found == node->end() ? nullptr : &*found;
  }
  return node ? textOf(*node) : std::nullopt;
}

bool JSON::contains(std::string_view key) const {
  return isObject() && asTree(node_)->contains(key);
}

std::size_t JSON::size() const noexcept {
  return node_ && asTree(node_)->is_structured() ? asTree(node_)->size() : 0;
}

std::optional<std::string_view> JSON::text() const {
  return node_ ? textOf(*asTree(node_)) : std::nullopt;
}

std::optional<bool> JSON::boolean() const noexcept {
  if (kind() == Kind::boolean) return *asTree(node_)->get_ptr<const bool*>();
  const auto value = integer();
  if (value == 0) return false;
  if (value == 1) return true;
  return std::nullopt;
}

std::optional<std::int64_t> JSON::integer() const noexcept {
  switch (kind()) {
    case Kind::boolean:
      return *asTree(node_)->get_ptr<const bool*>() ? 1 : 0;
    case Kind::integer:
      if (const auto* natural = asTree(node_)->get_ptr<const std::uint64_t*>()) {
        if (*natural > std::uint64_t{std::numeric_limits<std::int64_t>::max()}) return std::nullopt;
        return static_cast<std::int64_t>(*natural);
      }
      return *asTree(node_)->get_ptr<const std::int64_t*>();
    case Kind::real: {
      const double value = *asTree(node_)->get_ptr<const double*>();
      const bool whole = std::trunc(value) == value && std::abs(value) < 9.2e18;
      return whole ? std::optional(static_cast<std::int64_t>(value)) : std::nullopt;
    }
    default:
      return std::nullopt;
  }
}

std::optional<double> JSON::number() const noexcept {
  if (kind() != Kind::integer && kind() != Kind::real) return std::nullopt;
  return asTree(node_)->get<double>();
}

std::optional<JSON> JSON::nonEmptyObject() const {
  return isObject() && size() > 0 ? std::optional(*this) : std::nullopt;
}

std::string JSON::asText() const {
  if (const auto value = text()) return std::string(*value);
  if (const auto value = integer()) return decimal(*value);
  if (kind() == Kind::integer) return decimal(std::numeric_limits<std::int64_t>::max());
  if (const auto value = number()) return decimal(toInt64(*value));
  return {};
}

std::string JSON::shortestDecimal() const {
  if (kind() == Kind::boolean) return {};
  if (const auto value = integer()) return decimal(*value);
  const auto value = number();
  return value ? decimal(*value) : std::string();
}

std::optional<std::string> JSON::serialized() const {
  if (!node_) return "null";
  if (!isFinite(*asTree(node_))) return std::nullopt;
  // The writer's own texts live only as long as this call.
  Arena scratch;
  const Arena::Scope scope(scratch);
  try {
    const auto* const document = static_cast<const Document*>(owner_.get());
    if (!document || document->kept.empty()) return std::string(asTree(node_)->dump());
    GrowingSecret text(roomFor(*asTree(node_)));
    write(*asTree(node_), text);
    return text.take();
  } catch (const Tree::exception&) {
    return std::nullopt;
  }
}

void JSON::visitMembers(void* visitor, void (*visit)(void*, std::string_view, const JSON&)) const {
  if (!isObject()) return;
  for (const auto& [name, value] : *asTree(node_)->get_ptr<const Tree::object_t*>()) {
    visit(visitor, name, JSON(owner_, &value));
  }
}

bool operator==(const JSON& a, const JSON& b) {
  if (a.node_ == b.node_) return true;
  if (!a.node_ || !b.node_) return a.isNull() && b.isNull();
  return *asTree(a.node_) == *asTree(b.node_);
}

}  // namespace veltrane
