#pragma once

#include "veltrane/toolkit/picture.h"

namespace veltrane::bench {

/// An opaque picture with a photograph's mixture of the smooth, the rough and the sharp; the same
/// each time.
Picture photograph(PixelSize size);

/// Peak signal to noise, in decibels, of `scaled` against `original` scaled by Lanczos' filter
/// (three lobes) in double precision.
double quality(const Picture& original, const Picture& scaled);

}  // namespace veltrane::bench
