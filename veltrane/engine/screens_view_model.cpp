#include "veltrane/engine/screens_view_model.h"

#include <array>
#include <utility>

#include "veltrane/base/console.h"
#include "veltrane/platform.h"

namespace veltrane {
namespace {

/// What one of the fixed keys becomes when it holds a text.
struct FixedRow {
  std::string_view key;
  CellType type;
  std::optional<CellValueKind> kind;
  const char* variant;
};

constexpr auto kTitle = "title";
constexpr auto kSubTitle = "subTitle";

constexpr std::array<FixedRow, 9> kFixedRows = {{
    {"subTitle", CellType::label, std::nullopt, kSubTitle},
    {"mainHeaderText", CellType::label, std::nullopt, kTitle},
    {"bodyHeaderText", CellType::label, std::nullopt, kSubTitle},
    {"bodyIcon0LinkPng", CellType::image, CellValueKind::pngURLImage, nullptr},
    {"qr", CellType::image, CellValueKind::pngBase64Image, nullptr},
    {"messageTitle", CellType::label, std::nullopt, kTitle},
    {"messageIcon", CellType::image, CellValueKind::pngBase64Image, nullptr},
    {"message", CellType::label, std::nullopt, kSubTitle},
    {"bodyText", CellType::label, std::nullopt, nullptr},
}};

std::optional<JSON> centeredLabel(const char* variant) {
  if (!variant) return std::nullopt;
  static const JSON title = Dictionary{{"variant", kTitle}, {"alignment", "center"}};
  static const JSON subTitle = Dictionary{{"variant", kSubTitle}, {"alignment", "center"}};
  return variant == kTitle ? title : subTitle;
}

std::optional<std::string> optionalText(const JSON& value) {
  const auto text = value.text();
  return text ? std::optional<std::string>(*text) : std::nullopt;
}

std::optional<JSON> present(JSON value) {
  return value.isNull() ? std::nullopt : std::optional(std::move(value));
}

/// Sharing the server's text where it is one.
JSON valueAsText(JSON value) {
  return value.text() ? value : JSON(value.asText());
}

const JSON& emptyText() {
  static const JSON text("");
  return text;
}

JSON valueTextOrEmpty(JSON value) {
  return value.text() ? value : emptyText();
}

void read(std::optional<std::string>& field, const JSON& value) {
  if (auto text = optionalText(value)) field = std::move(text);
}
void read(std::string& field, const JSON& value) {
  if (const auto text = value.text()) field = *text;
}
void read(double& field, const JSON& value) {
  field = value.number().value_or(field);
}
void read(bool& field, const JSON& value) {
  field = value.boolean().value_or(field);
}
void read(std::optional<EventParams>& field, const JSON& value) {
  if (value.isObject()) field = EventParams::from(value);
}

Dictionary eventBody(const std::optional<JSON>& event, const std::optional<EventParams>& param,
                     const Dictionary& parameters) {
  const auto& to = param ? *param : EventParams();
  return {{"eventName", event ? (*event)["eventName"].textValue() : std::string()},
          {"connectionId", to.connectionId},
          {"capabilityName", to.capabilityName},
          {"id", to.id},
          {"parameters", parameters}};
}

}  // namespace

std::shared_ptr<ScreensViewModel> ScreensViewModel::make(const Dictionary& props,
                                                         std::size_t userViewIndex) {
  auto model = std::make_shared<ScreensViewModel>(MakeOnly());
  if (const auto& makeManager = Platform::current().makeCredentialsManager) {
    model->credManager = makeManager();
  }
  model->userViewIndex = userViewIndex;
  model->setRecord(props);
  return model;
}

void ScreensViewModel::setRecord(const Dictionary& props) {
  read(screenTemplateName, props["screenTemplateName"]);
  read(nextParam, props["nextParam"]);
  read(onLoadParam, props["onLoadParam"]);
  read(credId, props["credId"]);
  read(viewBackgroundColor, props["viewBackgroundColor"]);
  read(viewTextColor, props["viewTextColor"]);
  read(navbarBackgroundColor, props["navbarBackgroundColor"]);
  read(navbarTextColor, props["navbarTextColor"]);
  read(viewPaddingTop, props["viewPaddingTop"]);
  read(viewPaddingRight, props["viewPaddingRight"]);
  read(viewPaddingBottom, props["viewPaddingBottom"]);
  read(viewPaddingLeft, props["viewPaddingLeft"]);

  const JSON components = props["screenComponentList"];
  reserveRows(components.size() + props["textFields"].size());
  for (std::size_t i = 0; i < components.size(); ++i) addComponentRow(components[i]);
  read(title, props["title"]);
  addFixedRows(props);

  read(enablePolling, props["enablePolling"]);
  read(pollInterval, props["pollInterval"]);
  read(pollRetries, props["pollRetries"]);
  read(pollingChallenge, props["challenge"]);
  addFormRows(props);

  nextEvent = present(props["nextEvent"]);
  if (nextEvent) postProcess = (*nextEvent)["postProcess"];
  // An on-load event's step takes the place of the next event's.
  onLoadEvent = present(props["onLoadEvent"]);
  if (onLoadEvent) postProcess = (*onLoadEvent)["postProcess"];
  read(navigationTitle, props["navTitle"]);
  read(fullScreenMode, props["fullScreenMode"]);
}

void ScreensViewModel::reserveRows(std::size_t listed) {
  constexpr std::size_t kButtonAndPoweredBy = 2;
  records.reserve(records.size() + listed + kFixedRows.size() + kButtonAndPoweredBy);
}

void ScreensViewModel::addComponentRow(const JSON& component) {
  const auto control = component["preferredControlType"].text().value_or("");
  const JSON value = component["value"];
  CellProperties row{.props = present(component["attributes"])};
  if (control == "label") {
    row.type = CellType::label;
    row.value = valueAsText(value);
  } else if (control == "textField") {
    row.type = CellType::textField;
    row.value = valueAsText(value);
    row.key = component["propertyName"].textValue();
  } else if (control == "image") {
    row.type = CellType::image;
    row.value = valueTextOrEmpty(value);
  } else if (control == "toggleSwitch") {
    row.type = CellType::toggleSwitch;
    row.value = value.boolean().value_or(false);
    row.key = optionalText(component["propertyName"]);
  } else if (control == "dropdown") {
    row.type = CellType::dropdown;
    row.value = valueAsText(value);
    row.key = optionalText(component["propertyName"]);
  } else {
    console::print("preferredControlType default case");
    return;
  }
  records.push_back(std::move(row));
}

void ScreensViewModel::addFixedRows(const Dictionary& props) {
  for (const FixedRow& row : kFixedRows) {
    const JSON* value = props.find(row.key);
    if (!value || !value->text()) continue;
    records.push_back(
        {.value = *value, .type = row.type, .kind = row.kind, .props = centeredLabel(row.variant)});
  }
}

void ScreensViewModel::addFormRows(const Dictionary& props) {
  const JSON fields = props["textFields"];
  for (std::size_t i = 0; i < fields.size(); ++i) {
    const JSON field = fields[i];
    records.push_back({.value = valueTextOrEmpty(field["value"]),
                       .type = CellType::textField,
                       .props = present(field["attributes"]),
                       .key = optionalText(field["propertyName"])});
  }
  if (const JSON text = props["nextButtonText"]; text.text()) {
    records.push_back({.value = text, .type = CellType::button});
  }
  if (props["showPoweredBy"].boolean() == true) {
    records.push_back({.value = emptyText(), .type = CellType::showPoweredBy});
  }
}

Dictionary ScreensViewModel::getNextEventProps(const Dictionary& parameters) const {
  return eventBody(nextEvent, nextParam, parameters);
}

Dictionary ScreensViewModel::getPostProcessEventProps(const Dictionary& parameters) const {
  return eventBody(postProcess, nextParam, parameters);
}

Dictionary ScreensViewModel::getOnLoadEventProps(const Dictionary& parameters) const {
  return eventBody(onLoadEvent, onLoadParam, parameters);
}

std::vector<std::string> ScreensViewModel::secretNames() const {
  std::vector<std::string> names;
  for (const CellProperties& row : records) {
    if (row.key && row.isSecret()) names.push_back(*row.key);
  }
  return names;
}

}  // namespace veltrane
