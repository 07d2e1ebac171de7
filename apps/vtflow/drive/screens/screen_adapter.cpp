#include "apps/vtflow/drive/screens/screen_adapter.h"

#include <string_view>
#include <utility>

#include "apps/vtflow/drive/screens/face_image_capture_adapter.h"
#include "apps/vtflow/drive/screens/mfa_screen1_adapter.h"
#include "apps/vtflow/drive/screens/screen_template1_adapter.h"
#include "apps/vtflow/drive/screens/start_flow_adapter.h"
#include "veltrane/face/face_image_capture_vc.h"
#include "veltrane/toolkit/navigation_controller.h"
#include "veltrane/ui/mfa_screen1_vc.h"
#include "veltrane/ui/screen_template1_vc.h"
#include "veltrane/ui/start_flow_vc.h"

namespace veltrane::tool {
namespace {

using Controller = std::shared_ptr<ViewController>;

template <typename Adapter, typename Screen>
std::unique_ptr<ScreenAdapter> makeFor(const Controller& controller, ScreenListener listener) {
  return std::make_unique<Adapter>(std::static_pointer_cast<Screen>(controller),
                                   std::move(listener));
}

struct Maker {
  std::string_view className;
  std::unique_ptr<ScreenAdapter> (*make)(const Controller&, ScreenListener);
};

constexpr Maker kMakers[] = {
    {"StartFlowVC", makeFor<StartFlowAdapter, StartFlowVC>},
    {"MfaScreen1VC", makeFor<MfaScreen1Adapter, MfaScreen1VC>},
    {"FaceImageCaptureVC", makeFor<FaceImageCaptureAdapter, FaceImageCaptureVC>},
    {"ScreenTemplate1VC", makeFor<ScreenTemplate1Adapter, ScreenTemplate1VC>},
};

}  // namespace

ScreenAdapter::~ScreenAdapter() = default;

std::unique_ptr<ScreenAdapter> ScreenAdapter::make(const Controller& controller,
                                                   ScreenListener listener) {
  for (const Maker& maker : kMakers) {
    if (maker.className == controller->className()) {
      return maker.make(controller, std::move(listener));
    }
  }
  return std::make_unique<ScreenAdapter>(controller);
}

Refusal ScreenAdapter::input(const RowName&, const std::string&) {
  return "this screen has no text fields";
}

Refusal ScreenAdapter::toggle(const RowName&, bool) {
  return "this screen has no switches";
}

Refusal ScreenAdapter::choose(const RowName&, const std::string&) {
  return "this screen has no dropdowns";
}

Refusal ScreenAdapter::press(std::optional<std::size_t>) {
  return "this screen has no button";
}

Refusal ScreenAdapter::select(std::size_t) {
  return "this screen has no list of methods";
}

Refusal ScreenAdapter::cancel() {
  return "this screen has no cancel control";
}

Refusal ScreenAdapter::retry() {
  return "this screen offers no retry";
}

Refusal ScreenAdapter::back() {
  const auto screen = controller();
  const auto navigation = screen ? screen->navigationController() : nullptr;
  if (navigation && navigation->popViewController(true)) return std::nullopt;
  return "there is no screen to go back to";
}

}  // namespace veltrane::tool
