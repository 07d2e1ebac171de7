#pragma once

#include <QUrl>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "veltrane/toolkit/view_controller.h"

namespace veltrane::qtquick {

class FlowStage;
class ViewItem;

/// How a class of controllers is shown: the item that mirrors its state, and the QML file that
/// draws it. The file's root has a required property `view` of the item's type.
struct ViewKind {
  using Make = std::function<std::unique_ptr<ViewItem>(std::shared_ptr<ViewController> controller,
                                                       FlowStage& stage, const ViewItem* below)>;
  Make make;
  QUrl source;
};

/// Shows controllers of this class name with this kind from now on, in place of a former one. User
/// interface thread.
void registerView(std::string className, ViewKind kind);

/// An item for the controller; a class that nothing is registered for gets a plain screen.
std::unique_ptr<ViewItem> makeViewItem(std::shared_ptr<ViewController> controller, FlowStage& stage,
                                       const ViewItem* below);

/// A QML file of the module.
QUrl moduleFile(std::string_view name);

}  // namespace veltrane::qtquick
