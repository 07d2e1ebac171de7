#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "veltrane/base/dictionary.h"
#include "veltrane/toolkit/view_controller.h"

namespace veltrane::tool {

/// Why an act was refused; absent when it was handed to the screen.
using Refusal = std::optional<std::string>;

/// The row that an act names, by its key or by its index.
struct RowName {
  std::optional<std::string> key;
  std::optional<std::size_t> index;
};

/// Hears of changes of a screen that has been described.
struct ScreenListener {
  /// All of the screen is to be told anew.
  std::function<void()> contentReplaced;
  /// One row looks different: the row's new description.
  std::function<void(const JSON& row)> rowChanged;
  /// `isLoading` may have changed.
  std::function<void()> loadingChanged;
};

/// What the driver knows about one controller: how its screen looks and what a user can do there.
/// The base class is a screen without fields on which nothing can be done; each controller class
/// has its own in a file beside this one. Main thread only.
class ScreenAdapter {
 public:
  explicit ScreenAdapter(const std::shared_ptr<ViewController>& controller)
      : controller_(controller) {}
  virtual ~ScreenAdapter();
  ScreenAdapter(const ScreenAdapter&) = delete;
  ScreenAdapter& operator=(const ScreenAdapter&) = delete;

  /// By the controller's class name; the base class when there is none of its own.
  static std::unique_ptr<ScreenAdapter> make(const std::shared_ptr<ViewController>& controller,
                                             ScreenListener listener);

  /// Null once the screen has gone.
  std::shared_ptr<ViewController> controller() const { return controller_.lock(); }

  /// The screen's own fields as it looks now. From then on the listener hears of changes.
  virtual Dictionary describe() { return {}; }
  virtual bool isLoading() const { return false; }
  /// Something goes on behind the screen that will change it: it asks the server from time to
  /// time, or makes a picture of the frame that it has taken.
  virtual bool isWorking() const { return false; }
  /// The screen looks at what its camera shows and may change for as long as that does.
  virtual bool isWatching() const { return false; }
  /// The screen that is there until the flow's first one is.
  virtual bool isStartScreen() const { return false; }

  virtual Refusal input(const RowName& row, const std::string& text);
  virtual Refusal toggle(const RowName& row, bool on);
  virtual Refusal choose(const RowName& row, const std::string& option);
  virtual Refusal press(std::optional<std::size_t> row);
  virtual Refusal select(std::size_t row);
  virtual Refusal cancel();
  virtual Refusal retry();
  virtual Refusal back();

 private:
  std::weak_ptr<ViewController> controller_;
};

}  // namespace veltrane::tool
