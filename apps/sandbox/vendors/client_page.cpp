#include "apps/sandbox/vendors/client_page.h"

#include <array>
#include <utility>

#include "apps/sandbox/html_text.h"
#include "apps/sandbox/vendors/assets.h"
#include "apps/sandbox/vendors/vendors.h"

namespace veltrane::sandbox {
namespace {

/// What a vendor's client reports, with the words that people see.
constexpr std::array<std::pair<const char*, const char*>, 10> kCodes = {{
    {"9100", "server"},
    {"9200", "token missing, invalid or expired"},
    {"9210", "session expired"},
    {"9300", "a picture could not be sent"},
    {"9400", "a step of the verification"},
    {"9800", "no network"},
    {"9801", "unexpected"},
    {"9810", "talking to the server"},
    {"9820", "no camera and no upload"},
    {"9835", "no acceptable picture in three attempts"},
}};

/// In anybody's frame, as a vendor's client is, and nothing from elsewhere but the page that plays
/// a stranger.
Reply html(std::string text) {
  Reply reply;
  reply.verbatim = true;
  reply.contentType = "text/html; charset=utf-8";
  reply.text = std::move(text);
  reply.headers = {{"Content-Security-Policy",
                    "default-src 'none'; style-src 'self'; script-src 'self'; media-src 'self' "
                    "blob: mediastream:; frame-src https:; base-uri 'none'; form-action 'none'"},
                   {"Cache-Control", "no-store"},
                   {"Referrer-Policy", "no-referrer"},
                   {"X-Content-Type-Options", "nosniff"}};
  return reply;
}

Reply asset(const char* contentType, std::string text) {
  Reply reply = html(std::move(text));
  reply.contentType = contentType;
  return reply;
}

std::string data(const std::string& name, const std::string& value) {
  return " data-" + name + "=\"" + escapedHtml(value) + "\"";
}

std::string head(const std::string& title, const std::string& script) {
  return "<!doctype html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
         "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n"
         "<meta name=\"color-scheme\" content=\"light dark\">\n<title>" +
         title + "</title>\n<link rel=\"stylesheet\" href=\"/web/client.css\">\n<script src=\"" +
         script + "\" defer></script>\n</head>\n";
}

std::string options() {
  std::string html;
  for (const auto& [code, words] : kCodes) {
    html += "<option value=\"" + std::string(code) + "\">" + code + ": " + words + "</option>\n";
  }
  return html;
}

}  // namespace

Reply clientPage(const Transaction& transaction, const std::string& play,
                 const std::string& other) {
  const std::string body =
      "<body" + data("play", play) + data("token", transaction.authorizationToken) +
      data("reference", transaction.reference) +
      data("customer", transaction.initiation.customerInternalReference) + data("other", other) +
      ">\n<main>\n<h1>Verify your identity</h1>\n"
      "<p>A stand-in: nothing is scanned and nothing is sent. Say how it ends.</p>\n"
      "<video id=\"preview\" muted playsinline hidden></video>\n"
      "<p><button id=\"camera\" type=\"button\">Use the camera</button></p>\n"
      "<p><button id=\"finish\" type=\"button\">Finish</button></p>\n"
      "<p><label for=\"code\">What goes wrong</label>\n<select id=\"code\">\n" +
      options() +
      "</select>\n<button id=\"fail\" type=\"button\">Fail</button></p>\n"
      "<p id=\"outcome\" role=\"status\"></p>\n"
      "<p>Close the sheet around this page to cancel.</p>\n</main>\n</body>\n</html>\n";
  return html(head("Verify your identity", "/web/client.js") + body);
}

Reply foreignPage(const Transaction& transaction) {
  return html(
      head("A stranger", "/web/foreign.js") + "<body" +
      data("token", transaction.authorizationToken) + data("reference", transaction.reference) +
      data("customer", transaction.initiation.customerInternalReference) + ">\n</body>\n</html>\n");
}

std::optional<Reply> clientAsset(const std::string& path) {
  if (path == "/web/client.css") return asset("text/css", kClientCss);
  if (path == "/web/client.js") return asset("text/javascript", kClientJs);
  if (path == "/web/foreign.js") return asset("text/javascript", kForeignJs);
  return std::nullopt;
}

}  // namespace veltrane::sandbox
