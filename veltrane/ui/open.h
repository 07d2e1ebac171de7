#pragma once

#include <cstddef>
#include <memory>

#include "veltrane/base/json.h"
#include "veltrane/engine/generic_view_model.h"

namespace veltrane {

class NavigationController;
class VTFlow;

/// Opens the screens of a flow. Any thread; the work is done later, on the main queue.
///
/// `makeItRoot` replaces the navigation stack (and wins over the other), `isModel` presents the
/// screen over it, neither pushes it.
struct Open {
  struct ScreenTemplate1 {
    std::shared_ptr<VTFlow> vtFlow;
    std::shared_ptr<NavigationController> from;
    JSON flow;
    UserViewProps userViewProps;
    std::size_t userViewIndex;
    bool isModel;
    bool makeItRoot;
  };
  static void screenTemplate1VC(ScreenTemplate1 arguments);

  struct MfaScreen1 {
    std::shared_ptr<VTFlow> vtFlow;
    std::shared_ptr<NavigationController> from;
    JSON flow;
    bool isModel;
    bool makeItRoot;
  };
  static void mfaScreen1VC(MfaScreen1 arguments);
};

}  // namespace veltrane
