#include <string_view>

#include "veltrane/base/base64.h"
#include "veltrane/base/base64_alphabet.h"

namespace veltrane {
namespace {

#ifdef VELTRANE_BASE64_AVX2

/// Two times twelve bytes make a block; as many are read as fit into half a register.
constexpr std::size_t kBlockBytes = 24;
constexpr std::size_t kReadAhead = 28;
constexpr std::size_t kBlock = 32;

/// Encodes blocks of 24 bytes as long as there are any; answers how many bytes it took.
__attribute__((target("avx2"))) std::size_t encodeBlocks(std::span<const std::uint8_t> bytes,
                                                         char* text) {
  const __m256i spread = _mm256_setr_epi8(1, 0, 2, 1, 4, 3, 5, 4, 7, 6, 8, 7, 10, 9, 11, 10, 1, 0,
                                          2, 1, 4, 3, 5, 4, 7, 6, 8, 7, 10, 9, 11, 10);
  // By range: small letters, the ten digits, the two signs, capitals.
  const __m256i shift_by_range =
      _mm256_setr_epi8('a' - 26, '0' - 52, '0' - 52, '0' - 52, '0' - 52, '0' - 52, '0' - 52,
                       '0' - 52, '0' - 52, '0' - 52, '0' - 52, '+' - 62, '/' - 63, 'A', 0, 0,
                       'a' - 26, '0' - 52, '0' - 52, '0' - 52, '0' - 52, '0' - 52, '0' - 52,
                       '0' - 52, '0' - 52, '0' - 52, '0' - 52, '+' - 62, '/' - 63, 'A', 0, 0);
  std::size_t taken = 0;
  for (; bytes.size() - taken >= kReadAhead; taken += kBlockBytes, text += kBlock) {
    const auto half = [&](std::size_t at) {
      return _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes.data() + taken + at));
    };
    const __m256i in =
        _mm256_shuffle_epi8(_mm256_set_m128i(half(kBlockBytes / 2), half(0)), spread);
    // Three bytes become four values of six bits.
    const __m256i outer = _mm256_mulhi_epu16(_mm256_and_si256(in, _mm256_set1_epi32(0x0FC0FC00)),
                                             _mm256_set1_epi32(0x04000040));
    const __m256i inner = _mm256_mullo_epi16(_mm256_and_si256(in, _mm256_set1_epi32(0x003F03F0)),
                                             _mm256_set1_epi32(0x01000010));
    const __m256i six = _mm256_or_si256(outer, inner);
    const __m256i is_capital = _mm256_cmpgt_epi8(_mm256_set1_epi8(26), six);
    const __m256i range = _mm256_or_si256(_mm256_subs_epu8(six, _mm256_set1_epi8(51)),
                                          _mm256_and_si256(is_capital, _mm256_set1_epi8(13)));
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(text),
                        _mm256_add_epi8(six, _mm256_shuffle_epi8(shift_by_range, range)));
  }
  return taken;
}

std::size_t encodeWide(std::span<const std::uint8_t> bytes, char* text) {
  static const bool has = __builtin_cpu_supports("avx2") != 0;
  return has ? encodeBlocks(bytes, text) : 0;
}

#else

std::size_t encodeWide(std::span<const std::uint8_t>, char*) {
  return 0;
}

#endif

}  // namespace

void base64Encode(std::span<const std::uint8_t> bytes, char* text) {
  const std::size_t taken = encodeWide(bytes, text);
  bytes = bytes.subspan(taken);
  text += taken / 3 * 4;
  const auto write = [&text](std::uint32_t group, int characters) {
    for (int i = 0; i < 4; ++i) {
      *text++ = i < characters ? kBase64Alphabet[group >> (18 - 6 * i) & 63] : '=';
    }
  };
  for (; bytes.size() >= 3; bytes = bytes.subspan(3)) {
    write(std::uint32_t{bytes[0]} << 16 | std::uint32_t{bytes[1]} << 8 | bytes[2], 4);
  }
  if (bytes.size() == 2) write(std::uint32_t{bytes[0]} << 16 | std::uint32_t{bytes[1]} << 8, 3);
  if (bytes.size() == 1) write(std::uint32_t{bytes[0]} << 16, 2);
}

std::string base64Encoded(std::span<const std::uint8_t> bytes) {
  std::string text(base64EncodedLength(bytes.size()), '\0');
  base64Encode(bytes, text.data());
  return text;
}

}  // namespace veltrane
