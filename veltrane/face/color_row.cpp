#include "veltrane/face/color_row.h"

#include <algorithm>
#include <cmath>

#if defined(__x86_64__) && defined(__GNUC__)
#define VELTRANE_COLOR_ROW_AVX2 1
#include <immintrin.h>
#endif

namespace veltrane::face {
namespace {

/// Binary places of a colour before it is rounded; more do not fit into 16 bits.
constexpr int kPlaces = 6;
// Samples are brought to the upper end of 16 bits, where a product rounds least.
constexpr int kLumaShift = 7;
constexpr int kChromaShift = 8;

std::int16_t weight(double factor, int shift) {
  return static_cast<std::int16_t>(std::lround(factor * (1 << (15 + kPlaces - shift))));
}

/// As processors multiply fractions of 15 places.
constexpr int product(int a, int b) {
  return (a * b + (1 << 14)) >> 15;
}

std::uint32_t rounded(int colour) {
  return static_cast<std::uint32_t>(std::clamp((colour + (1 << (kPlaces - 1))) >> kPlaces, 0, 255));
}

std::uint32_t joined(const ColorWeights& by, int luma, int blue, int red) {
  const int light = product((luma - by.lumaOffset) * (1 << kLumaShift), by.luma);
  const int u = (blue - 128) * (1 << kChromaShift);
  const int v = (red - 128) * (1 << kChromaShift);
  return packed(rounded(light + product(v, by.redV)),
                rounded(light + product(u, by.greenU) + product(v, by.greenV)),
                rounded(light + product(u, by.blueU)));
}

#ifdef VELTRANE_COLOR_ROW_AVX2

constexpr int kBlock = 32;

/// A colour's 32 bytes of the light of pixels and what is added to each two. Halves of a register
/// hold pixels 0 to 7 and 16 to 23, the other register those behind them.
__attribute__((target("avx2"))) inline __m256i colour(__m256i first, __m256i second,
                                                      __m256i added) {
  const __m256i half = _mm256_set1_epi16(1 << (kPlaces - 1));
  const __m256i a =
      _mm256_adds_epi16(_mm256_adds_epi16(first, half), _mm256_unpacklo_epi16(added, added));
  const __m256i b =
      _mm256_adds_epi16(_mm256_adds_epi16(second, half), _mm256_unpackhi_epi16(added, added));
  return _mm256_packus_epi16(_mm256_srai_epi16(a, kPlaces), _mm256_srai_epi16(b, kPlaces));
}

__attribute__((target("avx2"))) inline __m256i light(__m256i luma, const ColorWeights& by) {
  const __m256i above = _mm256_sub_epi16(luma, _mm256_set1_epi16(by.lumaOffset));
  return _mm256_mulhrs_epi16(_mm256_slli_epi16(above, kLumaShift), _mm256_set1_epi16(by.luma));
}

/// Less 128, at the upper end: what overflows is what 128 takes away.
__attribute__((target("avx2"))) inline __m256i difference(__m256i samples) {
  return _mm256_xor_si256(_mm256_slli_epi16(samples, kChromaShift), _mm256_set1_epi16(-0x8000));
}

__attribute__((target("avx2"))) inline __m256i times(__m256i words, std::int16_t factor) {
  return _mm256_mulhrs_epi16(words, _mm256_set1_epi16(factor));
}

__attribute__((target("avx2"))) inline void put(std::uint32_t* out, __m256i pixels) {
  _mm256_storeu_si256(reinterpret_cast<__m256i*>(out), pixels);
}

__attribute__((target("avx2"))) inline void store(__m256i red, __m256i green, __m256i blue,
                                                  std::uint32_t* out) {
  const __m256i full = _mm256_set1_epi8(-1);
  const __m256i lowPairs[] = {_mm256_unpacklo_epi8(red, green), _mm256_unpacklo_epi8(blue, full)};
  const __m256i highPairs[] = {_mm256_unpackhi_epi8(red, green), _mm256_unpackhi_epi8(blue, full)};
  const __m256i a = _mm256_unpacklo_epi16(lowPairs[0], lowPairs[1]);
  const __m256i b = _mm256_unpackhi_epi16(lowPairs[0], lowPairs[1]);
  const __m256i c = _mm256_unpacklo_epi16(highPairs[0], highPairs[1]);
  const __m256i d = _mm256_unpackhi_epi16(highPairs[0], highPairs[1]);
  put(out, _mm256_permute2x128_si256(a, b, 0x20));
  put(out + 8, _mm256_permute2x128_si256(c, d, 0x20));
  put(out + 16, _mm256_permute2x128_si256(a, b, 0x31));
  put(out + 24, _mm256_permute2x128_si256(c, d, 0x31));
}

/// Sixteen samples as words.
__attribute__((target("avx2"))) inline __m256i words(const std::uint8_t* samples, int step) {
  if (step == 1) {
    return _mm256_cvtepu8_epi16(_mm_loadu_si128(reinterpret_cast<const __m128i*>(samples)));
  }
  const __m256i pairs = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(samples));
  return _mm256_and_si256(pairs, _mm256_set1_epi16(0xFF));
}

/// Blocks of 32 pixels, as long as there are any and bytes behind them; answers how many pixels.
__attribute__((target("avx2"))) int joinBlocks(const ColorWeights& by, const ColorSamples& samples,
                                               int count, std::uint32_t* out) {
  const __m256i zero = _mm256_setzero_si256();
  int x = 0;
  // Pairs are read to the end of the one behind them, which has to be there.
  for (; x + kBlock + 2 * (samples.step - 1) <= count; x += kBlock) {
    const __m256i bytes = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(samples.luma + x));
    const __m256i first = light(_mm256_unpacklo_epi8(bytes, zero), by);
    const __m256i second = light(_mm256_unpackhi_epi8(bytes, zero), by);
    const std::ptrdiff_t at = std::ptrdiff_t{x} / 2 * samples.step;
    const __m256i u = difference(words(samples.blue + at, samples.step));
    const __m256i v = difference(words(samples.red + at, samples.step));
    store(colour(first, second, times(v, by.redV)),
          colour(first, second, _mm256_add_epi16(times(u, by.greenU), times(v, by.greenV))),
          colour(first, second, times(u, by.blueU)), out + x);
  }
  return x;
}

