#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>

namespace veltrane {

class ViewController;

/// Makes screens by identifier, so that rooms can open each other's screens without knowing them.
/// Filled before it is installed, only read afterwards.
class Storyboard {
 public:
  using Factory = std::function<std::shared_ptr<ViewController>()>;

  void add(std::string identifier, Factory factory);
  /// A new controller, or null when nothing is registered under the identifier.
  std::shared_ptr<ViewController> instantiateViewController(std::string_view identifier) const;

 private:
  std::map<std::string, Factory, std::less<>> factories_;
};

}  // namespace veltrane
