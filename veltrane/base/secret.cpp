#include "veltrane/base/secret.h"

#include <utility>

#include "veltrane/base/wipe.h"

namespace veltrane {

Secret::Secret(std::string&& bytes) : bytes_(bytes) {
  wipe(bytes);
}

Secret::Secret(std::string_view bytes) : bytes_(bytes) {}

Secret::Secret(Secret&& other) noexcept : bytes_(std::move(other.bytes_)) {
  // A short string is copied by its move.
  wipe(other.bytes_);
}

Secret& Secret::operator=(Secret&& other) noexcept {
  if (this == &other) return *this;
  wipe(bytes_);
  bytes_ = std::move(other.bytes_);
  wipe(other.bytes_);
  return *this;
}

Secret::~Secret() {
  wipe(bytes_);
}

void Secret::wipe(std::string& text) noexcept {
  text.resize(text.capacity());
  veltrane::wipe(text.data(), text.size());
  text.clear();
}

}  // namespace veltrane
