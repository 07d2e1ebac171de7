#include "veltrane/engine/generic_view_model.h"

#include <algorithm>
#include <array>
#include <optional>
#include <utility>

#include "veltrane/engine/event_params.h"
#include "veltrane/engine/supported_screens.h"

namespace veltrane {
namespace {

// Entries that the engine itself writes; a server's property of such a name is ignored. A "qr"
// picture comes with an answer, never with the document.
constexpr std::array<std::string_view, 7> kOwnEntries = {
    "capabilityName",     "connectionId", "nextParam", "onLoadParam", "qr",
    "screenTemplateName", "textFields"};

JSON textOrEmpty(const JSON& value) {
  static const JSON empty("");
  return value.kind() == JSON::Kind::text ? value : empty;
}

bool isEvent(const JSON& property, std::string_view eventType) {
  return property["constructType"].text() == "vtEvent" && property["eventType"].text() == eventType;
}

/// Where user views are listed, and what they have in common.
struct Source {
  JSON views;
  /// Property sets by configuration name; the first that has one gives it.
  std::vector<JSON> properties;
  JSON connectionId;
  JSON capabilityName;
  EventParams params;
};

/// Reads the user views of one source.
class Extraction {
 public:
  explicit Extraction(Source source) : source_(std::move(source)) {}

  UserViewProps userViews() {
    UserViewProps props;
    props.reserve(source_.views.size());
    for (std::size_t i = 0; i < source_.views.size(); ++i) {
      props.push_back(userView(source_.views[i]));
    }
    return props;
  }

 private:
  Dictionary userView(const JSON& view) {
    Dictionary entries;
    const JSON templateName = textOrEmpty(view["screenTemplateName"]);
    const auto set = SupportedScreens::check(*templateName.text()) ? propertySet(view) : JSON();
    entries.reserve(set.size() + 5);
    entries.set("capabilityName", source_.capabilityName);
    entries.set("connectionId", source_.connectionId);
    set.forEachMember(
        [&](std::string_view name, const JSON& property) { addProperty(entries, name, property); });
    // The next event first: an on-load event that is sent always leaves its parameters for it.
    addNextEvent(entries, set["nextEvent"]);
    addOnLoadEvent(entries, set["onLoadEvent"]);
    entries.set("screenTemplateName", templateName);
    return entries;
  }

  JSON propertySet(const JSON& view) const {
    const auto name = view["screenConfigName"].text().value_or("");
    for (const JSON& properties : source_.properties) {
      JSON set = name.empty() ? properties : properties[name]["properties"];
      if (set.isObject()) return set;
    }
    return {};
  }

  static void addProperty(Dictionary& entries, std::string_view name, const JSON& property) {
    if (name == "nextEvent" || name == "onLoadEvent") return;
    if (std::find(kOwnEntries.begin(), kOwnEntries.end(), name) != kOwnEntries.end()) return;
    if (name == "parameters") {
      if (JSON items = property["items"]; items.isArray())
        entries.set("textFields", std::move(items));
      return;
    }
    if (!property.contains("value")) return;
    JSON value = property["value"];
    if (name == "screenComponentList" && !value.isArray()) return;
    entries.set(name, std::move(value));
  }

  void addNextEvent(Dictionary& entries, const JSON& property) {
    const bool isPost = isEvent(property, "post");
    if (isPost) entries.set("nextParam", params());
    if (isPost || isEvent(property, "nextUserView")) entries.set("nextEvent", property);
  }

  void addOnLoadEvent(Dictionary& entries, const JSON& property) {
    if (!isEvent(property, "post")) return;
    entries.set("onLoadParam", params());
    entries.set("nextParam", params());
    entries.set("onLoadEvent", property);
  }

  /// Made when the first event asks for it: a list of methods reads very many views.
  const JSON& params() {
    if (!params_) params_ = source_.params.toJSON();
    return *params_;
  }

  Source source_;
  std::optional<JSON> params_;
};

}  // namespace

UserViewProps GenericViewModel::getUserViewProps(const JSON& flow) {
  const JSON screen = flow["screen"];
  if (!screen["userViews"].isArray()) return {Dictionary()};
  return Extraction({.views = screen["userViews"],
                     .properties = {screen["properties"]},
                     .connectionId = textOrEmpty(flow["connectionId"]),
                     .capabilityName = textOrEmpty(flow["capabilityName"]),
                     .params = EventParams::from(flow)})
      .userViews();
}

UserViewProps GenericViewModel::getUserViewProps(const JSON& flow, const JSON& connector) {
  EventParams params = EventParams::from(flow);
  params.connectionId = connector["connectionId"].asText();
  params.capabilityName = connector["capabilityName"].asText();
  return Extraction({.views = connector["userViews"],
                     .properties = {connector["properties"], flow["screen"]["properties"]},
                     .connectionId = params.connectionId,
                     .capabilityName = params.capabilityName,
                     .params = params})
      .userViews();
}

}  // namespace veltrane
