#pragma once

#include <memory>
#include <vector>

#include "veltrane/toolkit/view_controller.h"

namespace veltrane {

/// A stack of screens of which the top one is seen. Main thread only.
class NavigationController final : public ViewController {
 public:
  static std::shared_ptr<NavigationController> make(std::shared_ptr<ViewController> root);
  std::string_view className() const override { return "NavigationController"; }

  const std::vector<std::shared_ptr<ViewController>>& viewControllers() const { return stack_; }
  /// Null when the stack is empty.
  std::shared_ptr<ViewController> topViewController() const;

  void setViewControllers(std::vector<std::shared_ptr<ViewController>> controllers, bool animated);
  void pushViewController(std::shared_ptr<ViewController> controller, bool animated);
  /// Goes back one screen; false when the top is the only one.
  bool popViewController(bool animated);

  bool isNavigationBarHidden() const { return barHidden_; }
  void setNavigationBarHidden(bool hidden, bool animated);

 protected:
  std::shared_ptr<ViewController> visibleScreen() override;
  void appear(bool animated) override;
  void disappear(bool animated) override;
  void leaveStack() override;

 private:
  NavigationController() = default;
  void adopt(const std::shared_ptr<ViewController>& controller);
  static void release(const std::shared_ptr<ViewController>& controller);
  void show(Transition transition, bool animated);

  std::vector<std::shared_ptr<ViewController>> stack_;
  bool barHidden_ = false;
};

}  // namespace veltrane
