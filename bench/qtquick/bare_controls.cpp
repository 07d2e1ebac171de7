// What any program of Qt Quick Controls does until its first frame, with the controls of a sign-in.
#include <QGuiApplication>
#include <QQmlApplicationEngine>

#include "bench/qtquick/first_frame.h"

int main(int count, char** words) {
  const QGuiApplication application(count, words);
  QQmlApplicationEngine engine;
  engine.load(QUrl(QStringLiteral("qrc:/qt/qml/BareControls/BareControls.qml")));
  if (engine.rootObjects().isEmpty()) return 1;
  veltrane::bench::tellFirstFrame(*qobject_cast<QQuickWindow*>(engine.rootObjects().constFirst()),
                                  [] { return true; });
  return QGuiApplication::exec();
}
