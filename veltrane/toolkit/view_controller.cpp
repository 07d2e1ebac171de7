#include "veltrane/toolkit/view_controller.h"

#include <utility>

#include "veltrane/toolkit/main_queue.h"
#include "veltrane/toolkit/navigation_controller.h"

namespace veltrane {
namespace {

void finish(ViewController::Completion completion) {
  if (completion) MainQueue::current().async(std::move(completion));
}

}  // namespace

ViewController::ViewController() = default;
ViewController::~ViewController() = default;

std::shared_ptr<NavigationController> ViewController::navigationController() const {
  return navigation_.lock();
}

std::shared_ptr<ViewController> ViewController::parent() const {
  if (auto navigation = navigation_.lock()) return navigation;
  return presenting_.lock();
}

void ViewController::present(std::shared_ptr<ViewController> controller, bool animated,
                             Completion completion) {
  if (!controller) return;
  if (const auto navigation = navigation_.lock()) {
    // What a covered screen shows lies over the screen that covers it.
    const auto top = navigation->topViewController();
    if (top && top.get() != this) {
      return top->present(std::move(controller), animated, std::move(completion));
    }
  }
  // A controller shows one thing at a time; what comes next goes on top of it.
  if (presented_)
    return presented_->present(std::move(controller), animated, std::move(completion));
  presented_ = controller;
  controller->presenting_ = weak_from_this();
  const bool covers = !controller->isAlert() &&
                      controller->modalPresentationStyle == ModalPresentationStyle::fullScreen &&
                      !isHost();
  const auto self = shared_from_this();
  if (covers) hideForPresented(animated);
  controller->appear(animated);
  if (auto visible = controller->visibleScreen()) {
    const auto transition = controller->isAlert() ? Transition::alert
                            : isHost()            ? Transition::present
                                                  : Transition::modal;
    presentationDidChange({transition, std::move(visible), animated});
  }
  finish(std::move(completion));
}

void ViewController::dismiss(bool animated, Completion completion) {
  const auto self = shared_from_this();
  const auto presenter = presenting_.lock();
  if (presenter && presenter->presented_ == self) {
    presenter->dismissPresented(animated, Reappear::yes);
    finish(std::move(completion));
  } else if (const auto navigation = navigation_.lock()) {
    navigation->dismiss(animated, std::move(completion));
  }
}

void ViewController::dismissPresented(bool animated, Reappear reappear) {
  const auto leaving = presented_;
  if (leaving->onDisplay_) leaving->disappear(animated);
  leaving->leaveStack();
  presented_.reset();
  leaving->presenting_.reset();
  presentationDidChange({Transition::dismissed, leaving, animated});
  if (isHost() || leaving->isAlert() || reappear == Reappear::no) return;
  showAfterPresented(animated);
  // The stack may have changed while it was covered: its top is what is seen now.
  std::shared_ptr<ViewController> seen = navigation_.lock();
  if (!seen) seen = shared_from_this();
  if (auto visible = seen->visibleScreen()) {
    presentationDidChange({Transition::back, std::move(visible), animated});
  }
}

// What covers a screen covers the whole stack that the screen is in.
void ViewController::hideForPresented(bool animated) {
  if (const auto navigation = navigation_.lock()) return navigation->hideForPresented(animated);
  if (onDisplay_) disappear(animated);
}

void ViewController::showAfterPresented(bool animated) {
  if (const auto navigation = navigation_.lock()) return navigation->showAfterPresented(animated);
  if (!onDisplay_ && parent()) appear(animated);
}

void ViewController::presentationDidChange(const PresentationChange& change) {
  if (const auto above = parent()) above->presentationDidChange(change);
}

void ViewController::appear(bool animated) {
  if (!loaded_) {
    loaded_ = true;
    viewDidLoad();
  }
  viewWillAppear(animated);
  onDisplay_ = true;
}

void ViewController::disappear(bool animated) {
  onDisplay_ = false;
  viewWillDisappear(animated);
}

void ViewController::leaveStack() {
  if (presented_) dismissPresented(false, Reappear::no);
  didLeaveStack();
}

}  // namespace veltrane
