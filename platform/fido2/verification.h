#pragma once

#include <functional>

#include "platform/fido2/conversation.h"
#include "platform/fido2/key_connection.h"
#include "platform/fido2/key_words.h"

namespace veltrane::fido2 {

/// What a key is asked to do: with a PIN, or with what it has itself (a fingerprint, say) when
/// `byKey`, or without verification. A FIDO_ERR_*.
using KeyOperation = std::function<int(const char* pin, bool byKey)>;

/// Carries an operation out with the person verified as required: asks for the PIN, for another
/// after a wrong one, for a new one where the key has none. Its last FIDO_ERR_*.
int verified(KeyConnection& key, Conversation& talk, const Occasion& occasion,
             Requirement requirement, const KeyOperation& operation);

}  // namespace veltrane::fido2
