#pragma once

#include <QtQml/qqmlregistration.h>
#include <QQuickItem>
#include <QVariant>
#include <memory>

namespace veltrane {
class VTFlow;
}

namespace veltrane::qtquick {

class FlowPresenter;

/// A flow in a QML host: `VTFlow`'s arguments as properties, its outcome as signals.
///
///     VeltraneFlow {
///         id: flow
///         apiKey: "…"; rpId: "example.com"; origin: "https://example.com"
///         companyId: "acme"; flowId: "sign-in"
///         onResponse: response => console.log("signed in", response.access_token)
///         onError: error => console.log(error.description)
///     }
///     Button { onClicked: flow.runFlow() }
///
/// The flow opens over the element's window. The usual adapters are installed at the first run, if
/// the host has installed none.
class VeltraneFlow : public QQuickItem {
  Q_OBJECT
  QML_ELEMENT
  Q_PROPERTY(QString apiKey MEMBER apiKey_ NOTIFY argumentsChanged)
  Q_PROPERTY(QString rpId MEMBER rpId_ NOTIFY argumentsChanged)
  Q_PROPERTY(QString origin MEMBER origin_ NOTIFY argumentsChanged)
  Q_PROPERTY(QString companyId MEMBER companyId_ NOTIFY argumentsChanged)
  /// Seconds.
  Q_PROPERTY(double timeout MEMBER timeout_ NOTIFY argumentsChanged)
  Q_PROPERTY(bool sandbox MEMBER sandbox_ NOTIFY argumentsChanged)
  /// Null for none, or an object with colours ("#RRGGBB" and the like) by the names
  /// backgroundColor, labelTextColor, buttonTextColor, buttonBackgroundColor; those left out have
  /// their defaults.
  Q_PROPERTY(QVariant theme MEMBER theme_ NOTIFY argumentsChanged)
  /// One of the two. With both, the flow wins.
  Q_PROPERTY(QString flowId MEMBER flowId_ NOTIFY argumentsChanged)
  Q_PROPERTY(QString policyId MEMBER policyId_ NOTIFY argumentsChanged)
  /// Empty: a token of an earlier run stays in force.
  Q_PROPERTY(QString accessToken MEMBER accessToken_ NOTIFY argumentsChanged)
  /// Null, or the object that goes to the server with the request for the flow.
  Q_PROPERTY(QVariant props MEMBER props_ NOTIFY argumentsChanged)

 public:
  explicit VeltraneFlow(QQuickItem* parent = nullptr);
  ~VeltraneFlow() override;

  /// Opens the flow with the properties as they are now. Before the element is in a window there is
  /// nothing to show it over, and `error` says so.
  Q_INVOKABLE void runFlow();

 signals:
  /// The server's final answer.
  void response(const QVariantMap& response);
  /// Why there is none: reason, description, message, code, httpResponseCode, details; what is not
  /// known is null.
  void error(const QVariantMap& error);
  void argumentsChanged();

 private:
  class Delegate;

  QString apiKey_, rpId_, origin_, companyId_, flowId_, policyId_, accessToken_;
  double timeout_ = 120;
  bool sandbox_ = false;
  QVariant theme_, props_;
  std::unique_ptr<FlowPresenter> presenter_;
  std::shared_ptr<VTFlow> vtFlow_;
};

}  // namespace veltrane::qtquick
