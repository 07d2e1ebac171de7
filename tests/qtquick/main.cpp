#include <gtest/gtest.h>

#include <QAccessible>
#include <QGuiApplication>
#include <QString>
#include <cstdlib>

namespace {

/// Whatever Qt complains about is a fault of ours: a binding that reads what is gone, a property
/// that is not there.
void failOnWarnings(QtMsgType type, const QMessageLogContext& /*context*/, const QString& text) {
  if (type == QtDebugMsg || type == QtInfoMsg) return;
  ADD_FAILURE() << "Qt says: " << text.toStdString();
}

}  // namespace

int main(int count, char** words) {
  // Also when the build asks for the names of the tests, on a machine without a display.
  setenv("QT_QPA_PLATFORM", "offscreen", 0);
  setenv("QT_QUICK_BACKEND", "software", 0);
  testing::InitGoogleTest(&count, words);
  // Also when the tests are only listed.
  if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
  QGuiApplication application(count, words);
  QAccessible::setActive(true);
  qInstallMessageHandler(failOnWarnings);
  return RUN_ALL_TESTS();
}
