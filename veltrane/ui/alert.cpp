#include "veltrane/ui/alert.h"

#include <utility>

#include "veltrane/toolkit/alert_controller.h"
#include "veltrane/toolkit/main_queue.h"

namespace veltrane {

void Alert::showAlert(std::shared_ptr<ViewController> controller, std::string message,
                      std::optional<std::string> title) {
  MainQueue::current().async([controller = std::move(controller), message = std::move(message),
                              title = std::move(title)]() mutable {
    const auto alert =
        std::make_shared<AlertController>(std::move(title), std::move(message), AlertStyle::alert);
    alert->addAction({.title = "OK", .style = AlertActionStyle::cancel, .handler = {}});
    controller->present(alert, true);
  });
}

}  // namespace veltrane
