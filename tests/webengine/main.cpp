// The browser asks for an application made for it; as root it runs only without its own walls.
#include <gtest/gtest.h>
#include <unistd.h>

#include <QGuiApplication>

int main(int count, char** words) {
  if (geteuid() == 0) qputenv("QTWEBENGINE_DISABLE_SANDBOX", "1");
  QCoreApplication::setAttribute(Qt::AA_ShareOpenGLContexts);
  QCoreApplication::setOrganizationName("Acme Bank");
  QCoreApplication::setApplicationName("tests");
  const QGuiApplication application(count, words);
  testing::InitGoogleTest(&count, words);
  return RUN_ALL_TESTS();
}
