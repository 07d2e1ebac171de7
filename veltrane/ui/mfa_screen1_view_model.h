#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "veltrane/base/lazy.h"
#include "veltrane/engine/generic_view_model.h"

namespace veltrane {

/// One authentication method that a flow offers.
struct AuthMethod {
  std::string title;
  std::string subTitle;
  std::optional<std::string> imageURL;
  std::string connectionId;
  /// Position in the offered list, from 0.
  std::size_t index = 0;
  /// The screens that run when the method is chosen. Only one of a long list ever is.
  Lazy<UserViewProps> userViewProps;
};

/// Turns a flow document into the list of methods it offers.
struct MfaScreen1ViewModel {
  struct Arguments {
    const JSON& flow;
    /// Index of the user view that lists the methods.
    std::size_t activeScreen;
  };

  /// Pure and total: bad or missing data gives fewer or emptier records.
  static std::vector<AuthMethod> getAuthenticationMethods(const Arguments& arguments);
};

}  // namespace veltrane
