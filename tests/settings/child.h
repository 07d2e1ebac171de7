#pragma once

#include <sys/types.h>

#include <optional>
#include <string>
#include <vector>

namespace veltrane::sqlite {

/// Another process of this test, running the settings helper. Killed and reaped when dropped.
class Child {
 public:
  explicit Child(std::vector<std::string> arguments);
  ~Child();
  Child(const Child&) = delete;
  Child& operator=(const Child&) = delete;

  /// The next line of its standard output; nothing at the end.
  std::optional<std::string> line();
  std::vector<std::string> lines();
  void kill();
  /// Waits for its end. The exit status, negative the signal that ended it.
  int wait();

 private:
  pid_t process_ = -1;
  int output_ = -1;
  std::string read_;
};

}  // namespace veltrane::sqlite
