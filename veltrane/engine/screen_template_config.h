#pragma once

#include <cstddef>
#include <memory>

#include "veltrane/engine/generic_view_model.h"

namespace veltrane {

class ScreensViewModel;

// Each copies what a kind of screen needs from an answer of the server into the user view that is
// about to be shown, and returns the changed list. `userViewIndex` is below its size. Only texts
// are copied; what the answer lacks stays as it is.

struct OtpScreenTemplateConfig {
  /// "qr", the picture of a code.
  static UserViewProps addQRImage(const JSON& response, UserViewProps userViewProps,
                                  std::size_t userViewIndex);
};

struct OnFidoConfig {
  /// "token" and "credId".
  static UserViewProps addOnFidoToken(const JSON& response, UserViewProps userViewProps,
                                      std::size_t userViewIndex);
};

struct JumioConfig {
  /// The vendor's credentials and references.
  static UserViewProps addJumioProps(const JSON& response, UserViewProps userViewProps,
                                     std::size_t userViewIndex);
};

struct ScreenTemplatesConfig {
  /// The view model of a user view. A phone screen's rows are there twice, by design of its
  /// template. `userViewIndex` is below the list's size.
  static std::shared_ptr<ScreensViewModel> addAdditionalField(const UserViewProps& userViewProps,
                                                              std::size_t userViewIndex);
};

}  // namespace veltrane
