#pragma once

#include <algorithm>
#include <cstddef>
#include <string>
#include <string_view>
#include <utility>

#include "veltrane/base/secret.h"

namespace veltrane {

/// A secret while it is written. Memory that it grows out of is wiped, and what nobody has taken
/// when it goes.
class GrowingSecret {
 public:
  explicit GrowingSecret(std::size_t room) { bytes_.reserve(room); }
  ~GrowingSecret() { Secret::wipe(bytes_); }
  GrowingSecret(const GrowingSecret&) = delete;
  GrowingSecret& operator=(const GrowingSecret&) = delete;

  void append(std::string_view piece) {
    std::copy(piece.begin(), piece.end(), grownBy(piece.size()));
  }

  /// Where so many more bytes are to be written, until it grows again.
  char* grownBy(std::size_t count) {
    const std::size_t start = bytes_.size();
    if (count > bytes_.capacity() - start) moveToRoomFor(std::max(start + count, 2 * start));
    bytes_.resize(start + count);
    return bytes_.data() + start;
  }

  /// All of it, now the caller's to wipe.
  std::string take() { return std::move(bytes_); }

 private:
  void moveToRoomFor(std::size_t count) {
    std::string larger;
    larger.reserve(count);
    larger = bytes_;
    Secret::wipe(bytes_);
    bytes_.swap(larger);
  }

  std::string bytes_;
};

}  // namespace veltrane
