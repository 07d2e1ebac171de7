#include "platform/webengine/browser_module.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QLibraryInfo>
#include <QOpenGLContext>
#include <QStringList>

#ifdef __linux__
#include <fcntl.h>
#include <sched.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <string_view>
#endif

namespace veltrane::webengine {
namespace {

QStringList folders(const QString& hostsFolder) {
  const QString beside = QCoreApplication::applicationDirPath();
  const QString installed = QStringLiteral(VELTRANE_MODULES_FOLDER);
  QStringList all{
      beside + QLatin1String("/../") + installed, beside + QLatin1String("/../../") + installed,
      // Of a program that has not been installed.
      beside + QLatin1String("/../../qml"), QLibraryInfo::path(QLibraryInfo::QmlImportsPath)};
  if (!hostsFolder.isEmpty()) all.prepend(hostsFolder);
  return all;
}

bool hasModule(const QString& folder, const char* name) {
  return QFileInfo::exists(folder + QLatin1Char('/') + QLatin1String(name) +
                           QLatin1String("/qmldir"));
}

#ifdef __linux__
// Between fork and exit: nothing here may allocate.
bool writes(const char* file, std::string_view text) {
  const int descriptor = open(file, O_WRONLY | O_CLOEXEC);
  if (descriptor < 0) return false;
  const bool isWritten =
      write(descriptor, text.data(), text.size()) == static_cast<ssize_t>(text.size());
  close(descriptor);
  return isWritten;
}
#endif

bool isUnlocked() {
  return qEnvironmentVariableIsSet("QTWEBENGINE_DISABLE_SANDBOX");
}

bool canHaveBrowser() {
#ifdef __linux__
  if (geteuid() == 0 && !isUnlocked()) return false;
#endif
  return QOpenGLContext::globalShareContext() != nullptr;
}

}  // namespace

QString findBrowserModules(const QString& hostsFolder) {
  const QString engines = QLibraryInfo::path(QLibraryInfo::QmlImportsPath);
  if (!canHaveBrowser() || !hasModule(engines, "QtWebEngine") ||
      !hasModule(engines, "QtWebChannel")) {
    return {};
  }
  for (const QString& folder : folders(hostsFolder)) {
    if (hasModule(folder, "Veltrane/Web")) return QFileInfo(folder).canonicalFilePath();
  }
  return {};
}

bool canLockBrowserIn() {
#ifdef __linux__
  if (isUnlocked()) return true;
  // A kernel may grant the namespace and refuse to have a user in it; the browser needs both.
  std::array<char, 32> users{};
  const int length = std::snprintf(users.data(), users.size(), "%u %u 1", geteuid(), geteuid());
  const std::string_view map(users.data(), static_cast<std::size_t>(length));
  // Only a process of one thread can try.
  const pid_t child = fork();
  if (child < 0) return false;
  if (child == 0) {
    const bool isLocked = unshare(CLONE_NEWUSER) == 0 && writes("/proc/self/setgroups", "deny") &&
                          writes("/proc/self/uid_map", map);
    _exit(isLocked ? 0 : 1);
  }
  int status = 0;
  pid_t ended = 0;
  do {
    ended = waitpid(child, &status, 0);
  } while (ended < 0 && errno == EINTR);
  return ended == child && WIFEXITED(status) && WEXITSTATUS(status) == 0;
#else
  return true;
#endif
}

}  // namespace veltrane::webengine
