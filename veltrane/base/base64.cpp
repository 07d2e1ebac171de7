#include "veltrane/base/base64.h"

#include <algorithm>
#include <array>
#include <cctype>

#include "veltrane/base/base64_alphabet.h"

namespace veltrane {
namespace {

constexpr std::uint8_t kUnknown = 0xFF;
constexpr std::uint8_t kPadding = 0xFE;

constexpr std::array<std::uint8_t, 256> makeValues() {
  std::array<std::uint8_t, 256> values{};
  values.fill(kUnknown);
  for (std::uint8_t i = 0; i < 64; ++i) values[static_cast<std::uint8_t>(kBase64Alphabet[i])] = i;
  values['='] = kPadding;
  return values;
}

constexpr std::array<std::uint8_t, 256> kValues = makeValues();

std::uint8_t valueOf(char c) {
  return kValues[static_cast<std::uint8_t>(c)];
}

#ifdef VELTRANE_BASE64_AVX2

constexpr std::size_t kBlock = 32;
constexpr std::size_t kBlockBytes = 24;

/// Decodes blocks of 32 characters of the alphabet, as long as there are any and room for a whole
/// register; answers how many characters it took.
__attribute__((target("avx2"))) std::size_t decodeBlocks(std::string_view text,
                                                         std::span<std::uint8_t> bytes) {
  // A character's upper four bits choose its range, the lower four tell whether it lies within it.
  const __m256i bad_low =
      _mm256_setr_epi8(0x15, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x13, 0x1A, 0x1B,
                       0x1B, 0x1B, 0x1A, 0x15, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11,
                       0x13, 0x1A, 0x1B, 0x1B, 0x1B, 0x1A);
  const __m256i bad_high =
      _mm256_setr_epi8(0x10, 0x10, 0x01, 0x02, 0x04, 0x08, 0x04, 0x08, 0x10, 0x10, 0x10, 0x10, 0x10,
                       0x10, 0x10, 0x10, 0x10, 0x10, 0x01, 0x02, 0x04, 0x08, 0x04, 0x08, 0x10, 0x10,
                       0x10, 0x10, 0x10, 0x10, 0x10, 0x10);
  const __m256i shift_by_range =
      _mm256_setr_epi8(0, 16, 19, 4, -65, -65, -71, -71, 0, 0, 0, 0, 0, 0, 0, 0, 0, 16, 19, 4, -65,
                       -65, -71, -71, 0, 0, 0, 0, 0, 0, 0, 0);
  const __m256i gather = _mm256_setr_epi8(2, 1, 0, 6, 5, 4, 10, 9, 8, 14, 13, 12, -1, -1, -1, -1, 2,
                                          1, 0, 6, 5, 4, 10, 9, 8, 14, 13, 12, -1, -1, -1, -1);
  const __m256i slash = _mm256_set1_epi8('/');
  std::size_t taken = 0;
  std::size_t made = 0;
  while (text.size() - taken >= kBlock && bytes.size() - made >= kBlock) {
    const __m256i in = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(text.data() + taken));
    const __m256i high = _mm256_and_si256(_mm256_srli_epi32(in, 4), slash);
    const __m256i low = _mm256_and_si256(in, slash);
    if (!_mm256_testz_si256(_mm256_shuffle_epi8(bad_low, low),
                            _mm256_shuffle_epi8(bad_high, high))) {
      break;
    }
    const __m256i range = _mm256_add_epi8(_mm256_cmpeq_epi8(in, slash), high);
    const __m256i six = _mm256_add_epi8(in, _mm256_shuffle_epi8(shift_by_range, range));
    // Four values of six bits become three bytes.
    const __m256i twelve = _mm256_maddubs_epi16(six, _mm256_set1_epi32(0x01400140));
    const __m256i whole = _mm256_madd_epi16(twelve, _mm256_set1_epi32(0x00011000));
    const __m256i packed = _mm256_permutevar8x32_epi32(_mm256_shuffle_epi8(whole, gather),
                                                       _mm256_setr_epi32(0, 1, 2, 4, 5, 6, 3, 7));
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(bytes.data() + made), packed);
    taken += kBlock;
    made += kBlockBytes;
  }
  return taken;
}

bool hasWideBlocks() {
  static const bool has = __builtin_cpu_supports("avx2") != 0;
  return has;
}

