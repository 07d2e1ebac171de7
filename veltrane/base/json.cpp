#include "veltrane/base/json.h"

#include <charconv>
#include <cmath>
#include <limits>
#include <map>
#include <nlohmann/json.hpp>

#include "veltrane/base/arena.h"
#include "veltrane/base/dictionary.h"
#include "veltrane/base/long_strings.h"

namespace veltrane {
namespace {

using ArenaText = std::basic_string<char, std::char_traits<char>, ArenaAllocator<char>>;
using Tree = nlohmann::basic_json<std::map, std::vector, ArenaText, bool, std::int64_t,
                                  std::uint64_t, double, ArenaAllocator>;

/// What owns a tree: its memory. The tree's destructor never runs; the arena drops it whole.
struct Document {
  Arena arena;
  Tree* root = nullptr;

  Tree& makeRoot() {
    root = new (arena.allocate(sizeof(Tree), alignof(Tree))) Tree();
    return *root;
  }
};

const Tree* asTree(const void* node) {
  return static_cast<const Tree*>(node);
}

/// Builds the tree while parsing and refuses to go deeper than a document may.
class TreeBuilder {
 public:
  explicit TreeBuilder(Tree& root, TextWithGaps* source = nullptr) : root_(root), source_(source) {}

  bool null() { return add(nullptr); }
  bool boolean(bool value) { return add(value); }
  bool number_integer(std::int64_t value) { return add(value); }
  bool number_unsigned(std::uint64_t value) { return add(value); }
  /// The library hands over the digits as one of two text types.
  template <typename Text>
  bool number_float(double value, const Text& /*digits*/) {
    return add(value);
  }
  bool string(ArenaText& value) {
    const std::string_view* whole = source_ ? source_->takeSkipped() : nullptr;
    return add(whole ? ArenaText(*whole) : std::move(value));
  }
  template <typename Bytes>
  bool binary(Bytes& /*bytes*/) {
    return false;
  }

  bool start_object(std::size_t /*size*/) { return enter(Tree::object()); }
  bool key(ArenaText& name) {
    member_ = &open_.back()->get_ref<Tree::object_t&>()[std::move(name)];
    return true;
  }
  bool end_object() { return leave(); }
  bool start_array(std::size_t /*size*/) { return enter(Tree::array()); }
  bool end_array() { return leave(); }

  template <typename Exception>
  bool parse_error(std::size_t position, const std::string& /*token*/, const Exception&) {
    error_ = "The data is not valid JSON (near byte " + std::to_string(position) + ").";
    return false;
  }
  const std::string& error() const { return error_; }

 private:
  /// Where the next value belongs.
  template <typename Value>
  Tree& place(Value&& value) {
    if (open_.empty()) return root_ = Tree(std::forward<Value>(value));
    if (open_.back()->is_array()) {
      return open_.back()->get_ref<Tree::array_t&>().emplace_back(std::forward<Value>(value));
    }
    return *member_ = Tree(std::forward<Value>(value));
  }

  template <typename Value>
  bool add(Value&& value) {
    place(std::forward<Value>(value));
    return true;
  }

  bool enter(Tree&& container) {
    if (open_.size() == JSON::kMaxDepth) {
      error_ =
          "The data is nested more deeply than " + std::to_string(JSON::kMaxDepth) + " levels.";
      return false;
    }
    open_.push_back(&place(std::move(container)));
    return true;
  }

  bool leave() {
    open_.pop_back();
    return true;
  }

  Tree& root_;
  TextWithGaps* source_;
  /// From the root to the innermost value that is still open.
  std::vector<Tree*> open_;
  /// The member of an object that its value is awaited for.
  Tree* member_ = nullptr;
  std::string error_;
};

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
  fill(document->makeRoot());
  const Tree* root = document->root;
  return JSON(std::move(document), root);
}

JSON::JSON(bool value) noexcept : node_(constant(value)) {}
JSON::JSON(std::int64_t value) : JSON(build([=](Tree& root) { root = Tree(value); })) {}
JSON::JSON(double value) : JSON(build([=](Tree& root) { root = Tree(value); })) {}
JSON::JSON(std::string_view value)
    : JSON(build([=](Tree& root) { root = Tree(ArenaText(value)); })) {}

JSON::JSON(const Dictionary& entries)
    : JSON(build([&](Tree& root) {
        root = Tree::object();
        for (const auto& [name, value] : entries) {
          root[ArenaText(name)] = value.node_ ? *asTree(value.node_) : Tree();
        }
      })) {}

JSON JSON::array(const std::vector<JSON>& items) {
  return build([&](Tree& root) {
    root = Tree::array();
    for (const JSON& item : items) {
      root.push_back(item.node_ ? *asTree(item.node_) : Tree());
    }
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
        TreeBuilder builder(root, &rest);
        parsed = Tree::sax_parse(rest.begin(), rest.end(), &builder);
      });
      if (parsed) return {std::move(value), {}};
    }
  }
  std::string error;
  JSON value = build([&](Tree& root) {
    TreeBuilder builder(root);
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
  if (!node || !node->is_string()) return std::nullopt;
  return *node->get_ptr<const ArenaText*>();
}

bool JSON::contains(std::string_view key) const {
  return isObject() && asTree(node_)->contains(key);
}

std::size_t JSON::size() const noexcept {
  return node_ && asTree(node_)->is_structured() ? asTree(node_)->size() : 0;
}

std::optional<std::string_view> JSON::text() const noexcept {
  if (kind() != Kind::text) return std::nullopt;
  return *asTree(node_)->get_ptr<const ArenaText*>();
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
    const ArenaText text = asTree(node_)->dump();
    return std::string(text);
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
