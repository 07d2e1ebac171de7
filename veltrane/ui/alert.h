#pragma once

#include <memory>
#include <optional>
#include <string>

namespace veltrane {

class ViewController;

/// A message with an "OK". Any thread; shown later, on the main queue. It only informs.
struct Alert {
  static void showAlert(std::shared_ptr<ViewController> controller, std::string message,
                        std::optional<std::string> title);
};

}  // namespace veltrane
