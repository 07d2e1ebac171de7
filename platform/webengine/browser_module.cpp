#include "platform/webengine/browser_module.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QLibraryInfo>
#include <QOpenGLContext>
#include <QStringList>

#ifdef __linux__
#include <sched.h>
#include <sys/wait.h>
#include <unistd.h>
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
  // Only a process of one thread can try.
  const pid_t child = fork();
  if (child < 0) return false;
  if (child == 0) _exit(unshare(CLONE_NEWUSER) == 0 ? 0 : 1);
  int status = 0;
  return waitpid(child, &status, 0) == child && WIFEXITED(status) && WEXITSTATUS(status) == 0;
#else
  return true;
#endif
}

}  // namespace veltrane::webengine
