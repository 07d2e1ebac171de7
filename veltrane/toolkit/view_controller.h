#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "veltrane/toolkit/color.h"
#include "veltrane/toolkit/signal.h"

namespace veltrane {

class NavigationController;
class ViewController;

enum class ModalPresentationStyle : std::uint8_t { fullScreen = 0, pageSheet = 1, formSheet = 2 };

struct View {
  std::optional<Color> backgroundColor;
  /// Of texts that nothing else gives a colour.
  std::optional<Color> textColor;
};

/// What the navigation bar shows while this screen is on display. The colours belong to the screen,
/// so that they are right again after going back to it.
struct NavigationItem {
  std::optional<std::string> title;
  std::optional<Color> tintColor;     // controls and title
  std::optional<Color> barTintColor;  // background
};

/// How a screen came to be on display.
enum class Transition : std::uint8_t {
  present,    // a flow opened over the host's screen
  root,       // replaced the navigation stack
  push,       // pushed onto the navigation stack
  modal,      // presented over a screen of the flow
  alert,      // an alert or action sheet over the screen
  back,       // on display again: what covered it has gone
  dismissed,  // `controller` and all it had presented have left
};

struct PresentationChange {
  Transition transition;
  /// Never null. For `present` the navigation stack's top screen.
  std::shared_ptr<ViewController> controller;
  bool animated;
};

/// A screen without its pixels: life cycle, presentation and observable state. Main thread only;
/// owned by what presents it or by its navigation stack. Presentation changes the state at once;
/// front ends animate towards it.
class ViewController : public std::enable_shared_from_this<ViewController> {
 public:
  using Completion = std::function<void()>;

  ViewController();
  virtual ~ViewController();
  ViewController(const ViewController&) = delete;
  ViewController& operator=(const ViewController&) = delete;

  /// The class's unqualified name ("ScreenTemplate1VC"); front ends choose a view by it.
  virtual std::string_view className() const = 0;

  virtual void viewDidLoad() {}
  virtual void viewWillAppear(bool /*animated*/) {}
  virtual void viewWillDisappear(bool /*animated*/) {}
  /// Popped, replaced or dismissed for good: whatever still runs for this screen must stop.
  virtual void didLeaveStack() {}

  /// Shows `controller` over this one. Alerts leave this screen on display; a full screen one makes
  /// it disappear. `completion` runs later, on the main queue.
  void present(std::shared_ptr<ViewController> controller, bool animated,
               Completion completion = {});
  /// Closes this controller, or the navigation controller it belongs to, and all that it has
  /// presented. Nothing happens when it is not presented. `completion` runs later, on the main
  /// queue.
  void dismiss(bool animated, Completion completion = {});

  std::shared_ptr<NavigationController> navigationController() const;
  std::shared_ptr<ViewController> presentedViewController() const { return presented_; }
  std::shared_ptr<ViewController> presentingViewController() const { return presenting_.lock(); }
  /// Between will-appear and will-disappear. An alert over it does not end that.
  bool isOnDisplay() const { return onDisplay_; }

  std::optional<std::string> title;
  View view;
  NavigationItem navigationItem;
  ModalPresentationStyle modalPresentationStyle = ModalPresentationStyle::pageSheet;

  /// Any of the fields a front end draws has changed.
  Signal<> changed;

 protected:
  virtual bool isAlert() const { return false; }
  /// The screen that is seen when this controller is: itself, or a container's top.
  virtual std::shared_ptr<ViewController> visibleScreen() { return shared_from_this(); }
  /// Travels up to the host's controller, which hands it to the front end.
  virtual void presentationDidChange(const PresentationChange& change);
  /// True for the host's own controller: what it presents is a flow.
  virtual bool isHost() const { return false; }

  virtual void appear(bool animated);
  virtual void disappear(bool animated);
  virtual void leaveStack();

 private:
  friend class NavigationController;
  enum class Reappear : bool { no, yes };
  void dismissPresented(bool animated, Reappear reappear);
  void hideForPresented(bool animated);
  void showAfterPresented(bool animated);
  std::shared_ptr<ViewController> parent() const;

  std::shared_ptr<ViewController> presented_;
  std::weak_ptr<ViewController> presenting_;
  std::weak_ptr<NavigationController> navigation_;
  bool loaded_ = false;
  bool onDisplay_ = false;
};

/// The host's side of the presentation: flows open over it, a front end listens to it.
class HostViewController final : public ViewController {
 public:
  std::string_view className() const override { return "HostViewController"; }

  /// Each change of what is on display, after it has happened.
  Signal<const PresentationChange&> presentationChanged;

 protected:
  void presentationDidChange(const PresentationChange& change) override {
    presentationChanged(change);
  }
  bool isHost() const override { return true; }
};

}  // namespace veltrane
