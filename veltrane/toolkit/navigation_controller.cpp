#include "veltrane/toolkit/navigation_controller.h"

#include <algorithm>
#include <utility>

namespace veltrane {

std::shared_ptr<NavigationController> NavigationController::make(
    std::shared_ptr<ViewController> root) {
  std::shared_ptr<NavigationController> navigation(new NavigationController());
  navigation->adopt(root);
  navigation->stack_.push_back(std::move(root));
  return navigation;
}

std::shared_ptr<ViewController> NavigationController::topViewController() const {
  return stack_.empty() ? nullptr : stack_.back();
}

std::shared_ptr<ViewController> NavigationController::visibleScreen() {
  return topViewController();
}

void NavigationController::adopt(const std::shared_ptr<ViewController>& controller) {
  controller->navigation_ = std::static_pointer_cast<NavigationController>(shared_from_this());
}

void NavigationController::release(const std::shared_ptr<ViewController>& controller) {
  controller->leaveStack();
  controller->navigation_.reset();
}

void NavigationController::setViewControllers(
    std::vector<std::shared_ptr<ViewController>> controllers, bool animated) {
  const auto former = std::exchange(stack_, std::move(controllers));
  const auto stays = [this](const auto& controller) {
    return std::find(stack_.begin(), stack_.end(), controller) != stack_.end();
  };
  if (isOnDisplay() && !former.empty()) former.back()->disappear(animated);
  for (const auto& controller : former) {
    if (!stays(controller)) release(controller);
  }
  for (const auto& controller : stack_) adopt(controller);
  show(Transition::root, animated);
}

void NavigationController::pushViewController(std::shared_ptr<ViewController> controller,
                                              bool animated) {
  if (isOnDisplay() && !stack_.empty()) stack_.back()->disappear(animated);
  adopt(controller);
  stack_.push_back(std::move(controller));
  show(Transition::push, animated);
}

bool NavigationController::popViewController(bool animated) {
  if (stack_.size() < 2) return false;
  const auto leaving = stack_.back();
  if (isOnDisplay()) leaving->disappear(animated);
  stack_.pop_back();
  release(leaving);
  show(Transition::back, animated);
  return true;
}

void NavigationController::show(Transition transition, bool animated) {
  if (!isOnDisplay() || stack_.empty()) return;
  const auto top = stack_.back();
  top->appear(animated);
  presentationDidChange({transition, top, animated});
}

void NavigationController::setNavigationBarHidden(bool hidden, bool /*animated*/) {
  if (barHidden_ == hidden) return;
  barHidden_ = hidden;
  changed();
}

void NavigationController::appear(bool animated) {
  ViewController::appear(animated);
  if (const auto top = topViewController()) top->appear(animated);
}

void NavigationController::disappear(bool animated) {
  if (const auto top = topViewController()) top->disappear(animated);
  ViewController::disappear(animated);
}

void NavigationController::leaveStack() {
  for (const auto& controller : stack_) controller->leaveStack();
  ViewController::leaveStack();
}

}  // namespace veltrane
