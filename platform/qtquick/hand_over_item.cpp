#include "platform/qtquick/hand_over_item.h"

#include <utility>

#include "platform/qtquick/words.h"

namespace veltrane::qtquick {

HandOverItem::HandOverItem(std::shared_ptr<ViewController> controller, FlowStage& stage,
                           std::unique_ptr<QObject> body, std::function<void()> close)
    : ScreenItem(std::move(controller), stage), body_(std::move(body)), close_(std::move(close)) {}

QString HandOverItem::title() const {
  return translatedPhrase(controller()->title.value_or(""));
}

}  // namespace veltrane::qtquick
