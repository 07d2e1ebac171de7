#include "veltrane/flow/veltrane_flow_error.h"

#include <array>
#include <utility>

namespace veltrane {
namespace {

constexpr const char* kUserCancelled = "User Cancelled";

template <typename... Cases>
struct Overloaded : Cases... {
  using Cases::operator()...;
};
template <typename... Cases>
Overloaded(Cases...) -> Overloaded<Cases...>;

/// The wrapper around a present text is part of the message.
std::string optionalDescription(const std::optional<std::string>& text) {
  return text ? "Optional(\"" + *text + "\")" : "nil";
}

std::optional<JSON> objectOrNothing(const JSON& value) {
  return value.isObject() ? std::optional(value) : std::nullopt;
}

std::optional<std::string> textOrNothing(const JSON& value) {
  const auto text = value.text();
  return text ? std::optional<std::string>(*text) : std::nullopt;
}

}  // namespace

std::string VeltraneFlowError::errorDescription() const {
  return std::visit(
      Overloaded{
          [](const reason::InvalidURL& r) {
            return "Could not convert supplied string " + r.text + " to URL";
          },
          [](const reason::Serialize& r) {
            return "Could not do JSONSerialization for supplied data, data: " +
                   std::to_string(r.bytes.size()) + " bytes ";
          },
          [](const reason::JsonSerialization& r) {
            return "Could not do Serialization for supplied JSON data, json: " +
                   optionalDescription(r.description) + " ";
          },
          [](const reason::DictionaryKeyValueNotFound& r) {
            const auto dictionary = r.dictionary ? r.dictionary->serialized() : std::nullopt;
            return "Dictionary key's value not found, Key=" + optionalDescription(r.key) +
                   " dict=" + optionalDescription(dictionary);
          },
          [this](const reason::ErrorResponse&) { return message.value_or("Unknown Error!"); },
          [](const auto& r) { return r.text; },
      },
      reason);
}

std::string_view VeltraneFlowError::reasonName() const {
  static constexpr std::array<std::string_view, std::variant_size_v<Reason>> kNames = {
      "invalidURL",
      "serialize",
      "jsonSerialization",
      "dictionaryKeyValueNotFound",
      "authenticationFailure",
      "badRequest",
      "imageFromData",
      "veltraneError",
      "errorResponse"};
  return kNames[reason.index()];
}

bool VeltraneFlowError::isUserCancelled() const {
  const auto* error = std::get_if<reason::VeltraneError>(&reason);
  return error && error->text == kUserCancelled;
}

VeltraneFlowError VeltraneFlowError::veltraneError(std::string text) {
  return {.reason = reason::VeltraneError{std::move(text)}};
}

VeltraneFlowError VeltraneFlowError::badRequest(std::string text) {
  return {.reason = reason::BadRequest{std::move(text)}};
}

VeltraneFlowError VeltraneFlowError::userCancelled() {
  return veltraneError(kUserCancelled);
}

VeltraneFlowError ConfigureAPIResponseError::getError(const JSON& json) {
  const JSON code = json["code"];
  return {
      .reason = reason::ErrorResponse{},
      // The detail is what servers send as "additionalProperties"; "details" is not read.
      .details = objectOrNothing(json["additionalProperties"]),
      .message = textOrNothing(json["message"]),
      .httpResponseCode = json["httpResponseCode"].integer(),
      .code = code.text() || code.integer() ? code.asText() : std::string(),
  };
}

}  // namespace veltrane
