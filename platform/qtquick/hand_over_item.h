#pragma once

#include <QtQml/qqmlregistration.h>
#include <functional>
#include <memory>

#include "platform/qtquick/screen_items.h"

namespace veltrane::qtquick {

/// A screen whose content another adapter brings: its state as an object for QML, and what closes
/// it.
class HandOverItem final : public veltrane::qtquick::ScreenItem {
  Q_OBJECT
  QML_NAMED_ELEMENT(HandOverItem)
  QML_UNCREATABLE("Views come from the stage")
  Q_PROPERTY(QObject* body READ body CONSTANT)

 public:
  HandOverItem(std::shared_ptr<ViewController> controller, FlowStage& stage,
               std::unique_ptr<QObject> body, std::function<void()> close);

  /// Of the library's own words, unlike a screen's of the flow.
  QString title() const override;
  QObject* body() const { return body_.get(); }
  Q_INVOKABLE void cancel() override { close_(); }

 private:
  std::unique_ptr<QObject> body_;
  std::function<void()> close_;
};

}  // namespace veltrane::qtquick