#else

std::size_t decodeBlocks(std::string_view, std::span<std::uint8_t>) {
  return 0;
}

bool hasWideBlocks() {
  return false;
}

#endif

/// Reads text in order and writes what its whole groups of four characters stand for.
class Decoder {
 public:
  Decoder(std::string_view text, std::span<std::uint8_t> bytes) : text_(text), bytes_(bytes) {}

  std::optional<std::size_t> run() {
    while (!text_.empty()) {
      if (pending_ == 0 && !ended_) takeWholeGroups();
      if (!text_.empty() && !takeOne()) return std::nullopt;
    }
    return pending_ == 0 ? std::optional(made_) : std::nullopt;
  }

 private:
  void takeWholeGroups() {
    if (hasWideBlocks()) {
      const std::size_t taken = decodeBlocks(text_, bytes_.subspan(made_));
      text_.remove_prefix(taken);
      made_ += taken / 4 * 3;
    }
    // The few characters that a wide block stumbles over, or all of them without such blocks.
    std::size_t left = hasWideBlocks() ? 8 : text_.size() / 4;
    for (; left > 0 && text_.size() >= 4; --left) {
      const std::uint8_t a = valueOf(text_[0]);
      const std::uint8_t b = valueOf(text_[1]);
      const std::uint8_t c = valueOf(text_[2]);
      const std::uint8_t d = valueOf(text_[3]);
      if ((a | b | c | d) >= 64) return;
      write(std::uint32_t{a} << 18 | std::uint32_t{b} << 12 | std::uint32_t{c} << 6 | d, 3);
      text_.remove_prefix(4);
    }
  }

  /// False when the character may not stand here.
  bool takeOne() {
    const std::uint8_t value = valueOf(text_.front());
    text_.remove_prefix(1);
    if (value == kUnknown) return true;
    if (ended_ && pending_ == 0) return false;
    if (value == kPadding) return takePadding();
    if (ended_) return false;
    group_ = group_ << 6 | value;
    if (++pending_ == 4) {
      write(group_, 3);
      pending_ = 0;
    }
    return true;
  }

  bool takePadding() {
    if (pending_ < 2) return false;
    if (!ended_) write(group_ << 6 * (4 - pending_), pending_ - 1);
    ended_ = true;
    pending_ = (pending_ + 1) % 4;
    return true;
  }

  void write(std::uint32_t group, int count) {
    for (int i = 0; i < count; ++i) {
      bytes_[made_++] = static_cast<std::uint8_t>(group >> (16 - 8 * i));
    }
  }

  std::string_view text_;
  std::span<std::uint8_t> bytes_;
  std::size_t made_ = 0;
  std::uint32_t group_ = 0;
  /// Characters of the group under way, padding included.
  int pending_ = 0;
  /// Padding was seen.
  bool ended_ = false;
};

}  // namespace

std::optional<std::size_t> base64Decode(std::string_view text, std::span<std::uint8_t> bytes) {
  return Decoder(text, bytes).run();
}

std::optional<std::string> base64Decoded(std::string_view text) {
  std::string bytes(base64DecodedRoom(text.size()), '\0');
  const auto count =
      base64Decode(text, {reinterpret_cast<std::uint8_t*>(bytes.data()), bytes.size()});
  if (!count) return std::nullopt;
  bytes.resize(*count);
  return bytes;
}

std::string base64URLEncoded(std::string_view bytes) {
  auto text = base64Encoded({reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()});
  while (text.ends_with('=')) text.pop_back();
  std::ranges::replace(text, '+', '-');
  std::ranges::replace(text, '/', '_');
  return text;
}

std::optional<std::string> base64URLDecoded(std::string_view text) {
  for (int padding = 0; padding < 2 && text.ends_with('='); ++padding) text.remove_suffix(1);
  std::string standard(text);
  std::ranges::replace(standard, '-', '+');
  std::ranges::replace(standard, '_', '/');
  const auto isForeign = [](unsigned char c) {
    return !(c < 0x80 && std::isalnum(c)) && c != '+' && c != '/';
  };
  if (std::ranges::any_of(standard, isForeign)) return std::nullopt;
  standard.append((4 - standard.size() % 4) % 4, '=');
  return base64Decoded(standard);
}

}  // namespace veltrane
