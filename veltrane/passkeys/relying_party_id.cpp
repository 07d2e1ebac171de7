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

/// As web browsers tell an address from a name by its last label: "10" or "0x0a".
bool isNumber(std::string_view label) {
  const bool isHex = label.starts_with("0x");
  if (isHex) label.remove_prefix(2);
  return (isHex || !label.empty()) && std::ranges::all_of(label, [&](unsigned char c) {
           return (isHex ? std::isxdigit(c) : std::isdigit(c)) != 0;
         });
}

/// "[::1]", or what ends in a number.
bool isAddress(std::string_view host) {
  if (host.starts_with('[')) return host.ends_with(']');
  return isNumber(host.substr(host.find_last_of('.') + 1));
}

bool isDomain(std::string_view host) {
  if (host.empty() || host.size() > 253 || isAddress(host)) return false;
  std::string_view label;
  for (std::size_t start = 0; start <= host.size(); start += label.size() + 1) {
    label = host.substr(start, host.find('.', start) - start);
    if (!isLabel(label)) return false;
  }
  return true;
}

bool isBelow(std::string_view host, std::string_view domain) {
  return host.size() > domain.size() && host.ends_with(domain) &&
         host[host.size() - domain.size() - 1] == '.';
}

/// As a number is written; nothing when it is none.
std::optional<std::string> canonicalPort(std::string_view text) {
  if (text.empty() || text.find_first_not_of("0123456789") != std::string_view::npos) {
    return std::nullopt;
  }
  text.remove_prefix(std::min(text.find_first_not_of('0'), text.size() - 1));
  if (text.size() > 5 || std::stoi(std::string(text)) > 65'535) return std::nullopt;
  return std::string(text);
}

std::optional<Origin> parse(std::string_view text) {
  const auto separator = text.find("://");
  if (separator == std::string_view::npos) return std::nullopt;
  Origin origin{.scheme = lowerCase(text.substr(0, separator))};
  text.remove_prefix(separator + 3);
  if (text.ends_with('/')) text.remove_suffix(1);
  const auto colon = text.find(':', text.starts_with('[') ? text.find(']') : 0);
  origin.host = lowerCase(text.substr(0, colon));
  if (colon != std::string_view::npos) {
    const auto port = canonicalPort(text.substr(colon + 1));
    if (!port) return std::nullopt;
    origin.port = *port;
  }
  if (origin.scheme != "https" && origin.scheme != "http") return std::nullopt;
  if (!isDomain(origin.host) && !isAddress(origin.host)) return std::nullopt;
  if (origin.port == (origin.scheme == "https" ? "443" : "80")) origin.port.clear();
  return origin;
}

/// Why nobody can use passkeys at that origin, whichever rpId is asked for.
std::optional<std::string> faultOf(const std::optional<Origin>& origin, std::string_view text) {
  const std::string quoted = '"' + std::string(text) + '"';
  if (!origin) return "The origin " + quoted + " is not a web origin.";
  if (isAddress(origin->host)) {
    return "The origin " + quoted + " is at an address, and passkeys belong to domain names.";
  }
  const bool isLocal = origin->host == "localhost" || isBelow(origin->host, "localhost");
  if (origin->scheme == "https" || isLocal) return std::nullopt;
  return "The origin " + quoted + " is not secure: http is for localhost alone.";
}

}  // namespace

std::optional<std::string> serializedOrigin(std::string_view origin) {
  const auto parsed = parse(origin);
  if (faultOf(parsed, origin)) return std::nullopt;
  return parsed->scheme + "://" + parsed->host + (parsed->port.empty() ? "" : ":" + parsed->port);
}

std::string canonicalRPId(std::string_view rpId) {
  return lowerCase(rpId);
}

std::optional<std::string> relyingPartyMismatch(std::string_view rpId, std::string_view origin,
                                                const PublicSuffixes& suffixes) {
  const auto parsed = parse(origin);
  if (auto fault = faultOf(parsed, origin)) return fault;
  const std::string domain = lowerCase(rpId);
  if (!isDomain(domain)) return "The rpId \"" + std::string(rpId) + "\" is not a domain name.";
  if (parsed->host != domain && !isBelow(parsed->host, domain)) {
    return "The host \"" + parsed->host + "\" is not \"" + domain + "\" and does not lie below it.";
  }
  if (suffixes.contains(domain)) return "The rpId \"" + domain + "\" is a public suffix.";
  return std::nullopt;
}

}  // namespace veltrane
