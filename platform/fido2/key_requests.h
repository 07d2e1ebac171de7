#pragma once

#include <variant>

#include "platform/fido2/conversation.h"
#include "platform/fido2/key_connection.h"
#include "platform/fido2/key_words.h"

namespace veltrane::fido2 {

/// Makes a credential on a key, or has it sign; the person is asked for what that needs. On failure
/// the FIDO_ERR_*.
std::variant<int, MadeCredential> makeOn(KeyConnection& key, Conversation& talk,
                                         const Occasion& occasion, const MakeCredential& request);
std::variant<int, Assertion> getFrom(KeyConnection& key, Conversation& talk,
                                     const Occasion& occasion, const GetAssertion& request);

}  // namespace veltrane::fido2
