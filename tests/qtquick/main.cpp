#include <gtest/gtest.h>

#include <QAccessible>
#include <QGuiApplication>
#include <QString>

namespace {

/// Whatever Qt complains about is a fault of ours: a binding that reads what is gone, a property
/// that is not there.
void failOnWarnings(QtMsgType type, const QMessageLogContext& /*context*/, const QString& text) {
  if (type == QtDebugMsg || type == QtInfoMsg) return;
  ADD_FAILURE() << "Qt says: " << text.toStdString();
}

}  // namespace

int main(int count, char** words) {
  testing::InitGoogleTest(&count, words);
  QGuiApplication application(count, words);
  QAccessible::setActive(true);
  qInstallMessageHandler(failOnWarnings);
  return RUN_ALL_TESTS();
}
