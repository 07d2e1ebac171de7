#pragma once

#include <chrono>
#include <string>
#include <vector>

namespace veltrane::webengine {

/// Where the vendors' web clients are. Addresses are HTTPS, or HTTP on loopback; an address that
/// is neither leaves its vendor out, or both when it is the host page's.
struct VendorAddresses {
  /// Of the data centre, without a path. The vendor's guide names this one for the United States.
  std::string jumio = "https://netverify.com";
  /// What the client's pages load beside the data centre's host and what is below it: origins such
  /// as "https://vendor.example", each with all that is below its host.
  std::vector<std::string> jumioOrigins;
  /// The script of the web client. The vendor's guide names one for each version, so there is no
  /// usual one; empty: there is no such client.
  std::string onfidoScript;
  std::vector<std::string> onfidoOrigins;
  /// The address under which the vendors find our own page. Nothing is fetched from there: the
  /// usual one has a name that cannot exist. A vendor that admits certain sites alone wants one of
  /// them here.
  std::string hostPage = "https://flow.veltrane.invalid/";
  /// Goes to the vendor as "User-Agent": the company's name and the application's.
  std::string userAgent;
  /// How long a page may take to say that it is there, before the user is asked whether to go on.
  std::chrono::milliseconds patience = std::chrono::seconds(30);
  /// How long a page that the user closes may take to end what it has begun.
  std::chrono::milliseconds farewell{500};
};

}  // namespace veltrane::webengine
