// Process start to first screen: a host with a flow against a bare program of Qt Quick Controls,
// taking turns. Both lie beside this program. usage: start_up_bench [ROUNDS]
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "bench/document_generator.h"
#include "tests/support/tls_test_server.h"

namespace {

using veltrane::testing::TlsTestServer;
using Arguments = std::vector<std::string>;

constexpr int kPatience = 20'000;  // milliseconds
constexpr const char* kStart = "/v1/auth/acme/flow/sign-in/start";

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
  if (!told) stop(arguments[0] + " showed nothing.");
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
  TlsTestServer silent, server;
  silent.route(kStart, [](const auto&, auto& connection) { connection.waitForClose(); });
  server.answer(kStart, 200, veltrane::bench::generateScreen(8).text);
  std::string folder = std::filesystem::temp_directory_path() / "start-up-XXXXXX";
  if (!mkdtemp(folder.data())) stop("No temporary folder");
  const auto until = [&](const char* screen, const TlsTestServer& at) -> Arguments {
    return {host, at.url("/v1"), at.authorityFile(), folder + "/settings", screen};
  };

  std::vector<double> start, view, bare;
  for (int round = -2; round < rounds; ++round) {
    const double times[] = {startUp(until("StartFlowVC", silent)), startUp({bareProgram}),
                            startUp(until("ScreenTemplate1VC", server))};
    if (round < 0) continue;  // files come into memory
    start.push_back(times[0]);
    bare.push_back(times[1]);
    view.push_back(times[2]);
  }
  print("process start to first screen", 1.15, start, bare);
  print("process start to first user view, its request included", 1.15, view, bare);
  std::filesystem::remove_all(folder);
}
