#include "platform/curl/hop.h"

#include <arpa/inet.h>

#include <algorithm>
#include <memory>

#include "platform/curl/libcurl.h"

namespace veltrane::curl {
namespace {

char lower(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c;
}

std::string lowered(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(), lower);
  return text;
}

std::string urlPart(CURLU* url, CURLUPart part, unsigned flags = 0) {
  char* text = nullptr;
  if (api().url_get(url, part, &text, flags) != CURLUE_OK) return {};
  const std::unique_ptr<char, decltype(api().free)> owner(text, api().free);
  return lowered(text);
}

bool isFieldValue(std::string_view text) {
  return std::none_of(text.begin(), text.end(),
                      [](unsigned char c) { return (c < 0x20 && c != '\t') || c == 0x7f; });
}

bool isToken(std::string_view text) {
  constexpr std::string_view separators = "\"(),/:;<=>?@[\\]{}";
  return !text.empty() && std::all_of(text.begin(), text.end(), [&](unsigned char c) {
    return c > 0x20 && c < 0x7f && separators.find(static_cast<char>(c)) == std::string_view::npos;
  });
}

template <typename Predicate>
void dropHeaders(Hop& hop, Predicate unwanted) {
  std::erase_if(hop.headers, [&](const auto& header) { return unwanted(lowered(header.first)); });
}

void turnIntoGet(Hop& hop) {
  hop.method = "GET";
  hop.withBody = false;
  dropHeaders(hop, [](const std::string& name) { return name.starts_with("content-"); });
}

}  // namespace

bool Origin::isLoopback() const {
  if (host == "localhost" || host == "[::1]") return true;
  in_addr address{};
  return inet_pton(AF_INET, host.c_str(), &address) == 1 && (ntohl(address.s_addr) >> 24) == 127;
}

std::optional<Origin> originOf(const std::string& url) {
  load();
  const std::unique_ptr<CURLU, decltype(api().url_cleanup)> parsed(api().url(), api().url_cleanup);
  if (!parsed || api().url_set(parsed.get(), CURLUPART_URL, url.c_str(), 0) != CURLUE_OK) return {};
  return Origin{urlPart(parsed.get(), CURLUPART_SCHEME), urlPart(parsed.get(), CURLUPART_HOST),
                urlPart(parsed.get(), CURLUPART_PORT, CURLU_DEFAULT_PORT)};
}

std::optional<Hop> firstHop(const HTTPRequest& request) {
  const auto origin = originOf(request.url);
  const bool allowed =
      origin && (origin->scheme == "https" || (origin->scheme == "http" && origin->isLoopback()));
  if (!allowed || !isToken(request.method)) return {};
  for (const auto& [name, value] : request.headers) {
    if (!isToken(name) || !isFieldValue(value)) return {};
  }
  return Hop{request.method, request.url, request.headers, request.body.has_value()};
}

bool isRedirect(long status) {
  return status == 301 || status == 302 || status == 303 || status == 307 || status == 308;
}

std::optional<Hop> redirected(Hop hop, long status, const std::string& location) {
  const auto from = originOf(hop.url);
  const auto to = originOf(location);
  if (!to || to->scheme != "https") return {};
  if (from != to) {
    dropHeaders(hop, [](const auto& name) { return name == "authorization" || name == "cookie"; });
  }
  const bool keepsMethod = status == 307 || status == 308;
  if (!keepsMethod && (hop.method == "POST" || status == 303)) turnIntoGet(hop);
  hop.url = location;
  return hop;
}

}  // namespace veltrane::curl
