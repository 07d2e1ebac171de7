#include "veltrane/ui/mfa_screen1_view_model.h"

#include <utility>

namespace veltrane {
namespace {

constexpr const char* kList = "mfaList";

/// The offered connectors; null when the screen has no list, or the list is of another kind.
JSON connectorsOf(const JSON& flow, std::size_t activeScreen) {
  const JSON screen = flow["screen"];
  const JSON list = screen["properties"][kList];
  if (list["constructType"].text() != "vtConnectorList" || !list["value"].isArray()) return {};
  const JSON items = screen["userViews"][activeScreen]["items"];
  for (std::size_t i = 0; i < items.size(); ++i) {
    if (items[i]["propertyName"].text() == kList) return list["value"];
  }
  return {};
}

std::string shownValue(const JSON& connector, const char* property) {
  return std::string(connector.textAt({"properties", property, "value"}).value_or(""));
}

AuthMethod methodOf(const JSON& flow, const JSON& connector, std::size_t index) {
  AuthMethod method{.title = shownValue(connector, "title"), .index = index};
  if (method.title.empty()) method.title = connector["connectorId"].asText();
  const bool registers = connector["capabilityName"].asText() == "register";
  method.subTitle = shownValue(connector, registers ? "description" : "authDescription");
  if (auto url = shownValue(connector, "iconUrlPng"); !url.empty())
    method.imageURL = std::move(url);
  method.connectionId = connector["connectionId"].asText();
  method.userViewProps = Lazy<UserViewProps>(
      [flow, connector] { return GenericViewModel::getUserViewProps(flow, connector); });
  return method;
}

}  // namespace

std::vector<AuthMethod> MfaScreen1ViewModel::getAuthenticationMethods(const Arguments& arguments) {
  const JSON connectors = connectorsOf(arguments.flow, arguments.activeScreen);
  std::vector<AuthMethod> methods;
  methods.reserve(connectors.size());
  for (std::size_t i = 0; i < connectors.size(); ++i) {
    methods.push_back(methodOf(arguments.flow, connectors[i], i));
  }
  return methods;
}

}  // namespace veltrane
