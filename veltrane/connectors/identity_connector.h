#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <utility>

#include "veltrane/connectors/connector_host.h"
#include "veltrane/engine/generic_view_model.h"

namespace veltrane {

/// One hand-over to an identity vendor, from its start to its end. Main thread.
class IdentityConnector {
 public:
  explicit IdentityConnector(std::weak_ptr<ConnectorHost> host) : host_(std::move(host)) {}
  virtual ~IdentityConnector() = default;
  IdentityConnector(const IdentityConnector&) = delete;
  IdentityConnector& operator=(const IdentityConnector&) = delete;

  /// Takes the vendor's screen away; what the vendor tells from now on has no effect.
  virtual void stop() = 0;

 protected:
  /// Null once the screen has gone: nobody is there to be told.
  std::shared_ptr<ConnectorHost> host() const { return host_.lock(); }
  /// The step of `viewProps[index]` begins, with events of its own. Outside the list the program
  /// stops.
  const Dictionary& beginStep(const UserViewProps& viewProps, std::size_t index) const;
  /// The step cannot be done: the flow ends.
  void endFlow(std::string message) const;
  /// This device has no SDK for the step: the user is told, and stays on the screen.
  void tellOfNoSDK() const;

 private:
  std::weak_ptr<ConnectorHost> host_;
};

/// Lets go of a vendor's object on a later turn of the main queue: it may be the one that calls.
void releaseLater(std::shared_ptr<void> object);

}  // namespace veltrane
