#include "apps/vtflow/doctor/clock.h"

#include <httplib.h>
#include <sys/timex.h>

#include <ctime>
#include <system_error>

namespace veltrane::tool {
namespace {

using std::chrono::sys_seconds;
using std::chrono::system_clock;
using namespace std::chrono_literals;

/// What certificates and tokens bear at the most.
constexpr std::chrono::seconds kTolerance = 5min;
constexpr int kPatience = 5;  // seconds, to connect and to answer

sys_seconds currentTime() {
  return std::chrono::floor<std::chrono::seconds>(system_clock::now());
}

sys_seconds timeOfThisProgram() {
  std::error_code error;
  const auto written = std::filesystem::last_write_time("/proc/self/exe", error);
  if (error) return {};
  return std::chrono::floor<std::chrono::seconds>(std::chrono::file_clock::to_sys(written));
}

bool isSynchronised() {
  timex state{};
  return adjtimex(&state) != TIME_ERROR && (state.status & STA_UNSYNC) == 0;
}

struct Address {
  std::string server;  // scheme, host and port
  std::string path;
};

Address split(const std::string& url) {
  const auto slash = url.find('/', url.find("://") + 3);
  if (slash == std::string::npos) return {url, "/"};
  return {url.substr(0, slash), url.substr(slash)};
}

std::string failureOf(const std::string& server, httplib::Error error) {
  if (error == httplib::Error::SSLServerVerification) {
    return "The certificate of " + server + " is not accepted.";
  }
  return "There is no answer from " + server + " (" + httplib::to_string(error) + ").";
}

std::string amount(std::chrono::seconds seconds) {
  const auto count = [](auto value, const char* unit) {
    return std::to_string(value) + ' ' + unit + (value == 1 ? "" : "s");
  };
  if (seconds >= 48h) return count(seconds / 24h, "day");
  if (seconds >= 2h) return count(seconds / 1h, "hour");
  return count(seconds / 1min, "minute");
}

Finding finding(Finding::State state, std::string cause, std::string remedy = {}) {
  return {state, "clock", std::move(cause), std::move(remedy)};
}

Finding wrong(const std::string& cause) {
  return finding(Finding::State::fatal, cause,
                 "Set the clock, and have it kept: timedatectl set-ntp true.");
}

}  // namespace

std::optional<sys_seconds> parseHTTPDate(const std::string& text) {
  std::tm parts{};
  const char* const end = ::strptime(text.c_str(), "%a, %d %b %Y %H:%M:%S GMT", &parts);
  if (!end || *end != '\0') return std::nullopt;
  return sys_seconds(std::chrono::seconds(::timegm(&parts)));
}

ClockReading readClock() {
  return {.now = currentTime(), .built = timeOfThisProgram(), .isSynchronised = isSynchronised()};
}

ClockReading readClock(const std::string& baseURL,
                       const std::optional<std::filesystem::path>& authorityFile) {
  const auto [server, path] = split(baseURL);
  httplib::Client client(server);
  client.set_connection_timeout(kPatience);
  client.set_read_timeout(kPatience);
  if (authorityFile) client.set_ca_cert_path(authorityFile->c_str());
  const auto answer = client.Head(path);
  ClockReading reading = readClock();
  if (!answer) {
    reading.serverFailure = failureOf(server, answer.error());
  } else if (!(reading.server = parseHTTPDate(answer->get_header_value("Date")))) {
    reading.serverFailure = "The answer from " + server + " has no date.";
  }
  return reading;
}

Finding judge(const ClockReading& reading) {
  const auto behind = reading.server ? *reading.server - reading.now : 0s;
  if (std::chrono::abs(behind) > kTolerance) {
    return wrong("This machine's clock is " + amount(std::chrono::abs(behind)) +
                 (behind > 0s ? " behind" : " ahead of") + " the server's.");
  }
  if (reading.server) return finding(Finding::State::ok, "It agrees with the server's.");
  if (reading.now + kTolerance < reading.built) {
    return wrong("This machine's clock is " + amount(reading.built - reading.now) +
                 " behind the day on which this program was built.");
  }
  if (!reading.serverFailure.empty()) {
    return finding(
        Finding::State::wrong, reading.serverFailure,
        "Check --base-url and --ca; certificates are refused too where this machine's date is "
        "wrong.");
  }
  if (!reading.isSynchronised) {
    return finding(Finding::State::unsure, "Nothing tells the system that its clock is right.",
                   "Compare it with a server's by --base-url URL, or have it kept: timedatectl "
                   "set-ntp true.");
  }
  return finding(Finding::State::ok, "The system keeps it by others'.");
}

}  // namespace veltrane::tool
