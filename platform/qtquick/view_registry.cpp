#include "platform/qtquick/view_registry.h"

#include <map>
#include <utility>

#include "platform/qtquick/alert_item.h"
#include "platform/qtquick/convert.h"
#include "platform/qtquick/face_capture_item.h"
#include "platform/qtquick/screen_items.h"

namespace veltrane::qtquick {
namespace {

template <typename Item>
std::unique_ptr<ViewItem> make(std::shared_ptr<ViewController> controller, FlowStage& stage,
                               const ViewItem* /*below*/) {
  return std::make_unique<Item>(std::move(controller), stage);
}

std::unique_ptr<ViewItem> makeAlert(std::shared_ptr<ViewController> controller, FlowStage& stage,
                                    const ViewItem* below) {
  return std::make_unique<AlertItem>(std::move(controller), stage, below);
}

using Kinds = std::map<std::string, ViewKind, std::less<>>;

Kinds& kinds() {
  static Kinds kinds = {
      {"StartFlowVC", {make<StartScreenItem>, moduleFile("StartFlowVC.qml")}},
      {"ScreenTemplate1VC", {make<TemplateScreenItem>, moduleFile("ScreenTemplate1VC.qml")}},
      {"MfaScreen1VC", {make<MethodScreenItem>, moduleFile("MfaScreen1VC.qml")}},
      {"FaceImageCaptureVC", {make<FaceCaptureItem>, moduleFile("FaceImageCaptureVC.qml")}},
      {"AlertController", {makeAlert, moduleFile("AlertController.qml")}},
  };
  return kinds;
}

const ViewKind& kindOf(std::string_view className) {
  static const ViewKind plain{make<ScreenItem>, moduleFile("PlainScreen.qml")};
  const auto found = kinds().find(className);
  return found == kinds().end() ? plain : found->second;
}

}  // namespace

QUrl moduleFile(std::string_view name) {
  return QUrl(QStringLiteral("qrc:/qt-project.org/imports/Veltrane/Flow/") + toQString(name));
}

void registerView(std::string className, ViewKind kind) {
  kinds().insert_or_assign(std::move(className), std::move(kind));
}

std::unique_ptr<ViewItem> makeViewItem(std::shared_ptr<ViewController> controller, FlowStage& stage,
                                       const ViewItem* below) {
  const ViewKind& kind = kindOf(controller->className());
  auto item = kind.make(std::move(controller), stage, below);
  item->setSource(kind.source);
  item->refresh();
  return item;
}

}  // namespace veltrane::qtquick
