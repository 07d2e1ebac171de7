#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "platform/webengine/web_clients.h"
#include "platform/webengine/web_sheet.h"
#include "veltrane/base/dictionary.h"
#include "veltrane/connectors/jumio.h"
#include "veltrane/network/http_transport.h"

namespace veltrane::webengine {

/// What the vendor is asked for: the page of one scan or one face check.
struct JumioRequest {
  std::string path;
  std::string apiToken;
  std::string apiSecret;
  /// Texts of the body with how long each may be.
  struct Field {
    std::string name;
    std::string value;
    std::size_t limit;
  };
  std::vector<Field> fields;
  /// What the page may use.
  std::string allow;
};

/// One run of the vendor's web client, from its request to the end of its page. Main thread.
class JumioSession final : public WebClient, public std::enable_shared_from_this<JumioSession> {
 public:
  /// One of the two, once, on the main queue and never within a call of the session's owner.
  struct Listener {
    std::function<void(const std::string& transactionReference)> finished;
    std::function<void(const JumioError&, const std::optional<std::string>& transactionReference)>
        failed;
  };

  static std::shared_ptr<JumioSession> make(const VendorAddresses& addresses, JumioRequest request,
                                            Listener listener);

  const std::shared_ptr<WebSheet>& sheet() const { return sheet_; }
  /// In silence.
  void end();

  void begin() override;
  void received(std::string_view origin, std::string_view text) override;
  void closed(std::optional<WebTrouble> trouble) override;

 private:
  JumioSession(VendorAddresses addresses, JumioRequest request, Listener listener);
  bool canBeAsked() const;
  HTTPRequest initiation() const;
  void answered(const std::optional<HTTPResponse>& response);
  void open(const JSON& answer);
  void fail(const JumioError& error);
  /// All that may be loaded.
  std::vector<std::string> origins() const;
  /// Of these who may speak for the vendor and have the camera: not what merely serves its files.
  std::vector<std::string> speakers() const;

  const VendorAddresses addresses_;
  const JumioRequest request_;
  Listener listener_;
  std::shared_ptr<WebSheet> sheet_;
  std::unique_ptr<HTTPRequestHandle> underWay_;
  std::optional<std::string> transactionReference_;
  /// The origin of the page.
  std::string page_;
  int tries_ = 0;
};

}  // namespace veltrane::webengine
