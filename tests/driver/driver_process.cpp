#include "tests/driver/driver_process.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <stdexcept>
#include <system_error>

extern char** environ;

namespace veltrane::testing {
namespace {

struct Pipe {
  Pipe() {
    if (pipe2(ends, O_CLOEXEC) != 0) {
      throw std::system_error(errno, std::generic_category(), "pipe");
    }
  }
  int ends[2];
};

std::vector<char*> pointers(std::vector<std::string>& words) {
  std::vector<char*> all;
  for (auto& word : words) all.push_back(word.data());
  all.push_back(nullptr);
  return all;
}

void closeOnce(int& fd) {
  if (fd >= 0) close(fd);
  fd = -1;
}

}  // namespace

DriverProcess::DriverProcess(const std::vector<std::string>& arguments,
                             const std::vector<std::string>& environment) {
  std::signal(SIGPIPE, SIG_IGN);
  const Pipe toChild;
  const Pipe fromChild;
  errors_ = memfd_create("standard error", MFD_CLOEXEC);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, toChild.ends[0], 0);
  posix_spawn_file_actions_adddup2(&actions, fromChild.ends[1], 1);
  posix_spawn_file_actions_adddup2(&actions, errors_, 2);

  std::vector<std::string> words = {VTFLOW_PROGRAM};
  words.insert(words.end(), arguments.begin(), arguments.end());
  // The first of two entries of one name counts.
  auto variables = environment;
  for (char** entry = environ; *entry; ++entry) variables.emplace_back(*entry);
  const int error = posix_spawn(&child_, VTFLOW_PROGRAM, &actions, nullptr, pointers(words).data(),
                                pointers(variables).data());
  posix_spawn_file_actions_destroy(&actions);
  close(toChild.ends[0]);
  close(fromChild.ends[1]);
  input_ = toChild.ends[1];
  outputFd_ = fromChild.ends[0];
  if (error != 0) throw std::system_error(error, std::generic_category(), VTFLOW_PROGRAM);
}

DriverProcess::~DriverProcess() {
  closeInput();
  closeOutput();
  closeOnce(errors_);
  if (child_ < 0) return;
  kill(child_, SIGKILL);
  waitpid(child_, nullptr, 0);
}

void DriverProcess::sendAll(const std::vector<json>& commands) {
  std::string text;
  for (const auto& command : commands) text += command.dump() + "\n";
  sendText(text);
}

void DriverProcess::sendText(const std::string& text) {
  std::string_view rest = text;
  while (!rest.empty()) {
    const auto written = write(input_, rest.data(), rest.size());
    if (written < 0 && errno != EINTR) return;  // It has ended; its output says why.
    if (written > 0) rest.remove_prefix(static_cast<std::size_t>(written));
  }
}

void DriverProcess::closeInput() {
  closeOnce(input_);
}

void DriverProcess::closeOutput() {
  closeOnce(outputFd_);
}

void DriverProcess::signal(int number) const {
  kill(child_, number);
}

/// False at the end of the output.
bool DriverProcess::readMore() {
  pollfd ready{outputFd_, POLLIN, 0};
  if (poll(&ready, 1, std::chrono::milliseconds(kDeadline).count()) <= 0) fail("no more output");
  char buffer[65536];
  const auto count = read(outputFd_, buffer, sizeof buffer);
  if (count <= 0) return false;
  output_.append(buffer, static_cast<std::size_t>(count));
  return true;
}

std::string DriverProcess::line() {
  auto end = output_.find('\n', nextLine_);
  while (end == std::string::npos) {
    if (!readMore()) fail("the output has ended");
    end = output_.find('\n', nextLine_);
  }
  auto text = output_.substr(nextLine_, end - nextLine_);
  nextLine_ = end + 1;
  return text;
}

json DriverProcess::until(const Predicate& fits) {
  while (true) {
    auto event = json::parse(line());
    events_.push_back(event);
    if (fits(event)) return event;
  }
}

json DriverProcess::until(const std::string& event) {
  return until([&](const json& line) { return line.at("event") == event; });
}

json DriverProcess::untilScreen(const std::string& controller) {
  return until([&](const json& line) {
    return line.at("event") == "screen" && line.at("controller") == controller;
  });
}

json DriverProcess::act(const json& command) {
  send(command);
  return until([&](const json& line) {
    const auto& event = line.at("event");
    return (event == "done" || event == "refused") && line.at("do") == command.at("do");
  });
}

int DriverProcess::wait() {
  const int status = waitForEnd();
  while (output_.find('\n', nextLine_) != std::string::npos) events_.push_back(json::parse(line()));
  return status;
}

int DriverProcess::waitForEnd() {
  while (outputFd_ >= 0 && readMore()) {
  }
  int status = 0;
  waitpid(child_, &status, 0);
  child_ = -1;
  if (!WIFEXITED(status)) fail("ended by signal " + std::to_string(WTERMSIG(status)));
  return WEXITSTATUS(status);
}

std::vector<json> DriverProcess::events(const std::string& name) const {
  std::vector<json> found;
  for (const auto& event : events_) {
    if (event.at("event") == name) found.push_back(event);
  }
  return found;
}

std::string DriverProcess::errors() const {
  std::string text(static_cast<std::size_t>(lseek(errors_, 0, SEEK_END)), '\0');
  const auto count = pread(errors_, text.data(), text.size(), 0);
  text.resize(count > 0 ? static_cast<std::size_t>(count) : 0);
  return text;
}

void DriverProcess::fail(const std::string& what) const {
  throw std::runtime_error(what + " after\n" + output_ + "\nstandard error:\n" + errors());
}

}  // namespace veltrane::testing
