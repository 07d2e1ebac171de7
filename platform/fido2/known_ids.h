#pragma once

#include <string>
#include <vector>

#include "platform/fido2/key_connection.h"

namespace veltrane::fido2 {

/// Which of `ids` (credential ids) to hand to a key that takes only so many at a time: all of them,
/// or the one that it holds, asked for in portions and without a touch. `known` is empty when it
/// holds none. The result is a FIDO_ERR_*.
int narrowToKey(KeyConnection& key, const std::string& rpId, const std::vector<std::string>& ids,
                std::vector<std::string>& known);

}  // namespace veltrane::fido2
