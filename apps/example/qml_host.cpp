// Loads a host that is written in QML.
//
//   qml_host <base URL of the API> <PEM file of the authority to trust>
//
// Exit status: 0 signed in, 1 not signed in, 2 wrong use or no display.
#include <QGuiApplication>
#include <QQmlApplicationEngine>

#include "apps/example/host.h"
#include "platform/qtquick/install.h"

int main(int count, char** words) {
  if (!example::useServer("qml_host", count, words)) return 2;
  const auto application = example::makeApplication("qml_host", count, words);
  auto platform = veltrane::qtquick::makePlatform({.authorityFile = words[2]});
  platform.console = std::make_shared<example::Quiet>();
  veltrane::Platform::install(std::move(platform));
  veltrane::qtquick::registerTypes();
  QQmlApplicationEngine engine(QUrl("qrc:/QmlHost.qml"));
  return engine.rootObjects().isEmpty() ? 1 : QGuiApplication::exec();
}
