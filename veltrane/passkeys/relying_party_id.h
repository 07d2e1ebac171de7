#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace veltrane {

/// Port: the domains under which anybody can register names ("co.uk").
class PublicSuffixes {
 public:
  virtual ~PublicSuffixes() = default;
  /// `domain` in lower-case ASCII. A name that no list mentions ("localhost") is none. Any thread.
  virtual bool contains(const std::string& domain) const = 0;
};

/// An origin as client data tells it: scheme and host in lower case, the port unless it is the
/// scheme's own, nothing behind. Nothing when the text is no origin or not a secure one: HTTPS, or
/// HTTP to "localhost" and what lies below it.
std::optional<std::string> serializedOrigin(std::string_view origin);

/// As it is compared and hashed: in lower case.
std::string canonicalRPId(std::string_view rpId);

/// Why `rpId` is not one that `origin` may use, as a sentence; nothing when it is. The origin's
/// host has to equal it or lie below it, and it must be a domain, no address and no public suffix.
std::optional<std::string> relyingPartyMismatch(std::string_view rpId, std::string_view origin,
                                                const PublicSuffixes& suffixes);

}  // namespace veltrane
