#include "veltrane/connectors/onfido_config.h"

#include <utility>

namespace veltrane {

std::string_view name(OnfidoStep step) {
  switch (step) {
    case OnfidoStep::welcome:
      return "welcome";
    case OnfidoStep::document:
      return "document";
    case OnfidoStep::face:
      return "face";
  }
  return {};
}

OnfidoConfig::Builder OnfidoConfig::builder() {
  return {};
}

OnfidoConfig::Builder& OnfidoConfig::Builder::withSDKToken(std::string token,
                                                           ExpireHandler expireHandler) {
  sdkToken_ = std::move(token);
  expireHandler_ = std::move(expireHandler);
  return *this;
}

OnfidoConfig::Builder& OnfidoConfig::Builder::withWelcomeStep() {
  return withStep(OnfidoStep::welcome);
}

OnfidoConfig::Builder& OnfidoConfig::Builder::withDocumentStep() {
  return withStep(OnfidoStep::document);
}

OnfidoConfig::Builder& OnfidoConfig::Builder::withFaceStep(OnfidoFaceVariant /*variant*/) {
  return withStep(OnfidoStep::face);
}

OnfidoConfig::Builder& OnfidoConfig::Builder::withStep(OnfidoStep step) {
  steps_.push_back(step);
  return *this;
}

std::optional<OnfidoConfig> OnfidoConfig::Builder::build() const {
  if (!sdkToken_ || steps_.empty()) return std::nullopt;
  OnfidoConfig config;
  config.sdkToken_ = *sdkToken_;
  config.expireHandler_ = expireHandler_;
  config.steps_ = steps_;
  return config;
}

}  // namespace veltrane
