#include "platform/webengine/browser_module.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>

namespace veltrane::webengine::test {
namespace {

/// Of a process that cannot refuse them to itself.
constexpr int kReadOnly = 3;

/// From now on this process gets no more user namespaces, as on a machine that grants none.
void refuseNamespaces() {
  if (unshare(CLONE_NEWUSER) != 0) return;  // it is such a machine
  const int limit = open("/proc/sys/user/max_user_namespaces", O_WRONLY | O_CLOEXEC);
  if (limit < 0 && errno == EROFS) _exit(kReadOnly);
  if (limit < 0 || write(limit, "0", 1) != 1) _exit(2);
  close(limit);
}

int statusOf(void (*inChild)()) {
  const pid_t child = fork();
  if (child == 0) {
    refuseNamespaces();
    inChild();
  }
  int status = 0;
  EXPECT_EQ(waitpid(child, &status, 0), child);
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

TEST(BrowserModule, KnowsWhetherTheSystemLetsTheBrowserLockItselfIn) {
  const int status = statusOf([] {
    unsetenv("QTWEBENGINE_DISABLE_SANDBOX");
    _exit(canLockBrowserIn() ? 1 : 0);
  });
  if (status == kReadOnly) {
    GTEST_SKIP() << "/proc/sys is read-only here: no process can refuse itself user namespaces";
  }
  EXPECT_EQ(status, 0);
  // A host that has taken the browser's walls away is not asked.
  EXPECT_EQ(statusOf([] {
              setenv("QTWEBENGINE_DISABLE_SANDBOX", "1", 1);
              _exit(canLockBrowserIn() ? 0 : 1);
            }),
            0);
}

}  // namespace
}  // namespace veltrane::webengine::test
