#include "veltrane/connectors/onfido_connector.h"

#include <cmath>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

#include "veltrane/base/console.h"
#include "veltrane/platform.h"

namespace veltrane {
namespace {

/// What is absent is left out.
template <typename Value>
void add(Dictionary& entries, std::string_view name, const std::optional<Value>& value) {
  if (value) entries.set(name, JSON(*value));
}

/// A body that holds a number which JSON has no word for could not be sent at all.
std::optional<double> finite(const std::optional<double>& seconds) {
  return seconds && std::isfinite(*seconds) ? seconds : std::nullopt;
}

std::optional<Dictionary> entriesOf(const DocumentResult& result) {
  Dictionary entries;
  add(entries, "href", result.href);
  add(entries, "id", result.id);
  add(entries, "type", result.type);
  add(entries, "side", result.side);
  add(entries, "createdAt", finite(result.createdAt));
  return entries;
}

std::optional<Dictionary> entriesOf(const FaceResult& result) {
  Dictionary entries;
  add(entries, "id", result.id);
  add(entries, "href", result.href);
  add(entries, "createdAt", finite(result.createdAt));
  add(entries, "fileName", result.fileName);
  add(entries, "fileType", result.fileType);
  add(entries, "fileSize", result.fileSize);
  return entries;
}

std::optional<Dictionary> entriesOf(const OtherResult& /*result*/) {
  return std::nullopt;
}

JSON completeProps(const std::vector<OnfidoResult>& results) {
  std::vector<JSON> items;
  for (const auto& each : results) {
    const auto entries = std::visit([](const auto& result) { return entriesOf(result); }, each);
    if (entries) items.emplace_back(*entries);
  }
  return JSON::array(items);
}

}  // namespace

void OnfidoConnector::startOnFido(const UserViewProps& viewProps, std::size_t index) {
  const Dictionary& userView = beginStep(viewProps, index);
  const JSON token = userView["token"];
  const JSON credId = userView["credId"];
  if (!token.text() || !credId.text()) return endFlow("onFido Token or credId missing");
  currentCredId_ = credId.textValue();
  const auto configuration = OnfidoConfig::builder()
                                 .withSDKToken(token.textValue())
                                 .withWelcomeStep()
                                 .withDocumentStep()
                                 .withFaceStep(OnfidoFaceVariant::photo)
                                 .build();
  const auto sdk = Platform::current().onfido;
  if (!sdk) return tellOfNoSDK();
  if (configuration) run(*sdk, *configuration);
}

void OnfidoConnector::run(OnfidoSDK& sdk, const OnfidoConfig& configuration) {
  stop();
  onfidoFlow_ = sdk.makeFlow(configuration);
  if (!onfidoFlow_) return;
  onfidoFlow_->with(
      [weak = weak_from_this(), run = ++lastRun_](const OnfidoResponse& response) {
        const auto connector = weak.lock();
        // An old run, or one that has answered before, has nothing to say.
        if (!connector || !connector->onfidoFlow_ || connector->lastRun_ != run) return;
        connector->responded(response);
      },
      true);
  viewController_ = onfidoFlow_->run();
  const auto screen = host();
  if (screen && viewController_) screen->presentOver(viewController_);
}

void OnfidoConnector::stop() {
  // Gone before it is dismissed: an SDK that takes its leave for the user's cancel is not heard.
  const auto ending = std::exchange(onfidoFlow_, nullptr);
  const auto shown = std::exchange(viewController_, nullptr);
  if (shown) shown->dismiss(true);
}

void OnfidoConnector::responded(const OnfidoResponse& response) {
  releaseLater(onfidoFlow_);
  releaseLater(viewController_);
  stop();
  if (const auto screen = host()) {
    std::visit([&](const auto& outcome) { handle(outcome, *screen); }, response);
  }
}

void OnfidoConnector::handle(const onfido_response::Success& success, ConnectorHost& screen) const {
  const JSON results = completeProps(success.results);
  console::print("onFido results:", results);
  screen.sendNextEvent(
      {{"credId", currentCredId_}, {"completeProps", results}, {"success", JSON(true)}});
}

void OnfidoConnector::handle(const onfido_response::Error& error, ConnectorHost& screen) const {
  // Deliberately no error of the flow's: a host may observe it, and the user stays.
  screen.notify({{"error", error.error}});
}

void OnfidoConnector::handle(const onfido_response::Cancel& cancel,
                             ConnectorHost& /*screen*/) const {
  console::print(cancel.reason == OnfidoCancelReason::userExit ? "onFido flow cancelled by user..."
                                                               : "onFido flow unknown error...");
}

}  // namespace veltrane
