#pragma once

#include <optional>
#include <string_view>
#include <variant>

#include "veltrane/connectors/onfido_response.h"

namespace veltrane::webengine {

/// The client's script has come and begun.
struct OnfidoLoaded {};
/// The script has not come, or is not what it should be.
struct OnfidoMissing {};

using OnfidoMessage = std::variant<OnfidoLoaded, OnfidoMissing, OnfidoResponse>;

/// A message of the page with this mark (vendor_page.h). Nothing for any other text.
std::optional<OnfidoMessage> readOnfidoMessage(std::string_view text, std::string_view mark);

}  // namespace veltrane::webengine
