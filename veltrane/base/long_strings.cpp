#include "veltrane/base/long_strings.h"

#include <cstdint>
#include <cstring>
#include <utility>

namespace veltrane {
namespace {

/// A string of twice this length covers a whole stride, wherever it begins.
constexpr std::size_t kStride = 4096;

/// In JSON a quote opens a string exactly when it follows one of these...
constexpr std::string_view kBeforeString = ":,[ \t\r\n";
/// ... and what comes after a closed string is one of these; after a value, no colon.
constexpr std::string_view kAfterString = ":,]} \t\r\n";
constexpr std::string_view kAfterValue = ",]}";
constexpr std::string_view kBlanks = " \t\r\n";

bool isOneOf(std::string_view set, char c) {
  return set.find(c) != std::string_view::npos;
}

constexpr std::uint64_t ofEach(unsigned char byte) {
  return ~std::uint64_t{0} / 255 * byte;
}

/// Not zero when one of the eight bytes is below `limit`, which is at most 128.
std::uint64_t anyBelow(std::uint64_t bytes, unsigned char limit) {
  return (bytes - ofEach(limit)) & ~bytes & ofEach(0x80);
}

std::uint64_t anyEqual(std::uint64_t bytes, unsigned char value) {
  return anyBelow(bytes ^ ofEach(value), 1);
}

/// Eight bytes at a time: this is all that is left to do for most of such a text.
bool isPlain(std::string_view text) {
  const auto odd = [](std::uint64_t bytes) {
    return (bytes & ofEach(0x80)) | anyBelow(bytes, 0x20) | anyEqual(bytes, '\\') |
           anyEqual(bytes, 0x7F);
  };
  std::uint64_t found = 0;
  std::uint64_t bytes = 0;
  for (; text.size() >= sizeof bytes; text.remove_prefix(sizeof bytes)) {
    std::memcpy(&bytes, text.data(), sizeof bytes);
    found |= odd(bytes);
  }
  bytes = ofEach(' ');
  std::memcpy(&bytes, text.data(), text.size());
  return (found | odd(bytes)) == 0;
}

/// Whether what lies between these quotes is the content of a string that is a value.
bool isPlainValue(std::string_view text, std::size_t begin, std::size_t end) {
  if (begin < 2 || !isOneOf(kBeforeString, text[begin - 2])) return false;
  if (isOneOf(kAfterString, text[begin])) return false;
  const std::size_t after = text.find_first_not_of(kBlanks, end + 1);
  return after != std::string_view::npos && isOneOf(kAfterValue, text[after]) &&
         isPlain(text.substr(begin, end - begin));
}

}  // namespace

std::vector<std::string_view> longPlainStrings(std::string_view text) {
  std::vector<std::string_view> strings;
  for (std::size_t at = 0; at + kStride <= text.size(); at += kStride) {
    if (text.substr(at, kStride).find('"') != std::string_view::npos) continue;
    const std::size_t opening = text.rfind('"', at);
    const std::size_t closing = text.find('"', at);
    if (closing == std::string_view::npos) break;
    if (opening != std::string_view::npos && isPlainValue(text, opening + 1, closing)) {
      strings.push_back(text.substr(opening + 1, closing - opening - 1));
    }
    at = closing / kStride * kStride;
  }
  return strings;
}

TextWithGaps::Iterator TextWithGaps::begin() {
  Iterator first(this, text_.data());
  if (!gaps_.empty()) first.stop_ = gaps_.front().data();
  return first;
}

void TextWithGaps::Iterator::skip() {
  const std::string_view gap = source_->gaps_[source_->next_];
  at_ = gap.data() + gap.size();
  source_->skipped_ = true;
  ++source_->next_;
  stop_ = source_->next_ < source_->gaps_.size() ? source_->gaps_[source_->next_].data() : nullptr;
}

const std::string_view* TextWithGaps::takeSkipped() {
  return std::exchange(skipped_, false) ? &gaps_[next_ - 1] : nullptr;
}

}  // namespace veltrane
