#include "platform/webengine/jumio_session.h"

#include <QUrl>
#include <algorithm>
#include <span>
#include <utility>

#include "platform/webengine/allowed_origins.h"
#include "platform/webengine/jumio_messages.h"
#include "platform/webengine/vendor_page.h"
#include "veltrane/base/base64.h"
#include "veltrane/base/json.h"
#include "veltrane/base/text.h"
#include "veltrane/flow/user_defaults_manager.h"
#include "veltrane/platform.h"
#include "veltrane/toolkit/main_queue.h"

namespace veltrane::webengine {
namespace {

/// Three short texts; whatever is larger is no answer of the vendor's.
constexpr std::size_t kMaxAnswer = std::size_t{64} << 10;

QUrl toUrl(std::string_view text) {
  return QUrl(QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size())),
              QUrl::StrictMode);
}

std::string basicAuthentication(const JumioRequest& request) {
  const std::string pair = request.apiToken + ':' + request.apiSecret;
  return "Basic " +
         base64Encoded(std::span(reinterpret_cast<const std::uint8_t*>(pair.data()), pair.size()));
}

std::string withoutSlash(std::string address) {
  while (address.ends_with('/')) address.pop_back();
  return address;
}

QStringList toList(const std::vector<std::string>& texts) {
  QStringList all;
  for (const auto& each : texts) all.append(QString::fromStdString(each));
  return all;
}

WebTrouble troubleOf(int status) {
  return status >= 400 && status < 500 ? WebTrouble::refused : WebTrouble::unreachable;
}

}  // namespace

std::shared_ptr<JumioSession> JumioSession::make(const VendorAddresses& addresses,
                                                 JumioRequest request, Listener listener) {
  std::shared_ptr<JumioSession> session(
      new JumioSession(addresses, std::move(request), std::move(listener)));
  session->sheet_ = std::make_shared<WebSheet>(session, addresses.patience);
  return session;
}

JumioSession::JumioSession(VendorAddresses addresses, JumioRequest request, Listener listener)
    : addresses_(std::move(addresses)),
      request_(std::move(request)),
      listener_(std::move(listener)) {}

void JumioSession::end() {
  underWay_.reset();
  listener_ = {};
  sheet_->end();
}

// What the vendor cannot take is not asked for; a colon would move where the secret begins.
bool JumioSession::canBeAsked() const {
  return request_.apiToken.find(':') == std::string::npos &&
         std::all_of(request_.fields.begin(), request_.fields.end(), [](const auto& field) {
           return !field.value.empty() && codePointCount(field.value) <= field.limit;
         });
}

HTTPRequest JumioSession::initiation() const {
  Dictionary body;
  for (const auto& field : request_.fields) body.set(field.name, field.value);
  HTTPRequest request{.method = "POST", .url = withoutSlash(addresses_.jumio) + request_.path};
  request.headers = {{"Accept", "application/json"},
                     {"Content-Type", "application/json"},
                     {"User-Agent", addresses_.userAgent},
                     {"Authorization", basicAuthentication(request_)}};
  request.body = JSON(body).serialized();
  request.timeoutForRequest = request.timeoutForResource = UserDefaultsManager::usableTimeout();
  request.maxBodySize = kMaxAnswer;
  return request;
}

void JumioSession::begin() {
  transactionReference_.reset();
  page_.clear();
  HTTPRequest request = initiation();
  if (!canBeAsked() || !request.body) return sheet_->fail(WebTrouble::setUp);
  const int number = ++tries_;
  underWay_ = Platform::current().transport->send(
      std::move(request), [weak = weak_from_this(), queue = Platform::current().mainQueue,
                           number](std::optional<HTTPResponse> response) {
        queue->async([weak, number, response = std::move(response)] {
          const auto self = weak.lock();
          if (self && self->underWay_ && self->tries_ == number) self->answered(response);
        });
      });
}

void JumioSession::answered(const std::optional<HTTPResponse>& response) {
  underWay_.reset();
  if (!response) return sheet_->fail(WebTrouble::unreachable);
  if (response->status != 200) return sheet_->fail(troubleOf(response->status));
  const auto answer = JSON::parse(response->body.value_or(""));
  if (!answer.ok()) return sheet_->fail(WebTrouble::unusable);
  open(answer.value);
}

void JumioSession::open(const JSON& answer) {
  const auto reference = answer["transactionReference"].textValue();
  const auto address = answer["redirectUrl"].textValue();
  const QUrl page = toUrl(address);
  if (reference.empty() || !isUsableAddress(page) || !isAllowed(page, toList(origins())))
    return sheet_->fail(WebTrouble::unusable);
  transactionReference_ = reference;
  page_ = originOf(page).toStdString();
  sheet_->open({.hostPage = addresses_.hostPage,
                .origins = origins(),
                .cameraOrigins = speakers(),
                .script = scriptFor(FramedPage{address, request_.allow}),
                .tearDown = {},
                .isFramed = true});
}

std::vector<std::string> JumioSession::origins() const {
  std::vector<std::string> all{originOf(toUrl(addresses_.jumio)).toStdString()};
  all.insert(all.end(), addresses_.jumioOrigins.begin(), addresses_.jumioOrigins.end());
  return all;
}

std::vector<std::string> JumioSession::speakers() const {
  return {originOf(toUrl(addresses_.jumio)).toStdString(), page_};
}

void JumioSession::received(std::string_view origin, std::string_view text) {
  if (!transactionReference_ || !isAllowed(toUrl(origin), toList(speakers()))) return;
  const auto message = readJumioMessage(text, *transactionReference_);
  if (!message) return;
  switch (message->value) {
    case JumioValue::loaded:
      return sheet_->loaded();
    case JumioValue::success: {
      const auto listener = std::exchange(listener_, {});
      if (listener.finished) listener.finished(*transactionReference_);
      return;
    }
    case JumioValue::error:
      return fail(jumioError(message->code));
  }
}

void JumioSession::closed(std::optional<WebTrouble> trouble) {
  underWay_.reset();
  fail(trouble ? JumioError{"", std::string(words(*trouble))}
               : JumioError{"", "the user closed the vendor's page"});
}

void JumioSession::fail(const JumioError& error) {
  const auto self = shared_from_this();
  const auto listener = std::exchange(listener_, {});
  if (listener.failed) listener.failed(error, transactionReference_);
}

}  // namespace veltrane::webengine
