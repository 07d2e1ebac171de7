#pragma once

#include <memory>

#include "platform/webengine/vendor_addresses.h"

namespace veltrane {
class JumioAuthenticationSDK;
class NetverifySDK;
class OnfidoSDK;
}  // namespace veltrane

namespace veltrane::webengine {

/// The vendors' SDKs by their web clients, on the ports of veltrane/connectors. Null: there is none
/// under these addresses. Main thread. The controllers have the class name "WebHandOver"; a front
/// end shows their `WebSheet` (web_sheet.h).
std::shared_ptr<NetverifySDK> makeNetverify(const VendorAddresses& addresses);
std::shared_ptr<JumioAuthenticationSDK> makeJumioAuthentication(const VendorAddresses& addresses);
std::shared_ptr<OnfidoSDK> makeOnfido(const VendorAddresses& addresses);

}  // namespace veltrane::webengine
