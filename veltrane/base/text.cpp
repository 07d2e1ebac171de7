#include "veltrane/base/text.h"

#include <algorithm>
#include <array>

namespace veltrane {
namespace {

// The characters with Unicode's White_Space property, in UTF-8.
constexpr std::array<std::string_view, 25> kWhiteSpace = {" ",
                                                          "\t",
                                                          "\n",
                                                          "\v",
                                                          "\f",
                                                          "\r",
                                                          "\xC2\x85",
                                                          "\xC2\xA0",
                                                          "\xE1\x9A\x80",
                                                          "\xE2\x80\x80",
                                                          "\xE2\x80\x81",
                                                          "\xE2\x80\x82",
                                                          "\xE2\x80\x83",
                                                          "\xE2\x80\x84",
                                                          "\xE2\x80\x85",
                                                          "\xE2\x80\x86",
                                                          "\xE2\x80\x87",
                                                          "\xE2\x80\x88",
                                                          "\xE2\x80\x89",
                                                          "\xE2\x80\x8A",
                                                          "\xE2\x80\xA8",
                                                          "\xE2\x80\xA9",
                                                          "\xE2\x80\xAF",
                                                          "\xE2\x81\x9F",
                                                          "\xE3\x80\x80"};

bool isContinuation(char byte) {
  return (static_cast<unsigned char>(byte) & 0xC0) == 0x80;
}

/// Bytes of the code point that starts here: the lead byte's promise, cut where it is not kept.
std::size_t codePointLength(std::string_view text) {
  const auto lead = static_cast<unsigned char>(text.front());
  const std::size_t promised = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : lead >= 0xC0 ? 2 : 1;
  if (text.size() < promised) return 1;
  const auto tail = text.substr(1, promised - 1);
  return std::all_of(tail.begin(), tail.end(), isContinuation) ? promised : 1;
}

}  // namespace

std::string_view trimmed(std::string_view text) {
  const auto strip = [&](auto matches, auto cut) {
    for (bool found = true; found;) {
      const auto space = std::find_if(kWhiteSpace.begin(), kWhiteSpace.end(), matches);
      found = space != kWhiteSpace.end();
      if (found) cut(space->size());
    }
  };
  strip([&](std::string_view space) { return text.starts_with(space); },
        [&](std::size_t size) { text.remove_prefix(size); });
  strip([&](std::string_view space) { return text.ends_with(space); },
        [&](std::size_t size) { text.remove_suffix(size); });
  return text;
}

std::size_t codePointCount(std::string_view text) {
  std::size_t count = 0;
  for (; !text.empty(); ++count) text.remove_prefix(codePointLength(text));
  return count;
}

}  // namespace veltrane
