#pragma once

#include <sys/wait.h>

#include <csignal>
#include <cstdio>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace veltrane::authenticator::testing {

/// Another process, running the helper. Killed and reaped when dropped.
class Child {
 public:
  explicit Child(const std::vector<std::string>& arguments) {
    std::string command = "exec " AUTHENTICATOR_HELPER;
    for (const auto& argument : arguments) command += " '" + argument + "'";
    output_ = popen(command.c_str(), "re");
    process_ = std::stoi(line().value());
  }
  ~Child() {
    if (output_ == nullptr) return;
    kill();
    wait();
  }
  Child(const Child&) = delete;
  Child& operator=(const Child&) = delete;

  /// The next line of its standard output; nothing at the end.
  std::optional<std::string> line() {
    char text[256];
    if (std::fgets(text, sizeof text, output_) == nullptr) return std::nullopt;
    return std::string(text, std::string_view(text).find('\n'));
  }
  std::vector<std::string> lines() {
    std::vector<std::string> all;
    while (auto next = line()) all.push_back(*std::move(next));
    return all;
  }
  void kill() const { ::kill(process_, SIGKILL); }
  /// Waits for its end. The exit status, negative the signal that ended it.
  int wait() {
    const int status = pclose(std::exchange(output_, nullptr));
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
  }

 private:
  std::FILE* output_ = nullptr;
  pid_t process_ = 0;
};

}  // namespace veltrane::authenticator::testing
