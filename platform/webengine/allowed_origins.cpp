#include "platform/webengine/allowed_origins.h"

#include <QRegularExpression>
#include <algorithm>

namespace veltrane::webengine {
namespace {

bool isLoopback(const QString& host) {
  // Parsed addresses have their numbers written out: "127.1" has become "127.0.0.1".
  static const QRegularExpression kAddress(QStringLiteral("^127(\\.[0-9]{1,3}){3}$"));
  return host == QLatin1String("localhost") || host == QLatin1String("::1") ||
         kAddress.match(host).hasMatch();
}

QString plainScheme(const QUrl& address) {
  if (address.scheme() == QLatin1String("wss")) return QStringLiteral("https");
  if (address.scheme() == QLatin1String("ws")) return QStringLiteral("http");
  return address.scheme();
}

int usualPort(const QString& scheme) {
  return scheme == QLatin1String("https") ? 443 : 80;
}

bool allows(const QUrl& origin, const QUrl& address) {
  const int usual = usualPort(address.scheme());
  if (address.scheme() != origin.scheme() || address.port(usual) != origin.port(usual))
    return false;
  if (address.host() == origin.host()) return true;
  return !isLoopback(origin.host()) && address.host().endsWith(QLatin1Char('.') + origin.host());
}

}  // namespace

bool isUsableAddress(const QUrl& address) {
  if (!address.isValid() || address.host().isEmpty() || !address.userInfo().isEmpty()) return false;
  if (address.scheme() == QLatin1String("https")) return true;
  return address.scheme() == QLatin1String("http") && isLoopback(address.host());
}

QString originOf(const QUrl& address) {
  const int port = address.port(usualPort(address.scheme()));
  QUrl origin;
  origin.setScheme(address.scheme());
  origin.setHost(address.host());
  if (port != usualPort(address.scheme())) origin.setPort(port);
  return origin.toString(QUrl::FullyEncoded);
}

bool isAllowed(const QUrl& address, const QStringList& origins) {
  QUrl plain = address;
  plain.setScheme(plainScheme(address));
  return isUsableAddress(plain) &&
         std::any_of(origins.begin(), origins.end(),
                     [&](const QString& origin) { return allows(QUrl(origin), plain); });
}

}  // namespace veltrane::webengine
