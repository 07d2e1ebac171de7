#pragma once

#include <csignal>
#include <string>

namespace veltrane::opencv {

// OpenCV's libraries would hold up every start, and few programs need them. So whatever calls
// OpenCV stands in two small libraries of this project's own, loaded when they are first needed.

/// The functions of such a library, or why there are none.
template <typename Functions>
struct Late {
  const Functions* functions = nullptr;
  std::string error;
};

/// While it lives, the threads that this one starts take no signals of the program's. A library's
/// threads stay, some from when it is loaded; a program that keeps signals back only after that, to
/// end in good order, would be ended by theirs.
class WithoutSignals {
 public:
  WithoutSignals();
  ~WithoutSignals();
  WithoutSignals(const WithoutSignals&) = delete;
  WithoutSignals& operator=(const WithoutSignals&) = delete;

 private:
  sigset_t former_;
};

/// `symbol` of `library`, which stays once it is there, or null and why. By name, no path: the
/// loader looks where the program says and where libraries are. Any thread.
void* findLate(const char* library, const char* symbol, std::string& error);

}  // namespace veltrane::opencv
