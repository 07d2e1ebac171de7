#include "child.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <stdexcept>

extern char** environ;

namespace veltrane::sqlite {

Child::Child(std::vector<std::string> arguments) {
  std::array<int, 2> ends{};
  if (pipe2(ends.data(), O_CLOEXEC) != 0) throw std::runtime_error("pipe2");
  std::vector<char*> argv;
  std::string program = SETTINGS_HELPER;
  argv.push_back(program.data());
  for (auto& argument : arguments) argv.push_back(argument.data());
  argv.push_back(nullptr);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
  const int error =
      posix_spawn(&process_, program.c_str(), &actions, nullptr, argv.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  close(ends[1]);
  output_ = ends[0];
  if (error != 0) throw std::runtime_error("cannot start " + program);
}

Child::~Child() {
  if (process_ > 0) {
    kill();
    wait();
  }
  close(output_);
}

std::optional<std::string> Child::line() {
  while (true) {
    if (const auto end = read_.find('\n'); end != std::string::npos) {
      auto line = read_.substr(0, end);
      read_.erase(0, end + 1);
      return line;
    }
    std::array<char, 4096> bytes{};
    const auto count = read(output_, bytes.data(), bytes.size());
    if (count <= 0) return std::nullopt;
    read_.append(bytes.data(), static_cast<std::size_t>(count));
  }
}

std::vector<std::string> Child::lines() {
  std::vector<std::string> all;
  while (auto next = line()) all.push_back(*std::move(next));
  return all;
}

void Child::kill() {
  ::kill(process_, SIGKILL);
}

int Child::wait() {
  int status = 0;
  waitpid(process_, &status, 0);
  process_ = -1;
  return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}

}  // namespace veltrane::sqlite
