#pragma once

#include <sys/wait.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace veltrane::testing {

/// Another process of a test's, running a helper that tells its process id first. Killed and reaped
/// when dropped.
class Child {
 public:
  Child(const std::string& helper, const std::vector<std::string>& arguments) {
    std::string command = "exec " + helper;
    for (const auto& argument : arguments) command += " '" + argument + "'";
    output_ = popen(command.c_str(), "re");
    const auto first = line();
    if (!first) throw std::runtime_error("cannot start " + command);
    process_ = std::atoi(first->c_str());
  }
  ~Child() {
    if (!output_) return;
    kill();
    wait();
  }
  Child(const Child&) = delete;
  Child& operator=(const Child&) = delete;

  /// The next line of its standard output; nothing at the end.
  std::optional<std::string> line() {
    char text[256];
    if (!std::fgets(text, sizeof text, output_)) return std::nullopt;
    std::string line = text;
    if (line.back() == '\n') line.pop_back();
    return line;
  }
  std::vector<std::string> lines() {
    std::vector<std::string> all;
    while (auto next = line()) all.push_back(*std::move(next));
    return all;
  }
  void kill() { ::kill(process_, SIGKILL); }
  /// Waits for its end. The exit status, negative the signal that ended it.
  int wait() {
    const int status = pclose(output_);
    output_ = nullptr;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
  }

 private:
  std::FILE* output_ = nullptr;
  pid_t process_ = 0;
};

}  // namespace veltrane::testing
