#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "veltrane/connectors/jumio.h"

namespace veltrane::webengine {

/// What the client's page says of itself.
enum class JumioValue : std::uint8_t { loaded, success, error };

struct JumioMessage {
  JumioValue value;
  /// The vendor's code of an error, digits alone; empty when there is none.
  std::string code;
};

/// A message that counts: of the transaction, and of a kind that is known. Nothing for any other
/// text.
std::optional<JumioMessage> readJumioMessage(std::string_view text,
                                             std::string_view transactionReference);

/// The vendor's code in plain words.
JumioError jumioError(const std::string& code);

}  // namespace veltrane::webengine
