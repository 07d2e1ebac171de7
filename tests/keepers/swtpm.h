#pragma once

#include <sys/types.h>

#include <filesystem>
#include <string>

namespace veltrane::testing {

/// A TPM 2.0 in software, new from its maker, in a process of its own. It has room for three keys
/// and nobody who makes more: whatever a program leaves in it stays. Ended when dropped.
class SoftwareTPM {
 public:
  SoftwareTPM();
  ~SoftwareTPM();
  SoftwareTPM(const SoftwareTPM&) = delete;
  SoftwareTPM& operator=(const SoftwareTPM&) = delete;

  /// How to reach it, for tpm2-tss.
  std::string tcti() const { return "swtpm:host=127.0.0.1,port=" + std::to_string(port_); }
  /// Answers nothing from now on, as if it had a lot to do.
  void pause() const;
  /// As if pulled out of the machine.
  void remove();

 private:
  bool start();

  std::filesystem::path state_;
  int port_ = 0;
  pid_t process_ = -1;
};

}  // namespace veltrane::testing
