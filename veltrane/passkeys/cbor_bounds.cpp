#include "veltrane/passkeys/cbor_bounds.h"

#include <cstdint>

namespace veltrane {
namespace {

constexpr int kDeepest = 16;
constexpr unsigned char kBreak = 0xFF;

enum Major : unsigned char { number = 0, bytes = 2, text = 3, array = 4, map = 5, tag = 6 };

struct Head {
  unsigned char major = 0;
  bool isOpenEnded = false;
  std::uint64_t argument = 0;
};

class Walker {
 public:
  explicit Walker(std::string_view rest) : rest_(rest) {}

  std::string_view rest() const { return rest_; }

  bool item(int depth) {
    Head head;
    if (depth > kDeepest || !take(head)) return false;
    switch (head.major) {
      case Major::bytes:
      case Major::text:
        return head.isOpenEnded ? untilBreak(depth) : skip(head.argument);
      case Major::array:
        return head.isOpenEnded ? untilBreak(depth) : items(head.argument, 1, depth);
      case Major::map:
        return head.isOpenEnded ? untilBreak(depth) : items(head.argument, 2, depth);
      case Major::tag:
        return item(depth + 1);
      default:
        return !head.isOpenEnded;
    }
  }

  bool take(Head& head) {
    constexpr unsigned kOneByte = 24;
    constexpr unsigned kEightBytes = 27;
    constexpr unsigned kOpenEnded = 31;
    if (rest_.empty()) return false;
    const auto first = static_cast<unsigned char>(rest_.front());
    rest_.remove_prefix(1);
    const unsigned detail = first & 0x1FU;
    head.major = first >> 5U;
    head.argument = detail;
    head.isOpenEnded = detail == kOpenEnded;
    if (detail < kOneByte || head.isOpenEnded) return true;
    if (detail > kEightBytes) return false;
    const std::size_t size = std::size_t{1} << (detail - kOneByte);
    if (size > rest_.size()) return false;
    head.argument = 0;
    for (const unsigned char byte : rest_.substr(0, size)) {
      head.argument = head.argument << 8U | byte;
    }
    rest_.remove_prefix(size);
    return true;
  }

 private:
  bool skip(std::uint64_t size) {
    if (size > rest_.size()) return false;
    rest_.remove_prefix(static_cast<std::size_t>(size));
    return true;
  }

  bool items(std::uint64_t count, std::uint64_t each, int depth) {
    // Every item has a byte at least.
    if (count > rest_.size() / each) return false;
    for (std::uint64_t i = 0; i < count * each; ++i) {
      if (!item(depth + 1)) return false;
    }
    return true;
  }

  bool untilBreak(int depth) {
    while (!rest_.empty() && static_cast<unsigned char>(rest_.front()) != kBreak) {
      if (!item(depth + 1)) return false;
    }
    return skip(1);
  }

  std::string_view rest_;
};

}  // namespace

std::optional<std::size_t> boundedCborSize(std::string_view bytes) {
  Walker walker(bytes);
  if (!walker.item(0)) return std::nullopt;
  return bytes.size() - walker.rest().size();
}

std::string_view bytesInCborMap(std::string_view map, std::uint64_t key) {
  Walker walker(map);
  Head head;
  if (!walker.take(head) || head.major != Major::map || head.isOpenEnded) return {};
  for (std::uint64_t i = 0; i < head.argument; ++i) {
    Head name;
    Head value;
    Walker(walker).take(name);
    if (!walker.item(0)) return {};
    Walker inside(walker);
    if (!inside.take(value) || !walker.item(0)) return {};
    if (name.major == Major::number && name.argument == key && value.major == Major::bytes &&
        !value.isOpenEnded) {
      return inside.rest().substr(0, static_cast<std::size_t>(value.argument));
    }
  }
  return {};
}

bool isBoundedAuthenticatorData(std::string_view data) {
  constexpr std::size_t kFlags = 32;
  constexpr std::size_t kHead = 37;
  constexpr std::size_t kAttestedHead = 18;
  constexpr unsigned kAttested = 0x40;
  constexpr unsigned kExtensions = 0x80;
  if (data.size() < kHead) return false;
  const auto flags = static_cast<unsigned char>(data[kFlags]);
  data.remove_prefix(kHead);
  const auto skipItem = [&data] {
    const auto size = boundedCborSize(data);
    data.remove_prefix(size.value_or(0));
    return size.has_value();
  };
  if ((flags & kAttested) != 0) {
    if (data.size() < kAttestedHead) return false;
    const std::size_t id =
        static_cast<unsigned char>(data[16]) * 256U + static_cast<unsigned char>(data[17]);
    if (id > data.size() - kAttestedHead) return false;
    data.remove_prefix(kAttestedHead + id);
    if (!skipItem()) return false;
  }
  return (flags & kExtensions) == 0 || skipItem();
}

}  // namespace veltrane
