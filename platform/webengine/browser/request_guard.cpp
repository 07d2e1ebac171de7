#include "platform/webengine/browser/request_guard.h"

#include <QQuickWebEngineProfile>
#include <QWebEngineUrlRequestInfo>
#include <QWebEngineUrlRequestInterceptor>
#include <utility>

#include "platform/webengine/allowed_origins.h"

namespace veltrane::webengine {
namespace {

using Info = QWebEngineUrlRequestInfo;

/// What a page makes by itself comes from nowhere.
bool isMadeByPage(const QUrl& address) {
  const QString scheme = address.scheme();
  return scheme == QLatin1String("data") || scheme == QLatin1String("blob") ||
         scheme == QLatin1String("about");
}

class Interceptor final : public QWebEngineUrlRequestInterceptor {
 public:
  Interceptor(QStringList origins, QObject* parent)
      : QWebEngineUrlRequestInterceptor(parent), origins_(std::move(origins)) {}

  void interceptRequest(Info& request) override {
    const QUrl address = request.requestUrl();
    if (!isMadeByPage(address) && !isAllowed(address, origins_)) request.block(true);
  }

 private:
  const QStringList origins_;
};

}  // namespace

void RequestGuard::watch(QObject* profile) const {
  auto* const watched = qobject_cast<QQuickWebEngineProfile*>(profile);
  if (watched) watched->setUrlRequestInterceptor(new Interceptor(origins_, watched));
}

bool RequestGuard::allowsFrame(const QUrl& address) const {
  return isMadeByPage(address) || isAllowed(address, origins_);
}

}  // namespace veltrane::webengine
