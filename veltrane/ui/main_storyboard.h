#pragma once

#include <memory>

namespace veltrane {

class Storyboard;

/// The flow's screens by identifier: "StartFlowVC", "ScreenTemplate1VC".
std::shared_ptr<Storyboard> makeMainStoryboard();

}  // namespace veltrane
