#include "apps/sandbox/approve/page_html.h"

#include <array>
#include <ctime>

#include "apps/sandbox/html_text.h"

namespace veltrane::sandbox {
namespace {

std::string formatted(const std::tm& time, const char* format) {
  std::array<char, 64> text{};
  const std::size_t length = std::strftime(text.data(), text.size(), format, &time);
  return {text.data(), length};
}

std::string since(const Challenge& challenge) {
  const std::time_t time = std::chrono::system_clock::to_time_t(challenge.openedAt);
  std::tm utc{};
  std::tm local{};
  ::gmtime_r(&time, &utc);
  ::localtime_r(&time, &local);
  return "<time datetime=\"" + formatted(utc, "%Y-%m-%dT%H:%M:%SZ") + "\">" +
         formatted(local, "%H:%M:%S") + "</time>";
}

std::string age(const Challenge& challenge) {
  const auto seconds = challenge.age.count() / 1000;
  if (seconds < 5) return "just now";
  if (seconds < 60) return std::to_string(seconds) + " seconds ago";
  const auto minutes = seconds / 60;
  return std::to_string(minutes) + (minutes == 1 ? " minute ago" : " minutes ago");
}

std::string button(const Challenge& challenge, const std::string& answer, const std::string& word) {
  return "<button type=\"submit\" name=\"answer\" value=\"" + answer + "\" class=\"" + answer +
         "\" aria-label=\"" + word + ": " + escapedHtml(challenge.purpose) + "\">" + word +
         "</button>";
}

std::string item(const Challenge& challenge) {
  return "<li id=\"challenge-" + challenge.id + "\" class=\"challenge\">\n<h2>" +
         escapedHtml(challenge.purpose) + "</h2>\n<p class=\"facts\">Since " + since(challenge) +
         " · <span class=\"age\">" + age(challenge) +
         "</span></p>\n<form method=\"post\" action=\"/approve/" + challenge.id +
         "\">\n<input type=\"hidden\" name=\"token\" value=\"" + challenge.token + "\">\n" +
         button(challenge, "deny", "Deny") + "\n" + button(challenge, "approve", "Approve") +
         "\n</form>\n</li>\n";
}

std::string head(const std::string& title, bool refreshes) {
  return "<!doctype html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
         "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n"
         "<meta name=\"color-scheme\" content=\"light dark\">\n<title>" +
         title + "</title>\n<link rel=\"stylesheet\" href=\"/approve/page.css\">\n" +
         (refreshes ? "<noscript><meta http-equiv=\"refresh\" content=\"5; url=/approve\">"
                      "</noscript>\n<script src=\"/approve/page.js\" defer></script>\n"
                    : "") +
         "</head>\n";
}

std::string messageHtml(const PageMessage& message) {
  return "<p id=\"message\" role=\"status\" class=\"" +
         std::string(message.isProblem ? "problem" : "") + "\">" + escapedHtml(message.text) +
         "</p>\n";
}

}  // namespace

std::string pageHtml(const std::vector<Challenge>& open, const PageMessage& message) {
  std::string html = head("Approve", true) +
                     "<body>\n<main>\n<h1 tabindex=\"-1\">Approve</h1>\n"
                     "<p class=\"intro\">Your second device. Requests that wait for you appear "
                     "here by themselves.</p>\n" +
                     messageHtml(message) + "<ul id=\"challenges\">\n";
  for (const Challenge& challenge : open) html += item(challenge);
  html += "</ul>\n<p id=\"nothing\"" + std::string(open.empty() ? "" : " hidden") +
          ">Nothing waits for your approval.</p>\n"
          "<p id=\"announcement\" class=\"unseen\" aria-live=\"polite\"></p>\n"
          "</main>\n</body>\n</html>\n";
  return html;
}

std::string refusalHtml(const std::string& reason) {
  return head("Refused", false) +
         "<body>\n<main>\n<h1>Refused</h1>\n<p id=\"message\" class=\"problem\">" +
         escapedHtml(reason) +
         "</p>\n<p><a href=\"/approve\">Go to the open requests</a></p>\n</main>\n</body>\n"
         "</html>\n";
}

}  // namespace veltrane::sandbox
