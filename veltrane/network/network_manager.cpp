#include "veltrane/network/network_manager.h"

#include <algorithm>
#include <utility>

#include "veltrane/base/fatal.h"
#include "veltrane/flow/user_defaults_manager.h"
#include "veltrane/platform.h"
#include "veltrane/toolkit/main_queue.h"

namespace veltrane {
namespace {

/// Names of headers are the same in any case.
bool isSameName(std::string_view a, std::string_view b) {
  const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; };
  return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                    [&](char x, char y) { return lower(x) == lower(y); });
}

void setHeader(HTTPRequest& request, std::string name, std::string value) {
  const auto named = [&](const auto& header) { return isSameName(header.first, name); };
  const auto former = std::find_if(request.headers.begin(), request.headers.end(), named);
  if (former != request.headers.end()) {
    former->second = std::move(value);
  } else {
    request.headers.emplace_back(std::move(name), std::move(value));
  }
}

void addHeader(HTTPRequest& request, const APIHTTPHeader& header) {
  if (const auto* authorization = std::get_if<APIHTTPHeader::Authorization>(&header.header)) {
    setHeader(request, "Authorization", "Bearer " + authorization->token);
  } else if (const auto* custom = std::get_if<APIHTTPHeader::Custom>(&header.header)) {
    setHeader(request, custom->name, custom->value);
  } else {
    setHeader(request, "Content-Type", "application/json");
  }
}

HTTPRequest httpRequest(const NetworkAPIRequestFor& description) {
  HTTPRequest request;
  request.method = rawValue(method(description.endpoint));
  request.url = description.resourceURL;
  if (description.headers) {
    for (const auto& header : *description.headers) addHeader(request, header);
  }
  setHeader(request, "vt-agent", "ios, sdkVersion: 0.0.1, OSVersion: " + OS::getVersion());
  request.timeoutForRequest = request.timeoutForResource = UserDefaultsManager::usableTimeout();
  request.secretNames = description.secretNames;
  if (std::holds_alternative<PollForChallengeEndpoint>(description.endpoint)) {
    request.purpose = RequestPurpose::polling;
  }
  return request;
}

bool isOneLine(std::string_view text) {
  return std::none_of(text.begin(), text.end(), [](char c) {
    return (static_cast<unsigned char>(c) < ' ' && c != '\t') || c == 0x7F;
  });
}

bool areHeadersSound(const HTTPRequest& request) {
  return std::all_of(request.headers.begin(), request.headers.end(), [](const auto& header) {
    return isOneLine(header.first) && isOneLine(header.second);
  });
}

VeltraneFlowError errorOfStatus(const HTTPResponse& response) {
  const auto parsed = JSON::parse(*response.body);
  if (parsed.ok() && parsed.value.isObject()) {
    return ConfigureAPIResponseError::getError(parsed.value);
  }
  auto error = parsed.ok() ? VeltraneFlowError{.reason = reason::Serialize{*response.body}}
                           : VeltraneFlowError::veltraneError(parsed.error);
  error.httpResponseCode = response.status;
  return error;
}

void complete(const NetworkManager::Callback& callback, std::optional<HTTPResponse> response) {
  if (!response) {
    callback(std::nullopt, VeltraneFlowError::veltraneError("No response from server..."));
  } else if (!response->body) {
    callback(std::nullopt, VeltraneFlowError::veltraneError("No response found"));
  } else if (response->status >= 200 && response->status <= 299) {
    callback(std::move(response->body), std::nullopt);
  } else {
    callback(std::nullopt, errorOfStatus(*response));
  }
}

/// Stands for a request that was never sent; its error comes later, as any answer does.
class RefusedRequest : public HTTPRequestHandle {
 public:
  RefusedRequest(NetworkManager::Callback callback, VeltraneFlowError error)
      : callback_(std::make_shared<NetworkManager::Callback>(std::move(callback))) {
    MainQueue::current().async([weak = std::weak_ptr(callback_), error = std::move(error)] {
      if (const auto call = weak.lock()) (*call)(std::nullopt, error);
    });
  }

 private:
  std::shared_ptr<NetworkManager::Callback> callback_;
};

}  // namespace

std::unique_ptr<HTTPRequestHandle> NetworkManager::getRequest(
    const NetworkAPIRequestFor& description, Callback callback) {
  const auto refuse = [&](VeltraneFlowError::Reason reason) {
    return std::make_unique<RefusedRequest>(std::move(callback),
                                            VeltraneFlowError{.reason = std::move(reason)});
  };
  if (!isAllowedURL(description.resourceURL)) {
    return refuse(reason::InvalidURL{description.resourceURL});
  }
  HTTPRequest request = httpRequest(description);
  // A line break in a token or a host's header would start another header.
  if (!areHeadersSound(request)) {
    return refuse(reason::BadRequest{"A header of the request holds a control character."});
  }
  if (description.parameter) {
    request.body = JSON(*description.parameter).serialized();
    if (!request.body) {
      return refuse(reason::JsonSerialization{"the parameters of the request"});
    }
  }
  const auto& transport = Platform::current().transport;
  if (!transport) fatal("No HTTP transport is installed. Install a Platform first.");
  return transport->send(std::move(request),
                         [callback = std::move(callback)](std::optional<HTTPResponse> response) {
                           complete(callback, std::move(response));
                         });
}

std::unique_ptr<ImageDownload> NetworkManager::downloadImage(
    const std::string& urlString, ImageDownloads::Completion completion) {
  return Platform::current().imageDownloads->download(urlString, std::move(completion));
}

}  // namespace veltrane
