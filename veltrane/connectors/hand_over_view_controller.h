#pragma once

#include <string_view>

#include "veltrane/toolkit/view_controller.h"

namespace veltrane {

/// What an identity vendor's SDK puts before the user: a screen whose content is the vendor's own.
/// A host derives one that holds its SDK's native controller and shows that when the front end is
/// told of it; an adapter with a view of its own gives it a class name of its own. Closing it is
/// the user's cancel, which the SDK reports; the core dismisses it, the front end follows. In any
/// style but `fullScreen` the screen below stays on display and a flow can end under the hand-over.
class HandOverViewController : public ViewController {
 public:
  std::string_view className() const override { return "HandOver"; }
};

}  // namespace veltrane
