#include "veltrane/network/network_api_request.h"

#include <arpa/inet.h>
#include <sys/utsname.h>

#include <algorithm>
#include <array>
#include <mutex>
#include <utility>

#include "veltrane/flow/user_defaults_manager.h"

namespace veltrane {
namespace {

/// Set by the host, read by every request, perhaps on another thread.
struct BaseURLs {
  std::mutex mutex;
  std::string production = VELTRANE_PRODUCTION_URL;
  std::string sandbox = VELTRANE_SANDBOX_URL;
};

BaseURLs& baseURLs() {
  static BaseURLs urls;
  return urls;
}

std::string get(std::string BaseURLs::*member) {
  const std::lock_guard lock(baseURLs().mutex);
  return baseURLs().*member;
}

void set(std::string BaseURLs::*member, std::string url) {
  const std::lock_guard lock(baseURLs().mutex);
  baseURLs().*member = std::move(url);
}

bool isAllowedInQuery(char c) {
  // RFC 3986, section 3.4: pchar, "/" and "?", without percent-encoded triplets.
  static constexpr std::string_view kPunctuation = "-._~!$&'()*+,;=:@/?";
  return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') ||
         kPunctuation.find(c) != std::string_view::npos;
}

bool startsWithIgnoringCase(std::string_view text, std::string_view prefix) {
  const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; };
  return text.size() >= prefix.size() && std::equal(prefix.begin(), prefix.end(), text.begin(),
                                                    [&](char a, char b) { return a == lower(b); });
}

bool isPort(std::string_view text) {
  return std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
}

/// The host of "host", "host:port", "[::1]:port"; empty when user information stands before it or
/// anything but a port behind it.
std::string_view hostOf(std::string_view rest) {
  const auto authority = rest.substr(0, rest.find_first_of("/?#"));
  if (authority.find('@') != std::string_view::npos) return {};
  auto end = authority.find(':');
  if (authority.starts_with('[')) {
    const auto close = authority.find(']');
    if (close == std::string_view::npos) return {};
    end = close + 1;
  }
  const auto host = authority.substr(0, end);
  const auto port = authority.substr(host.size());
  if (!port.empty() && (port.front() != ':' || !isPort(port.substr(1)))) return {};
  return host;
}

bool isLoopback(std::string_view host) {
  if (host == "localhost" || host == "[::1]") return true;
  in_addr address{};
  return inet_pton(AF_INET, std::string(host).c_str(), &address) == 1 &&
         ntohl(address.s_addr) >> 24 == 127;
}

/// Of the printable characters the backslash is refused: some readers end the host at it, others
/// read on and find another host behind.
bool isPlain(std::string_view url) {
  return std::all_of(url.begin(), url.end(),
                     [](char c) { return c > ' ' && c < 0x7F && c != '\\'; });
}

}  // namespace

std::string APIBaseURL::production() {
  return get(&BaseURLs::production);
}
std::string APIBaseURL::sandbox() {
  return get(&BaseURLs::sandbox);
}
void APIBaseURL::setProduction(std::string url) {
  set(&BaseURLs::production, std::move(url));
}
void APIBaseURL::setSandbox(std::string url) {
  set(&BaseURLs::sandbox, std::move(url));
}

NetworkAPIRequestFor::NetworkAPIRequestFor(Arguments arguments)
    : parameter(std::move(arguments.parameter)),
      endpoint(std::move(arguments.endpoint)),
      headers(std::move(arguments.headers)),
      secretNames(std::move(arguments.secretNames)) {
  const auto base =
      UserDefaultsManager::getIsSandbox() ? APIBaseURL::sandbox() : APIBaseURL::production();
  resourceURL = base + percentEncodedForQuery(path(endpoint));
}

std::string percentEncodedForQuery(std::string_view text) {
  static constexpr char kDigits[] = "0123456789ABCDEF";
  std::string encoded;
  encoded.reserve(text.size());
  for (const char c : text) {
    if (isAllowedInQuery(c)) {
      encoded += c;
    } else {
      const auto byte = static_cast<unsigned char>(c);
      encoded += '%';
      encoded += kDigits[byte >> 4];
      encoded += kDigits[byte & 15];
    }
  }
  return encoded;
}

bool isAllowedURL(std::string_view url) {
  constexpr std::string_view kHTTPS = "https://";
  constexpr std::string_view kHTTP = "http://";
  if (!isPlain(url)) return false;
  if (startsWithIgnoringCase(url, kHTTPS)) return !hostOf(url.substr(kHTTPS.size())).empty();
  return startsWithIgnoringCase(url, kHTTP) && isLoopback(hostOf(url.substr(kHTTP.size())));
}

std::string OS::getVersion() {
  utsname system{};
  uname(&system);
  // A release is "6.1.0-13-amd64": up to three numbers count, missing ones are zero.
  std::array<std::string, 3> numbers = {"0", "0", "0"};
  std::string_view rest = system.release;
  for (auto& number : numbers) {
    const auto digits = rest.substr(0, rest.find_first_not_of("0123456789"));
    if (digits.empty()) break;
    number = digits;
    rest.remove_prefix(digits.size());
    if (!rest.starts_with('.')) break;
    rest.remove_prefix(1);
  }
  return numbers[0] + "." + numbers[1] + "." + numbers[2];
}

}  // namespace veltrane