int joinWide(const ColorWeights& by, const ColorSamples& samples, int count, std::uint32_t* out) {
  static const bool has = __builtin_cpu_supports("avx2") != 0;
  return has ? joinBlocks(by, samples, count, out) : 0;
}

#else

int joinWide(const ColorWeights&, const ColorSamples&, int, std::uint32_t*) {
  return 0;
}

#endif

}  // namespace

ColorWeights colorWeightsOf(ColorMatrix matrix, ColorRange range) {
  const bool isHD = matrix == ColorMatrix::bt709;
  const bool isFull = range == ColorRange::full;
  const double red = isHD ? 0.2126 : 0.299;
  const double blue = isHD ? 0.0722 : 0.114;
  const double green = 1 - red - blue;
  const double luma = isFull ? 1 : 255.0 / 219;
  const double chroma = isFull ? 1 : 255.0 / 224;
  return {static_cast<std::int16_t>(isFull ? 0 : 16),
          weight(luma, kLumaShift),
          weight(2 * (1 - red) * chroma, kChromaShift),
          weight(-2 * (1 - blue) * blue / green * chroma, kChromaShift),
          weight(-2 * (1 - red) * red / green * chroma, kChromaShift),
          weight(2 * (1 - blue) * chroma, kChromaShift)};
}

void joinColors(const ColorWeights& weights, const ColorSamples& samples, int count,
                std::uint32_t* out) {
  for (int x = joinWide(weights, samples, count, out); x < count; ++x) {
    const std::ptrdiff_t at = std::ptrdiff_t{x} / 2 * samples.step;
    out[x] = joined(weights, samples.luma[x], samples.blue[at], samples.red[at]);
  }
}

}  // namespace veltrane::face
