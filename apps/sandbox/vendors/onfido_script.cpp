#include "apps/sandbox/vendors/onfido_script.h"

#include <chrono>
#include <string_view>

#include "apps/sandbox/vendors/assets.h"

namespace veltrane::sandbox {
namespace {

constexpr std::string_view kFolder = "/onfido/";
constexpr std::string_view kFile = "loader.js";
constexpr std::chrono::seconds kSlow{3};

Reply script() {
  Reply reply;
  reply.verbatim = true;
  reply.contentType = "text/javascript";
  reply.text = kOnfidoJs;
  // Any page may load it, as a vendor's script.
  reply.headers = {{"Access-Control-Allow-Origin", "*"},
                   {"Cross-Origin-Resource-Policy", "cross-origin"},
                   {"Cache-Control", "no-store"},
                   {"X-Content-Type-Options", "nosniff"}};
  return reply;
}

/// False when there is no such trouble.
bool spoil(std::string_view trouble, Reply& reply) {
  if (trouble == "slow") {
    reply.delay = kSlow;
  } else if (trouble == "hang") {
    reply.noAnswer = true;
  } else if (trouble == "close") {
    reply.closeConnection = true;
  } else if (trouble == "cut") {
    reply.cutAfterBytes = reply.text.size() / 2;
  } else if (trouble == "html") {
    reply.contentType = "text/html; charset=utf-8";
    reply.text = "<!doctype html>\n<title>Sorry</title>\n";
  } else if (trouble == "missing") {
    reply.status = 404;
  } else if (trouble == "throws") {
    reply.text = "throw new Error('out of order');\n";
  } else if (trouble == "empty") {
    reply.text = "// Nothing is here.\n";
  } else {
    return false;
  }
  return true;
}

}  // namespace

std::optional<Reply> onfidoScript(const std::string& path) {
  std::string_view rest = path;
  if (!rest.starts_with(kFolder) || !rest.ends_with(kFile)) return std::nullopt;
  rest.remove_prefix(kFolder.size());
  rest.remove_suffix(kFile.size());
  Reply reply = script();
  if (rest.empty()) return reply;
  if (!rest.ends_with('/')) return std::nullopt;
  rest.remove_suffix(1);
  return spoil(rest, reply) ? std::optional(reply) : std::nullopt;
}

}  // namespace veltrane::sandbox
