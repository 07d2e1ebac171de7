#pragma once

#if defined(__x86_64__) && defined(__GNUC__)
#define VELTRANE_BASE64_AVX2 1
#include <immintrin.h>
#endif

namespace veltrane {

inline constexpr char kBase64Alphabet[] =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

}  // namespace veltrane
