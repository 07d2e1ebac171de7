#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace veltrane {

/// One side of a document that was captured. What the SDK does not give is absent, never empty.
struct DocumentResult {
  std::optional<std::string> href;
  std::optional<std::string> id;
  std::optional<std::string> type;
  std::optional<std::string> side;
  /// Seconds since 1970, with fractions.
  std::optional<double> createdAt;
};

/// The face's photo. What the SDK does not give is absent, never empty.
struct FaceResult {
  std::optional<std::string> id;
  std::optional<std::string> href;
  /// Seconds since 1970, with fractions.
  std::optional<double> createdAt;
  std::optional<std::string> fileName;
  std::optional<std::string> fileType;
  /// In bytes.
  std::optional<std::int64_t> fileSize;
};

/// A result of a kind that these flows do not ask for. It is skipped.
struct OtherResult {};

using OnfidoResult = std::variant<DocumentResult, FaceResult, OtherResult>;

/// Why a capture flow could not go on. A host that observes "vtFlowNotification" gets it as it is
/// under "error"; the flow itself goes on.
struct OnfidoError {
  std::string type;
  std::string message;
};

enum class OnfidoCancelReason : std::uint8_t { userExit, other };

namespace onfido_response {

/// The results in the SDK's order; there may be none.
struct Success {
  std::vector<OnfidoResult> results;
};
struct Error {
  OnfidoError error;
};
struct Cancel {
  OnfidoCancelReason reason = OnfidoCancelReason::userExit;
};

}  // namespace onfido_response

/// How a capture flow ended.
using OnfidoResponse =
    std::variant<onfido_response::Success, onfido_response::Error, onfido_response::Cancel>;

}  // namespace veltrane
