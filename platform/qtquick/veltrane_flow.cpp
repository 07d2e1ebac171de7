#include "platform/qtquick/veltrane_flow.h"

#include <QPointer>
#include <QQmlEngine>
#include <QQuickWindow>
#include <optional>

#include "platform/qtquick/flow_presenter.h"
#include "platform/qtquick/install.h"
#include "platform/qtquick/variants.h"
#include "veltrane/flow/vt_flow.h"

namespace veltrane::qtquick {
namespace {

std::optional<std::string> given(const QString& text) {
  return text.isEmpty() ? std::nullopt : std::optional(text.toStdString());
}

}  // namespace

/// The flow may end after the element has gone.
class VeltraneFlow::Delegate final : public VeltraneFlowDelegate {
 public:
  explicit Delegate(VeltraneFlow* flow) : flow_(flow) {}

  void flowDidComplete(const std::optional<JSON>& response,
                       const std::optional<VeltraneFlowError>& error) override {
    if (flow_ && error) emit flow_->error(toVariantMap(*error));
    if (flow_ && response) emit flow_->response(toVariant(*response).toMap());
  }

 private:
  QPointer<VeltraneFlow> flow_;
};

VeltraneFlow::VeltraneFlow(QQuickItem* parent) : QQuickItem(parent) {}
VeltraneFlow::~VeltraneFlow() = default;

void VeltraneFlow::runFlow() {
  if (!window()) {
    emit error(toVariantMap(VeltraneFlowError::veltraneError("There is no window to show over.")));
    return;
  }
  if (!isInstalled()) install();
  if (!presenter_) presenter_ = std::make_unique<FlowPresenter>(window(), qmlEngine(this));
  vtFlow_ = VTFlow::make({.vtApiKey = apiKey_.toStdString(),
                          .rpId = rpId_.toStdString(),
                          .origin = origin_.toStdString(),
                          .companyId = companyId_.toStdString(),
                          .responseTimeOut = timeout_,
                          .theme = toTheme(theme_),
                          .isSandbox = sandbox_});
  vtFlow_->delegate = std::make_shared<Delegate>(this);
  const auto over = presenter_->hostViewController();
  const auto token = given(accessToken_);
  const auto props = toDictionary(props_);
  if (!flowId_.isEmpty() || policyId_.isEmpty()) {
    vtFlow_->runFlow(VTFlow::ByFlowId{given(flowId_), over, token, props});
  } else {
    vtFlow_->runFlow(VTFlow::ByPolicyId{given(policyId_), over, token, props});
  }
}

}  // namespace veltrane::qtquick
