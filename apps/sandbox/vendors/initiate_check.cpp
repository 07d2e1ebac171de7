#include "apps/sandbox/vendors/initiate_check.h"

#include <openssl/evp.h>

#include <algorithm>
#include <array>
#include <nlohmann/json.hpp>
#include <optional>
#include <span>
#include <string_view>
#include <utility>
#include <vector>

#include "apps/sandbox/request_check.h"

namespace veltrane::sandbox {
namespace {

using nlohmann::json;

constexpr std::string_view kScanPath = "/api/v4/initiate";
constexpr std::string_view kCheckPath = "/api/authentication/v1/web/initiate";
constexpr std::string_view kSecret = "sandbox-secret";

// ---- the account

std::optional<std::string> base64Decoded(const std::string& text) {
  if (text.empty() || text.size() % 4 != 0) return std::nullopt;
  std::string bytes(text.size() / 4 * 3, '\0');
  const auto* input = reinterpret_cast<const unsigned char*>(text.data());
  const int size = EVP_DecodeBlock(reinterpret_cast<unsigned char*>(bytes.data()), input,
                                   static_cast<int>(text.size()));
  if (size < 0) return std::nullopt;
  const auto padding = std::count(text.end() - 2, text.end(), '=');
  bytes.resize(static_cast<std::size_t>(size) - static_cast<std::size_t>(padding));
  return bytes;
}

Refusal unauthorized(const std::string& why) {
  return {"unauthorized", why, 401};
}

std::string checkedAccount(const RecordedRequest& request) {
  constexpr std::string_view scheme = "Basic ";
  const std::string value = request.header("Authorization");
  if (!value.starts_with(scheme)) {
    throw unauthorized("The header \"Authorization\" must be \"Basic \" and an account.");
  }
  const auto account = base64Decoded(value.substr(scheme.size()));
  const auto colon = account ? account->find(':') : std::string::npos;
  if (colon == std::string::npos) {
    throw unauthorized("The account must be an API token, a colon and a secret, in Base64.");
  }
  if (std::string_view(*account).substr(colon + 1) != kSecret) {
    throw unauthorized("That is not the secret of this API token.");
  }
  return account->substr(0, colon);
}

// ---- the headers

void checkHeaders(const RecordedRequest& request) {
  for (const char* const name : {"Accept", "Content-Type"}) {
    if (onlyHeader(request, name) != "application/json") {
      throw Refusal("badHeader",
                    "The header \"" + std::string(name) + "\" must be \"application/json\".");
    }
  }
  const std::string agent = onlyHeader(request, "User-Agent");
  const auto blank = agent.find(' ');
  if (blank == 0 || blank == std::string::npos || blank + 1 == agent.size()) {
    throw Refusal("badHeader", "The header \"User-Agent\" must name the company and the app.");
  }
}

// ---- the body

/// Why a value is not as it should be; empty when it is.
using Judge = std::string (*)(const json& value, std::size_t longest);

std::size_t characters(const std::string& text) {
  return static_cast<std::size_t>(
      std::count_if(text.begin(), text.end(), [](char c) { return (c & 0xC0) != 0x80; }));
}

std::string text(const json& value, std::size_t longest) {
  if (!value.is_string()) return "must be a text";
  const auto size = characters(value.get_ref<const std::string&>());
  if (size == 0 || size > longest) {
    return "must have 1 to " + std::to_string(longest) + " characters";
  }
  return {};
}

std::string url(const json& value, std::size_t longest) {
  if (auto why = text(value, longest); !why.empty()) return why;
  constexpr std::string_view scheme = "https://";
  const auto& given = value.get_ref<const std::string&>();
  const bool hasHost = given.starts_with(scheme) && given.size() > scheme.size() &&
                       std::string_view("/?#").find(given[scheme.size()]) == std::string_view::npos;
  const bool hasBlank = given.find_first_of(" \t\r\n") != std::string::npos;
  return hasHost && !hasBlank ? "" : "must be an https URL";
}

bool areAll(std::string_view text, char first, char last) {
  return std::all_of(text.begin(), text.end(), [=](char c) { return c >= first && c <= last; });
}

std::string number(const json& value, std::size_t /*longest*/) {
  if (value.is_number_unsigned()) return {};
  const std::string given = value.is_string() ? value.get<std::string>() : std::string();
  return !given.empty() && areAll(given, '0', '9') ? "" : "must be a whole number";
}

std::string locale(const json& value, std::size_t /*longest*/) {
  const std::string given = value.is_string() ? value.get<std::string>() : std::string();
  const std::string_view rest = given;
  const bool isLanguage = given.size() >= 2 && areAll(rest.substr(0, 2), 'a', 'z');
  const bool isCountry =
      given.size() == 2 || (given.size() == 5 && (given[2] == '-' || given[2] == '_') &&
                            areAll(rest.substr(3), 'A', 'Z'));
  return isLanguage && isCountry ? "" : "must be a language, such as \"en\" or \"de-AT\"";
}

std::string minutes(const json& value, std::size_t /*longest*/) {
  const bool isOne = value.is_number_unsigned() && value >= 5 && value <= 86'400;
  return isOne ? "" : "must be a whole number from 5 to 86400";
}

struct Member {
  const char* name;
  bool required;
  Judge judge;
  std::size_t longest;
};

constexpr std::array kScanMembers = {
    Member{"customerInternalReference", true, text, 100},
    Member{"userReference", true, text, 100},
    Member{"callbackUrl", false, url, 255},
    Member{"successUrl", false, url, 2047},
    Member{"errorUrl", false, url, 255},
    Member{"workflowId", false, number, 0},
    Member{"locale", false, locale, 0},
    Member{"tokenLifetimeInMinutes", false, minutes, 0},
};

constexpr std::array kCheckMembers = {
    Member{"enrollmentTransactionReference", true, text, 36},
    Member{"customerInternalReference", true, text, 100},
    Member{"callbackUrl", true, url, 255},
    Member{"successUrl", false, url, 2047},
    Member{"errorUrl", false, url, 255},
    Member{"locale", false, locale, 0},
    Member{"tokenLifetimeInMinutes", false, minutes, 0},
};

void checkBody(const json& body, std::span<const Member> members) {
  const auto isKnown = [&](const std::string& key) {
    return std::any_of(members.begin(), members.end(),
                       [&](const Member& member) { return member.name == key; });
  };
  for (const auto& entry : body.items()) {
    if (!isKnown(entry.key())) {
      throw Refusal("badBody", "The body holds \"" + entry.key() + "\", which is not known here.");
    }
  }
  for (const Member& member : members) {
    const std::string name = "The body's \"" + std::string(member.name) + "\" ";
    if (!body.contains(member.name)) {
      if (member.required) throw Refusal("badBody", name + "is missing.");
      continue;
    }
    const auto why = member.judge(body[member.name], member.longest);
    if (!why.empty()) throw Refusal("badBody", name + why + ".");
  }
}

}  // namespace

bool isInitiation(const std::string& path) {
  return path == kScanPath || path == kCheckPath;
}

Initiation checkedInitiation(const RecordedRequest& request) {
  if (request.method != "POST") throw Refusal("badMethod", "The method must be POST.", 405);
  std::string apiToken = checkedAccount(request);
  checkHeaders(request);
  const json body = readBody(request);
  const bool isScan = request.path == kScanPath;
  checkBody(body, isScan ? std::span<const Member>(kScanMembers)
                         : std::span<const Member>(kCheckMembers));
  return {.apiToken = std::move(apiToken),
          .customerInternalReference = body["customerInternalReference"].get<std::string>(),
          .locale = body.value("locale", "en")};
}

}  // namespace veltrane::sandbox
