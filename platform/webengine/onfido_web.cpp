#include <QUrl>
#include <QUuid>
#include <utility>

#include "platform/webengine/allowed_origins.h"
#include "platform/webengine/onfido_messages.h"
#include "platform/webengine/sheet_screens.h"
#include "platform/webengine/vendor_page.h"
#include "platform/webengine/web_clients.h"
#include "veltrane/connectors/onfido_sdk.h"

namespace veltrane::webengine {
namespace {

QUrl toUrl(std::string_view text) {
  return QUrl(QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size())),
              QUrl::StrictMode);
}

std::vector<std::string> stepsOf(const OnfidoConfig& configuration) {
  std::vector<std::string> names;
  for (const auto step : configuration.steps()) names.emplace_back(name(step));
  return names;
}

class WebFlow final : public OnfidoFlow,
                      public WebClient,
                      public std::enable_shared_from_this<WebFlow> {
 public:
  WebFlow(VendorAddresses addresses, OnfidoConfig configuration)
      : addresses_(std::move(addresses)), configuration_(std::move(configuration)) {}
  ~WebFlow() override {
    if (sheet_) sheet_->end();
  }

  void with(ResponseHandler responseHandler, bool dismissFlowOnCompletion) override {
    handler_ = std::move(responseHandler);
    dismisses_ = dismissFlowOnCompletion;
  }

  std::shared_ptr<HandOverViewController> run() override {
    sheet_ = std::make_shared<WebSheet>(weak_from_this(), addresses_.patience);
    const auto screen = SheetViewController::make(sheet_, "Verify your identity");
    screen_ = screen;
    sheet_->begin();
    return screen;
  }

  void begin() override;
  void received(std::string_view origin, std::string_view text) override;
  void closed(std::optional<WebTrouble> trouble) override;

 private:
  void respond(OnfidoResponse response);

  const VendorAddresses addresses_;
  const OnfidoConfig configuration_;
  std::string mark_;
  ResponseHandler handler_;
  bool dismisses_ = false;
  std::shared_ptr<WebSheet> sheet_;
  std::weak_ptr<SheetViewController> screen_;
};

void WebFlow::begin() {
  // What an earlier page still says is not this one's.
  mark_ = QUuid::createUuid().toString(QUuid::Id128).toStdString();
  const std::vector<std::string> own{originOf(toUrl(addresses_.onfidoScript)).toStdString()};
  auto origins = own;
  origins.insert(origins.end(), addresses_.onfidoOrigins.begin(), addresses_.onfidoOrigins.end());
  sheet_->open({.hostPage = addresses_.hostPage,
                .origins = std::move(origins),
                .cameraOrigins = own,
                .script = scriptFor(ScriptedPage{.address = addresses_.onfidoScript,
                                                 .token = configuration_.sdkToken(),
                                                 .steps = stepsOf(configuration_),
                                                 .mark = mark_}),
                .tearDown = std::string(tearDownScript()),
                .farewell = addresses_.farewell,
                .isFramed = false});
}

void WebFlow::received(std::string_view origin, std::string_view text) {
  if (toUrl(origin) != toUrl(originOf(toUrl(addresses_.hostPage)).toStdString())) return;
  auto message = readOnfidoMessage(text, mark_);
  if (!message) return;
  if (std::holds_alternative<OnfidoLoaded>(*message)) return sheet_->loaded();
  if (std::holds_alternative<OnfidoMissing>(*message)) return sheet_->fail(WebTrouble::unreachable);
  respond(std::get<OnfidoResponse>(std::move(*message)));
}

void WebFlow::closed(std::optional<WebTrouble> trouble) {
  if (!trouble) return respond(onfido_response::Cancel{OnfidoCancelReason::userExit});
  respond(onfido_response::Error{{"web_client", std::string(words(*trouble))}});
}

void WebFlow::respond(OnfidoResponse response) {
  const auto self = shared_from_this();
  const auto handler = std::exchange(handler_, {});
  if (!handler) return;
  const auto screen = screen_.lock();
  if (dismisses_ && screen) screen->dismiss(true);
  sheet_->end();
  handler(std::move(response));
}

class WebOnfido final : public OnfidoSDK {
 public:
  explicit WebOnfido(VendorAddresses addresses) : addresses_(std::move(addresses)) {}

  std::shared_ptr<OnfidoFlow> makeFlow(const OnfidoConfig& configuration) override {
    return std::make_shared<WebFlow>(addresses_, configuration);
  }

 private:
  const VendorAddresses addresses_;
};

}  // namespace

std::shared_ptr<OnfidoSDK> makeOnfido(const VendorAddresses& addresses) {
  const bool isUsable =
      isUsableAddress(toUrl(addresses.onfidoScript)) && isUsableAddress(toUrl(addresses.hostPage));
  return isUsable ? std::make_shared<WebOnfido>(addresses) : nullptr;
}

}  // namespace veltrane::webengine
