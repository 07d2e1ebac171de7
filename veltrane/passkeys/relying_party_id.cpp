#include "veltrane/passkeys/relying_party_id.h"

#include <algorithm>
#include <cctype>

namespace veltrane {
namespace {

struct Origin {
  std::string scheme;
  std::string host;
  std::string port;
};

std::string lowerCase(std::string_view text) {
  std::string lower(text);
  std::ranges::transform(lower, lower.begin(), [](unsigned char c) {
    return static_cast<char>(c < 0x80 ? std::tolower(c) : c);
  });
  return lower;
}

/// A label: letters, digits and hyphens, no hyphen at an end, at most 63.
bool isLabel(std::string_view label) {
  const auto isAllowed = [](unsigned char c) {
    return c < 0x80 && (std::isalnum(c) || c == '-' || c == '_');
  };
  return !label.empty() && label.size() <= 63 && !label.starts_with('-') && !label.ends_with('-') &&
         std::ranges::all_of(label, isAllowed);
}

/// Names alone: an address ends in a number.
bool isDomain(std::string_view host) {
  if (host.empty() || host.size() > 253) return false;
  std::string_view label;
  for (std::size_t start = 0; start <= host.size(); start += label.size() + 1) {
    label = host.substr(start, host.find('.', start) - start);
    if (!isLabel(label)) return false;
  }
  return !std::ranges::all_of(label, [](unsigned char c) { return std::isdigit(c) != 0; });
}

bool isBelow(std::string_view host, std::string_view domain) {
  return host.size() > domain.size() && host.ends_with(domain) &&
         host[host.size() - domain.size() - 1] == '.';
}

bool isPort(std::string_view text) {
  return !text.empty() && text.size() <= 5 &&
         std::ranges::all_of(text, [](unsigned char c) { return std::isdigit(c) != 0; }) &&
         std::stoi(std::string(text)) <= 65'535;
}

std::optional<Origin> parse(std::string_view text) {
  const auto separator = text.find("://");
  if (separator == std::string_view::npos) return std::nullopt;
  Origin origin{.scheme = lowerCase(text.substr(0, separator))};
  text.remove_prefix(separator + 3);
  if (text.ends_with('/')) text.remove_suffix(1);
  const auto colon = text.find(':');
  origin.host = lowerCase(text.substr(0, colon));
  if (colon != std::string_view::npos) {
    origin.port = text.substr(colon + 1);
    if (!isPort(origin.port)) return std::nullopt;
  }
  if (!isDomain(origin.host)) return std::nullopt;
  const bool isLocal = origin.host == "localhost" || isBelow(origin.host, "localhost");
  if (origin.scheme != "https" && !(origin.scheme == "http" && isLocal)) return std::nullopt;
  if (origin.port == (origin.scheme == "https" ? "443" : "80")) origin.port.clear();
  return origin;
}

}  // namespace

std::optional<std::string> serializedOrigin(std::string_view origin) {
  const auto parsed = parse(origin);
  if (!parsed) return std::nullopt;
  return parsed->scheme + "://" + parsed->host + (parsed->port.empty() ? "" : ":" + parsed->port);
}

std::string canonicalRPId(std::string_view rpId) {
  return lowerCase(rpId);
}

std::optional<std::string> relyingPartyMismatch(std::string_view rpId, std::string_view origin,
                                                const PublicSuffixes& suffixes) {
  const auto parsed = parse(origin);
  if (!parsed) return "The origin \"" + std::string(origin) + "\" is not a secure web origin.";
  const std::string domain = lowerCase(rpId);
  if (!isDomain(domain)) return "The rpId \"" + std::string(rpId) + "\" is not a domain name.";
  if (parsed->host != domain && !isBelow(parsed->host, domain)) {
    return "The host \"" + parsed->host + "\" is not \"" + domain + "\" and does not lie below it.";
  }
  if (suffixes.contains(domain)) return "The rpId \"" + domain + "\" is a public suffix.";
  return std::nullopt;
}

}  // namespace veltrane
