#include "veltrane/toolkit/storyboard.h"

#include <utility>

#include "veltrane/toolkit/view_controller.h"

namespace veltrane {

void Storyboard::add(std::string identifier, Factory factory) {
  factories_[std::move(identifier)] = std::move(factory);
}

std::shared_ptr<ViewController> Storyboard::instantiateViewController(
    std::string_view identifier) const {
  const auto factory = factories_.find(identifier);
  return factory == factories_.end() ? nullptr : factory->second();
}

}  // namespace veltrane
