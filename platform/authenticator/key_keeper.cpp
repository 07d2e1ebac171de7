#include "platform/authenticator/key_keeper.h"

namespace veltrane::authenticator {

std::string KeyContext::bytes() const {
  // Ids have 1,023 bytes at most.
  std::string bytes;
  bytes.push_back(static_cast<char>(id_.size() >> 8));
  bytes.push_back(static_cast<char>(id_.size()));
  return bytes.append(id_).append(rpId_);
}

}  // namespace veltrane::authenticator
