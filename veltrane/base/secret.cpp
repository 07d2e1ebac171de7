#include "veltrane/base/secret.h"

#include <utility>

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
  // Through a volatile pointer, so that the compiler keeps stores that nothing reads.
  volatile char* byte = text.data();
  for (std::size_t i = 0; i < text.size(); ++i) byte[i] = '\0';
  text.clear();
}

}  // namespace veltrane
