// Loads a host that is written in QML.
//
//   qml_host <base URL of the API> <PEM file of the authority to trust>
#include <QGuiApplication>
#include <QQmlApplicationEngine>
#include <iostream>

#include "platform/qtquick/install.h"
#include "veltrane/network/network_api_request.h"

int main(int count, char** words) {
  QGuiApplication application(count, words);
  if (count < 3) return std::cerr << "usage: qml_host BASE_URL AUTHORITY_FILE\n", 2;
  veltrane::APIBaseURL::setProduction(words[1]);
  veltrane::qtquick::install({.authorityFile = words[2]});
  QQmlApplicationEngine engine(QUrl("qrc:/QmlHost.qml"));
  return engine.rootObjects().isEmpty() ? 1 : QGuiApplication::exec();
}
