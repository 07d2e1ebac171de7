#include "apps/sandbox/face/face_page.h"

#include <httplib.h>
#include <openssl/crypto.h>

#include <array>
#include <ctime>
#include <utility>

#include "apps/sandbox/own_page.h"

namespace veltrane::sandbox {
namespace {

constexpr const char* kPath = "/face";
constexpr const char* kPicturePath = "/face/picture.png";
constexpr const char* kHtml = "text/html; charset=utf-8";
constexpr const char* kTitle = "Face picture";

std::string head(bool looksAgain) {
  return std::string("<!doctype html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n") +
         "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n"
         "<meta name=\"color-scheme\" content=\"light dark\">\n" +
         // Until there is something to see; then the page stands still.
         (looksAgain ? "<meta http-equiv=\"refresh\" content=\"2\">\n" : "") + "<title>" + kTitle +
         "</title>\n<link rel=\"stylesheet\" href=\"/approve/page.css\">\n</head>\n<body>\n<main>\n"
         "<h1>" +
         kTitle + "</h1>\n";
}

constexpr const char* kFoot = "</main>\n</body>\n</html>\n";

std::string clockTime(std::chrono::system_clock::time_point when) {
  const std::time_t time = std::chrono::system_clock::to_time_t(when);
  std::tm local{};
  ::localtime_r(&time, &local);
  std::array<char, 16> text{};
  return {text.data(), std::strftime(text.data(), text.size(), "%H:%M:%S", &local)};
}

std::string html(const std::optional<LastFace::Shown>& shown) {
  if (!shown) {
    return head(true) + "<p class=\"intro\">No picture has come yet. This page looks again.</p>\n" +
           kFoot;
  }
  const auto& [picture, cameAt, number] = *shown;
  return head(false) + "<p class=\"intro\">" + std::to_string(picture.width) + " x " +
         std::to_string(picture.height) + " pixels, " + std::to_string(picture.png.size()) +
         " bytes, came at " + clockTime(cameAt) +
         ". It is kept in memory until another one comes or the sandbox stops.</p>\n"
         "<img class=\"picture\" src=\"" +
         kPicturePath + "?" + std::to_string(number) + "\" width=\"" +
         std::to_string(picture.width) + "\" height=\"" + std::to_string(picture.height) +
         "\" alt=\"The last picture of a face that was sent\">\n"
         "<p><a href=\"" +
         kPath + "\">Look again</a></p>\n" + kFoot;
}

void refuse(const std::string& reason, int status, httplib::Response& response) {
  response.status = status;
  response.set_content(
      head(false) + "<p id=\"message\" class=\"problem\">" + reason + "</p>\n" + kFoot, kHtml);
}

}  // namespace

LastFace::~LastFace() {
  if (shown_) OPENSSL_cleanse(shown_->picture.png.data(), shown_->picture.png.size());
}

void LastFace::show(FacePicture picture) {
  const std::lock_guard lock(mutex_);
  Shown next{.picture = std::move(picture),
             .cameAt = std::chrono::system_clock::now(),
             .number = shown_ ? shown_->number + 1 : 1};
  if (shown_) OPENSSL_cleanse(shown_->picture.png.data(), shown_->picture.png.size());
  shown_ = std::move(next);
}

std::optional<LastFace::Shown> LastFace::last() const {
  const std::lock_guard lock(mutex_);
  return shown_;
}

bool FacePage::isItsPath(const std::string& path) {
  return path == kPath || path.starts_with("/face/");
}

void FacePage::answer(const httplib::Request& request, int port,
                      httplib::Response& response) const {
  setPageHeaders(true, response);
  if (const auto reason = whyRefused(request, port, kPath)) return refuse(*reason, 403, response);
  if (request.method != "GET" && request.method != "HEAD") {
    return refuse("This page is shown by GET.", 405, response);
  }
  const auto shown = faces_.last();
  if (request.path == kPath) return response.set_content(html(shown), kHtml);
  if (request.path != kPicturePath) return refuse("There is no such page.", 404, response);
  if (!shown) return refuse("No picture has come yet.", 404, response);
  response.set_content(shown->picture.png, "image/png");
}

}  // namespace veltrane::sandbox
