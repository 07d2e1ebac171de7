#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

#include "veltrane/base/json.h"

namespace veltrane {

/// What went wrong, with what is known about it. The order of the alternatives is their tag order.
namespace reason {

/// A URL that could not be formed from this text, or one that must not be asked.
struct InvalidURL {
  std::string text;
};
/// Response bytes whose JSON is not of the expected shape.
struct Serialize {
  std::string bytes;
};
/// A value that could not be written as JSON, by its description where it has one.
struct JsonSerialization {
  std::optional<std::string> description;
};
/// A key that is required in a response.
struct DictionaryKeyValueNotFound {
  std::optional<JSON> dictionary;
  std::optional<std::string> key;
};
struct AuthenticationFailure {
  std::string text;
};
/// A request that the client refuses to send, or an answer it cannot read.
struct BadRequest {
  std::string text;
};
struct ImageFromData {
  std::string text;
};
/// Every other failure that the client detects.
struct VeltraneError {
  std::string text;
};
/// The server answered with an error body.
struct ErrorResponse {};

}  // namespace reason

/// The one error record of the system: what a request, a screen or the host's delegate gets when
/// something failed. An error raised by the client carries its reason alone.
struct VeltraneFlowError {
  using Reason = std::variant<reason::InvalidURL, reason::Serialize, reason::JsonSerialization,
                              reason::DictionaryKeyValueNotFound, reason::AuthenticationFailure,
                              reason::BadRequest, reason::ImageFromData, reason::VeltraneError,
                              reason::ErrorResponse>;

  Reason reason;
  /// The server's structured detail, an object.
  std::optional<JSON> details = std::nullopt;
  std::optional<std::string> message = std::nullopt;
  std::optional<std::int64_t> httpResponseCode = std::nullopt;
  std::optional<std::string> code = std::nullopt;

  /// Text for a person. Always present.
  std::string errorDescription() const;
  /// The name of the reason's case, lowerCamelCase ("veltraneError").
  std::string_view reasonName() const;
  bool isUserCancelled() const;

  static VeltraneFlowError veltraneError(std::string text);
  static VeltraneFlowError badRequest(std::string text);
  /// The user closed the flow: a `veltraneError` with "User Cancelled".
  static VeltraneFlowError userCancelled();
};

/// Reads the server's error bodies.
struct ConfigureAPIResponseError {
  /// `json`: the parsed error body, an object. A missing or mistyped field stays empty.
  static VeltraneFlowError getError(const JSON& json);
};

}  // namespace veltrane
