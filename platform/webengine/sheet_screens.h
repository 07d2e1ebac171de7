#pragma once

#include <memory>
#include <utility>

#include "platform/webengine/web_sheet.h"
#include "veltrane/connectors/hand_over_view_controller.h"

namespace veltrane::webengine {

/// A hand-over's controller with a sheet for its view. `Base` is the port's class. Once it has left
/// the screen its sheet is over, whoever has taken it away.
template <typename Base>
class SheetScreenOf : public Base, public SheetScreen {
 public:
  std::string_view className() const override { return kSheetScreenName; }
  const std::shared_ptr<WebSheet>& sheet() const override { return sheet_; }
  void didLeaveStack() override { sheet_->end(); }

 protected:
  /// Once the controller is in the hands of a `shared_ptr`.
  void take(std::shared_ptr<WebSheet> sheet) {
    sheet_ = std::move(sheet);
    sheet_->screen = this->weak_from_this();
  }

 private:
  std::shared_ptr<WebSheet> sheet_;
};

class SheetViewController final : public SheetScreenOf<HandOverViewController> {
 public:
  static std::shared_ptr<SheetViewController> make(std::shared_ptr<WebSheet> sheet,
                                                   std::string title) {
    auto made = std::make_shared<SheetViewController>();
    made->title = std::move(title);
    made->take(std::move(sheet));
    return made;
  }
};

}  // namespace veltrane::webengine
