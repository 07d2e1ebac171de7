#include "veltrane/ui/alert.h"

#include <utility>

#include "veltrane/toolkit/alert_controller.h"
#include "veltrane/toolkit/main_queue.h"
#include "veltrane/toolkit/navigation_controller.h"

namespace veltrane {

namespace {

/// The same message is on display already: saying it twice would only have it closed twice.
bool isShown(const std::shared_ptr<ViewController>& controller, const std::string& message,
             const std::optional<std::string>& title) {
  const auto navigation = controller->navigationController();
  auto front = navigation ? navigation->topViewController() : controller;
  while (front && front->presentedViewController()) front = front->presentedViewController();
  const auto* alert = dynamic_cast<const AlertController*>(front.get());
  return alert && alert->style() == AlertStyle::alert && alert->message() == message &&
         alert->title == title;
}

}  // namespace

void Alert::showAlert(std::shared_ptr<ViewController> controller, std::string message,
                      std::optional<std::string> title) {
  MainQueue::current().async([controller = std::move(controller), message = std::move(message),
                              title = std::move(title)]() mutable {
    if (isShown(controller, message, title)) return;
    const auto alert =
        std::make_shared<AlertController>(std::move(title), std::move(message), AlertStyle::alert);
    alert->addAction({.title = "OK", .style = AlertActionStyle::cancel, .handler = {}});
    controller->present(alert, true);
  });
}

}  // namespace veltrane
