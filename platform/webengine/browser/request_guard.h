#pragma once

#include <QtQml/qqmlregistration.h>
#include <QObject>
#include <QStringList>
#include <QUrl>

namespace veltrane::webengine {

/// Lets a browser load from a vendor's origins alone, whatever asks for it: frames, scripts,
/// pictures, sockets.
class RequestGuard : public QObject {
  Q_OBJECT
  QML_ELEMENT
  Q_PROPERTY(QStringList origins MEMBER origins_)

 public:
  /// From now on for all that the profile's pages ask for. The origins are there before.
  Q_INVOKABLE void watch(QObject* profile) const;
  /// A frame within our page may go there.
  Q_INVOKABLE bool allowsFrame(const QUrl& address) const;

 private:
  QStringList origins_;
};

}  // namespace veltrane::webengine
