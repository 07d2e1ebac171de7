// A host in QML on the installed package: makes the flow's element, nothing more.

#include <QGuiApplication>
#include <QQmlComponent>
#include <QQmlEngine>
#include <iostream>

#include "platform/qtquick/install.h"

int main(int argc, char** argv) {
  const QGuiApplication application(argc, argv);
  veltrane::qtquick::install(
      {.settingsFile = (QGuiApplication::applicationFilePath() + ".db").toStdString()});
  QQmlEngine engine;
  QQmlComponent component(&engine);
  component.setData("import Veltrane.Flow\nVeltraneFlow { companyId: \"company\" }", QUrl());
  const std::unique_ptr<QObject> flow(component.create());
  for (const auto& error : component.errors()) std::cerr << qPrintable(error.toString()) << '\n';
  return flow && flow->property("companyId") == "company" ? 0 : 1;
}
