#pragma once

#include <sys/types.h>

#include <chrono>
#include <functional>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

namespace veltrane::testing {

using nlohmann::json;

/// The tool, running as a program of its own with pipes to its standard streams, as whoever scripts
/// a flow starts it. Every wait has a deadline: passing it throws with all that was written so far.
class DriverProcess {
 public:
  using Predicate = std::function<bool(const json&)>;
  static constexpr std::chrono::seconds kDeadline{30};

  /// `environment`: entries "NAME=value" on top of this process's own.
  explicit DriverProcess(const std::vector<std::string>& arguments,
                         const std::vector<std::string>& environment = {});
  ~DriverProcess();
  DriverProcess(const DriverProcess&) = delete;
  DriverProcess& operator=(const DriverProcess&) = delete;

  void send(const json& command) { sendText(command.dump() + "\n"); }
  /// Several lines in one write.
  void sendAll(const std::vector<json>& commands);
  void sendText(const std::string& text);
  void closeInput();
  void closeOutput();
  void signal(int number) const;

  /// Sends the command and reads until it has been answered; that answer.
  json act(const json& command);
  /// The first event not read yet that fits; those before it are passed over.
  json until(const Predicate& fits);
  /// ... of that name.
  json until(const std::string& event);
  /// The next screen of that controller, or of any.
  json untilScreen(const std::string& controller = "ScreenTemplate1VC");

  /// Reads to the end; the exit status. A program that a signal ended is an error.
  int wait();
  /// The same for output that is not events: all of it is in `output`.
  int waitForEnd();

  /// All events read so far, and all lines as they came.
  const std::vector<json>& events() const { return events_; }
  const std::string& output() const { return output_; }
  std::vector<json> events(const std::string& name) const;
  /// What was written to standard error so far.
  std::string errors() const;
  /// One line of output that need not be an event.
  std::string line();

 private:
  bool readMore();
  [[noreturn]] void fail(const std::string& what) const;

  pid_t child_ = -1;
  int input_ = -1;
  int outputFd_ = -1;
  int errors_ = -1;
  std::string output_;
  std::size_t nextLine_ = 0;
  std::vector<json> events_;
};

}  // namespace veltrane::testing
