#include "veltrane/ui/open.h"

#include <string_view>
#include <utility>

#include "veltrane/platform.h"
#include "veltrane/toolkit/main_queue.h"
#include "veltrane/toolkit/navigation_controller.h"
#include "veltrane/toolkit/storyboard.h"
#include "veltrane/ui/flow_screen.h"

namespace veltrane {
namespace {

/// What the screens of a flow have in common when they are opened.
struct Opening {
  std::string_view identifier;
  std::shared_ptr<VTFlow> vtFlow;
  std::shared_ptr<NavigationController> from;
  JSON flow;
  std::optional<UserViewProps> userViewProps;
  std::optional<std::size_t> userViewIndex;
  bool isModel;
  bool makeItRoot;
};

void show(const Opening& opening, const std::shared_ptr<FlowScreen>& screen) {
  if (opening.makeItRoot) {
    opening.from->setViewControllers({screen}, false);
  } else if (opening.isModel) {
    opening.from->present(screen, true);
  } else {
    opening.from->pushViewController(screen, true);
  }
}

void open(Opening opening) {
  MainQueue::current().async([opening = std::move(opening)] {
    // The flow may have ended since.
    if (!opening.from->presentingViewController()) return;
    const auto& storyboard = Platform::current().storyboard;
    const auto screen = std::dynamic_pointer_cast<FlowScreen>(
        storyboard ? storyboard->instantiateViewController(opening.identifier) : nullptr);
    if (!screen) {
      const auto& vtFlow = opening.vtFlow;
      if (vtFlow) {
        vtFlow->responseBack(
            std::nullopt, VeltraneFlowError::veltraneError("Unable to present view controller..."));
      }
      return opening.from->dismiss(true);
    }
    screen->userViewProps = opening.userViewProps;
    screen->userViewIndex = opening.userViewIndex;
    screen->flow = opening.flow;
    screen->vtFlow = opening.vtFlow;
    show(opening, screen);
  });
}

}  // namespace

void Open::screenTemplate1VC(ScreenTemplate1 arguments) {
  open({.identifier = "ScreenTemplate1VC",
        .vtFlow = std::move(arguments.vtFlow),
        .from = std::move(arguments.from),
        .flow = std::move(arguments.flow),
        .userViewProps = std::move(arguments.userViewProps),
        .userViewIndex = arguments.userViewIndex,
        .isModel = arguments.isModel,
        .makeItRoot = arguments.makeItRoot});
}

void Open::mfaScreen1VC(MfaScreen1 arguments) {
  open({.identifier = "MfaScreen1VC",
        .vtFlow = std::move(arguments.vtFlow),
        .from = std::move(arguments.from),
        .flow = std::move(arguments.flow),
        .userViewProps = std::nullopt,
        .userViewIndex = std::nullopt,
        .isModel = arguments.isModel,
        .makeItRoot = arguments.makeItRoot});
}

}  // namespace veltrane
