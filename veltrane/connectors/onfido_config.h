#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace veltrane {

enum class OnfidoStep : std::uint8_t { welcome, document, face };
/// "welcome", "document" or "face", for whoever writes one down.
std::string_view name(OnfidoStep step);

enum class OnfidoFaceVariant : std::uint8_t { photo };

/// What a capture flow asks of the user; an SDK's adapter hands it on to its own builder.
class OnfidoConfig {
 public:
  class Builder;
  /// Gives the SDK a new token when its own has expired.
  using ExpireHandler = std::function<void(std::function<void(std::string)> newToken)>;
  static Builder builder();

  /// A secret: it reaches no log and no disk. May be empty when the server sent it so.
  const std::string& sdkToken() const { return sdkToken_; }
  /// Empty: the flow ends with an error when the token has expired.
  const ExpireHandler& expireHandler() const { return expireHandler_; }
  /// In the order in which the user takes them. "document" has no preselected type, "face" is a
  /// photo.
  const std::vector<OnfidoStep>& steps() const { return steps_; }

 private:
  OnfidoConfig() = default;
  std::string sdkToken_;
  ExpireHandler expireHandler_;
  std::vector<OnfidoStep> steps_;
};

class OnfidoConfig::Builder {
 public:
  Builder& withSDKToken(std::string token, ExpireHandler expireHandler = {});
  Builder& withWelcomeStep();
  Builder& withDocumentStep();
  Builder& withFaceStep(OnfidoFaceVariant variant);
  /// Nothing without a token or a step.
  std::optional<OnfidoConfig> build() const;

 private:
  Builder& withStep(OnfidoStep step);
  std::optional<std::string> sdkToken_;
  ExpireHandler expireHandler_;
  std::vector<OnfidoStep> steps_;
};

}  // namespace veltrane
