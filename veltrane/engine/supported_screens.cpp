#include "veltrane/engine/supported_screens.h"

#include <algorithm>

namespace veltrane {

bool SupportedScreens::check(std::string_view screenTemplateName) {
  return std::find(kTemplateNames.begin(), kTemplateNames.end(), screenTemplateName) !=
         kTemplateNames.end();
}

}  // namespace veltrane
