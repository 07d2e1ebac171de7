// Process start to first screen: a host with a flow against a bare program of Qt Quick Controls,
// taking turns. Both lie beside this program. usage: start_up_bench [ROUNDS]
#include <fcntl.h>
#include <netinet/in.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "tests/support/tls_test_server.h"

namespace {

using veltrane::testing::TlsTestServer;
using Arguments = std::vector<std::string>;

constexpr int kPatience = 20'000;  // milliseconds
constexpr const char* kStart = "/v1/auth/acme/flows/sign-in/start";
/// The rows that the bare program has.
constexpr const char* kSignIn = R"({
  "id": "1", "companyId": "acme", "flowId": "sign-in", "interactionId": "2", "connectionId": "3",
  "capabilityName": "customHTMLTemplate",
  "screen": {
    "properties": {"signIn": {"properties": {
      "navTitle": {"value": "Sign in"}, "nextButtonText": {"value": "Continue"},
      "screenComponentList": {"value": [
        {"preferredControlType": "label", "value": "Sign in"},
        {"preferredControlType": "textField", "propertyName": "user", "value": "",
         "attributes": {"displayName": "User name", "placeholder": "User name"}},
        {"preferredControlType": "toggleSwitch", "propertyName": "stay", "value": false,
         "attributes": {"displayName": "Stay signed in"}}]},
      "nextEvent": {"constructType": "vtEvent", "eventType": "post", "eventName": "continue"}}}},
    "userViews": [{"screenTemplateName": "ScreenTemplate1", "screenConfigName": "signIn"}]}})";

[[noreturn]] void stop(const std::string& why) {
  std::fprintf(stderr, "%s\n", why.c_str());
  std::exit(1);
}

pid_t spawn(const Arguments& arguments, int output) {
  std::vector<char*> words;
  for (const auto& argument : arguments) words.push_back(const_cast<char*>(argument.c_str()));
  words.push_back(nullptr);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, output, STDOUT_FILENO);
  posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
  pid_t child = 0;
  const int failed = posix_spawn(&child, words[0], &actions, nullptr, words.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  if (failed) stop("Cannot start " + arguments[0]);
  return child;
}

/// A port that takes connections and never says a word, so that no server works meanwhile.
std::string silentAddress() {
  static const int listener = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in address{.sin_family = AF_INET, .sin_port = 0, .sin_addr = {htonl(INADDR_LOOPBACK)}};
  socklen_t size = sizeof address;
  auto* raw = reinterpret_cast<sockaddr*>(&address);
  if (bind(listener, raw, size) != 0 || listen(listener, SOMAXCONN) != 0 ||
      getsockname(listener, raw, &size) != 0) {
    stop("No port");
  }
  return "https://127.0.0.1:" + std::to_string(ntohs(address.sin_port)) + "/v1";
}

/// Milliseconds from the start of a program until it says that its screen is there.
double startUp(const Arguments& arguments) {
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0) stop("No pipe");
  const auto start = std::chrono::steady_clock::now();
  const pid_t child = spawn(arguments, ends[1]);
  close(ends[1]);
  pollfd answer{.fd = ends[0], .events = POLLIN};
  char byte = 0;
  const bool told = poll(&answer, 1, kPatience) == 1 && read(ends[0], &byte, 1) == 1;
  const auto end = std::chrono::steady_clock::now();
  close(ends[0]);
  kill(child, SIGKILL);
  waitpid(child, nullptr, 0);
  if (!told) stop(arguments[0] + " never showed " + arguments.back());
  return std::chrono::duration<double, std::milli>(end - start).count();
}

double median(std::vector<double> values) {
  std::nth_element(values.begin(), values.begin() + values.size() / 2, values.end());
  return values[values.size() / 2];
}

void print(const char* what, double wanted, const std::vector<double>& ours,
           const std::vector<double>& bare) {
  const double ratio = median(ours) / median(bare);
  std::printf("RATIO %.2f (wanted at most %.2f%s)  %s  %.1f ms / %.1f ms\n", ratio, wanted,
              ratio > wanted ? ", MISSED" : "", what, median(ours), median(bare));
}

}  // namespace

int main(int argc, char** argv) {
  const int rounds = argc > 1 ? std::atoi(argv[1]) : 31;
  if (rounds < 1) stop("usage: start_up_bench [ROUNDS]");
  const auto beside = std::filesystem::read_symlink("/proc/self/exe").parent_path();
  const std::string host = beside / "flow_start", bareProgram = beside / "bare_controls";
  setenv("QT_QPA_PLATFORM", "offscreen", 0);
  TlsTestServer server;
  const std::string answering = server.url("/v1"), silent = silentAddress();
  server.answer(kStart, 200, kSignIn);
  std::string folder = std::filesystem::temp_directory_path() / "start-up-XXXXXX";
  if (!mkdtemp(folder.data())) stop("No temporary folder");
  const auto until = [&](const char* screen, const std::string& at) -> Arguments {
    return {host, at, server.authorityFile(), folder + "/settings", screen};
  };

  std::vector<double> start, view, bare;
  for (int round = -2; round < rounds; ++round) {
    const double times[] = {startUp(until("StartFlowVC", silent)), startUp({bareProgram}),
                            startUp(until("ScreenTemplate1VC", answering))};
    if (round < 0) continue;  // files come into memory
    start.push_back(times[0]);
    bare.push_back(times[1]);
    view.push_back(times[2]);
  }
  print("process start to first screen", 1.15, start, bare);
  std::printf("RATIO %.2f  process start to first user view, its request over TLS included\n",
              median(view) / median(bare));
  std::filesystem::remove_all(folder);
}
