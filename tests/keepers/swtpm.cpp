#include "tests/keepers/swtpm.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <stdexcept>
#include <utility>

namespace veltrane::testing {
namespace {

class Socket {
 public:
  Socket() : fd(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {}
  ~Socket() { shut(); }
  Socket(const Socket&) = delete;
  Socket& operator=(const Socket&) = delete;

  /// `use`: bind or connect, to this machine alone.
  template <typename Use>
  bool at(int port, Use use) {
    address.sin_port = htons(static_cast<in_port_t>(port));
    return use(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
  }
  int port() {
    socklen_t size = sizeof address;
    getsockname(fd, reinterpret_cast<sockaddr*>(&address), &size);
    return ntohs(address.sin_port);
  }
  void shut() {
    if (fd >= 0) close(std::exchange(fd, -1));
  }

  int fd;
  sockaddr_in address{.sin_family = AF_INET, .sin_port = 0, .sin_addr = {htonl(INADDR_LOOPBACK)}};
};

/// Comes back once the emulator has set up all it listens on; false if it ended before.
bool answers(int controlPort) {
  Socket control;
  const unsigned char capabilities[] = {0, 0, 0, 1};
  char answer[8];
  return control.at(controlPort, connect) &&
         send(control.fd, capabilities, sizeof capabilities, MSG_NOSIGNAL) == sizeof capabilities &&
         recv(control.fd, answer, sizeof answer, MSG_WAITALL) == sizeof answer;
}

}  // namespace

SoftwareTPM::SoftwareTPM() {
  std::string folder = (std::filesystem::temp_directory_path() / "veltrane-tpm-XXXXXX").string();
  if (!mkdtemp(folder.data())) throw std::runtime_error("mkdtemp");
  state_ = folder;
  // Another program may take the port that was found free.
  for (int attempt = 0; attempt < 20; ++attempt) {
    if (start()) return;
    remove();
  }
  throw std::runtime_error("swtpm does not start");
}

SoftwareTPM::~SoftwareTPM() {
  remove();
  std::filesystem::remove_all(state_);
}

bool SoftwareTPM::start() {
  // Clients look for the control channel at the port behind the other.
  Socket control;
  {
    Socket commands;
    if (!commands.at(0, bind)) return false;
    port_ = commands.port();
    if (!control.at(port_ + 1, bind) || listen(control.fd, 8) != 0) return false;
  }
  const std::string state = "dir=" + state_.string();
  const std::string server = "type=tcp,port=" + std::to_string(port_);
  const std::string channel = "type=tcp,fd=" + std::to_string(control.fd);
  const pid_t parent = getpid();
  process_ = fork();
  if (process_ == 0) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (getppid() != parent || fcntl(control.fd, F_SETFD, 0) != 0) _exit(1);
    execl(SWTPM, "swtpm", "socket", "--tpm2", "--tpmstate", state.c_str(), "--server",
          server.c_str(), "--ctrl", channel.c_str(), "--flags", "not-need-init,startup-clear",
          nullptr);
    _exit(1);
  }
  // Its own copy is the last one now: should it end, the question below is not left waiting.
  control.shut();
  return answers(port_ + 1);
}

void SoftwareTPM::pause() const {
  kill(process_, SIGSTOP);
}

void SoftwareTPM::remove() {
  if (process_ < 0) return;
  kill(process_, SIGKILL);
  waitpid(process_, nullptr, 0);
  process_ = -1;
}

}  // namespace veltrane::testing
