#include "apps/vtflow/option_checks.h"

#include <fcntl.h>
#include <openssl/bio.h>
#include <openssl/err.h>
#include <openssl/pem.h>
#include <openssl/x509.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cctype>
#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>
#include <string_view>
#include <system_error>

#include "apps/vtflow/flow_options.h"
#include "platform/curl/hop.h"
#include "platform/opencv/file_camera.h"

namespace veltrane::tool {
namespace {

namespace fs = std::filesystem;

constexpr double kDay = 24 * 60 * 60;

std::string quoted(const std::string& text) {
  return '"' + text + '"';
}

std::string plain(double number) {
  char text[32];
  const auto end = std::to_chars(text, text + sizeof text, number).ptr;
  return {text, end};
}

bool isHexColour(std::string_view text) {
  if (text.starts_with('#')) text.remove_prefix(1);
  const auto isDigit = [](unsigned char c) { return std::isxdigit(c) != 0; };
  const auto count = text.size();
  return (count == 3 || count == 4 || count == 6 || count == 8) &&
         std::all_of(text.begin(), text.end(), isDigit);
}

bool holdsCertificate(const std::string& file) {
  const std::unique_ptr<BIO, decltype(&BIO_free)> bio(BIO_new_file(file.c_str(), "r"), &BIO_free);
  if (!bio) return false;
  const std::unique_ptr<X509, decltype(&X509_free)> certificate(
      PEM_read_bio_X509_AUX(bio.get(), nullptr, nullptr, nullptr), &X509_free);
  ERR_clear_error();
  return certificate != nullptr;
}

/// Asked by doing: permissions alone do not tell of a file system that takes no files.
std::string checkFilesCanBeMadeIn(const fs::path& folder) {
  const auto existing = nearestExisting(folder);
  std::error_code error;
  if (!fs::is_directory(existing, error)) return quoted(existing.string()) + " is no folder";
  auto name = (existing / ".vtflow-XXXXXX").string();
  const int probe = mkostemp(name.data(), O_CLOEXEC);
  if (probe < 0) {
    return "cannot write to the folder " + quoted(existing.string()) + ": " + std::strerror(errno);
  }
  ::close(probe);
  ::unlink(name.c_str());
  return {};
}

/// A store that finds its file damaged takes its place: that must not happen to a file that was
/// named by mistake.
bool isEmptyOrDatabase(int file) {
  static constexpr std::string_view kHeader{"SQLite format 3\0", 16};
  char bytes[kHeader.size()];
  const auto count = ::read(file, bytes, sizeof bytes);
  if (count < 0) return false;
  return count == 0 || std::string_view(bytes, static_cast<std::size_t>(count)) == kHeader;
}

std::string checkExistingStore(const std::string& text) {
  std::error_code error;
  if (fs::is_directory(text, error)) return "must be a file; " + quoted(text) + " is a folder";
  if (!fs::is_regular_file(text, error)) return quoted(text) + " is no regular file";
  const int file = ::open(text.c_str(), O_RDWR | O_CLOEXEC);
  if (file < 0) return "cannot write to " + quoted(text) + ": " + std::strerror(errno);
  const bool mayBeStore = isEmptyOrDatabase(file);
  ::close(file);
  return mayBeStore ? "" : quoted(text) + " holds something else";
}

}  // namespace

fs::path nearestExisting(const fs::path& folder) {
  std::error_code error;
  auto path = fs::absolute(folder, error);
  while (!fs::exists(path, error) && path.has_parent_path() && path != path.parent_path()) {
    path = path.parent_path();
  }
  return path;
}

CLI::Validator checkedBy(std::string (*check)(const std::string&)) {
  return {[check](std::string& text) { return check(text); }, ""};
}

std::optional<double> parseNumber(const std::string& text) {
  double number = 0;
  const auto* const last = text.data() + text.size();
  const auto [end, error] = std::from_chars(text.data(), last, number, std::chars_format::fixed);
  if (error != std::errc() || end != last || !std::isfinite(number)) return std::nullopt;
  return number;
}

std::string checkNotEmpty(const std::string& text) {
  return text.empty() ? "must not be empty" : "";
}

std::string checkNumber(const std::string& text, double least, double most) {
  const auto number = parseNumber(text);
  if (number && *number >= least && *number <= most) return {};
  return "must be a number from " + plain(least) + " to " + plain(most) + ", not " + quoted(text);
}

std::string checkSeconds(const std::string& text) {
  const auto number = parseNumber(text);
  if (number && *number > 0 && *number <= kDay) return {};
  return "must be seconds above 0, at most 86400, not " + quoted(text);
}

std::string checkBaseURL(const std::string& text) {
  const bool namesUser =
      text.substr(0, text.find('/', text.find("://") + 3)).find('@') != text.npos;
  const auto origin = curl::originOf(text);
  const bool isHTTPS = origin && origin->scheme == "https";
  const bool isLocal = origin && origin->scheme == "http" && origin->isLoopback();
  const bool isPlain = !namesUser && text.find_first_of("?#") == std::string::npos;
  if ((isHTTPS || isLocal) && isPlain) return {};
  return "must be an https URL with its path alone (http on loopback addresses only), not " +
         quoted(text);
}

std::string checkReadableFile(const std::string& text) {
  std::error_code error;
  if (fs::is_directory(text, error)) return "must be a file; " + quoted(text) + " is a folder";
  return checkReadablePath(text);
}

std::string checkReadablePath(const std::string& text) {
  if (::access(text.c_str(), F_OK) != 0) return "there is no file " + quoted(text);
  if (::access(text.c_str(), R_OK) != 0) {
    return "cannot read " + quoted(text) + ": " + std::strerror(errno);
  }
  return {};
}

std::string checkAuthorityFile(const std::string& text) {
  const auto wrong = checkReadableFile(text);
  if (!wrong.empty()) return wrong;
  if (!holdsCertificate(text)) return "there is no PEM certificate in " + quoted(text);
  return {};
}

std::string checkThemeEntry(const std::string& text) {
  const auto equals = text.find('=');
  if (equals == std::string::npos) return "must be KEY=COLOUR, not " + quoted(text);
  const auto key = text.substr(0, equals);
  const auto value = text.substr(equals + 1);
  VTTheme theme;
  if (!themeColour(theme, key)) {
    return "knows backgroundColor, labelTextColor, buttonTextColor and buttonBackgroundColor, "
           "not " +
           quoted(key);
  }
  if (isHexColour(value)) return {};
  return key + " must be a colour such as #99c852, not " + quoted(value);
}

std::string checkStoreFile(const std::string& text) {
  if (text.empty()) return "must be a file";
  std::error_code error;
  if (fs::exists(text, error)) return checkExistingStore(text);
  if (text.ends_with('/')) return "must be a file; " + quoted(text) + " names a folder";
  return checkFilesCanBeMadeIn(fs::absolute(text, error).parent_path());
}

std::string checkPasskeyFile(const std::string& text) {
  if (text.empty()) return "must be a file";
  std::error_code error;
  return fs::exists(text, error) ? checkReadableFile(text) : "";
}

std::string checkCamera(const std::string& text) {
  const auto unreadable = checkReadablePath(text);
  if (!unreadable.empty()) return unreadable;
  return opencv::fileCameraProblem(text).value_or("");
}

std::string checkFlowsFolder(const std::string& text) {
  std::error_code error;
  fs::directory_iterator entry(text, error);
  while (!error && entry != fs::directory_iterator()) {
    if (entry->path().extension() == ".json") return {};
    entry.increment(error);
  }
  if (error) return "cannot read the folder " + quoted(text) + ": " + error.message();
  return "there is no flow (*.json) in the folder " + quoted(text);
}

std::string checkWritableFolder(const std::string& text) {
  if (text.empty()) return "must be a folder";
  return checkFilesCanBeMadeIn(text);
}

}  // namespace veltrane::tool
