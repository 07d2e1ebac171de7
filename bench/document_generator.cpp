#include "bench/document_generator.h"

#include <array>
#include <random>
#include <string_view>
#include <utility>

namespace veltrane::bench {
namespace {

using namespace std::string_view_literals;

constexpr std::array kWords = {"account"sv, "address"sv, "agree"sv,  "code"sv,
                               "confirm"sv, "device"sv,  "enter"sv,  "number"sv,
                               "phone"sv,   "please"sv,  "secure"sv, "sign"sv,
                               "step"sv,    "verify"sv,  "your"sv,   "identité"sv};
constexpr std::array kKeyboards = {"emailAddress"sv, "numberPad"sv, "phonePad"sv, "asciiCapable"sv};
constexpr std::array kTemplates = {"ScreenTemplate1"sv, "UsernameScreenTemplate"sv,
                                   "OtpScreenTemplate"sv, "MessageScreen"sv};
constexpr std::array kColors = {"#99C852"sv, "#1B1B1F"sv, "#FFFFFF"sv, "#0A84FF"sv};

/// Writes JSON text piece by piece.
class Writer {
 public:
  explicit Writer(std::uint32_t seed) : random_(seed) {}

  std::size_t below(std::size_t bound) { return random_() % bound; }
  template <std::size_t size>
  std::string_view anyOf(const std::array<std::string_view, size>& choices) {
    return choices[below(size)];
  }
  std::string sentence(std::size_t words) {
    std::string text;
    for (std::size_t i = 0; i < words; ++i) text.append(i ? " " : "").append(anyOf(kWords));
    return text;
  }

  Writer& raw(std::string_view text) {
    this->text.append(text);
    return *this;
  }
  Writer& comma() {
    const bool first = text.empty() || text.back() == '{' || text.back() == '[';
    return first ? *this : raw(",");
  }
  Writer& name(std::string_view name) { return comma().raw("\"").raw(name).raw("\":"); }
  Writer& member(std::string_view key, std::string_view value) {
    return name(key).raw("\"").raw(value).raw("\"");
  }
  Writer& value(std::string_view key, std::string_view json) { return name(key).raw(json); }
  /// A screen property, whose value stands one level down.
  Writer& property(std::string_view key, std::string_view value) {
    return name(key).raw("{\"type\":\"string\"").member("value", value).raw("}");
  }
  Writer& propertyValue(std::string_view key, std::string_view json) {
    return name(key).raw("{").value("value", json).raw("}");
  }

  std::string text;

 private:
  std::mt19937 random_;
};

std::string fieldName(std::size_t number) {
  return "field" + std::to_string(number);
}

void addLabel(Writer& out) {
  out.member("preferredControlType", "label").member("value", out.sentence(6 + out.below(8)));
  out.name("attributes").raw("{").member("variant", out.below(2) ? "title" : "body");
  out.member("alignment", out.below(2) ? "left" : "center").member("color", out.anyOf(kColors));
  out.raw("}");
}

void addTextField(Writer& out, std::size_t number) {
  out.member("preferredControlType", "textField").member("propertyName", fieldName(number));
  out.member("value", "").name("attributes").raw("{").member("displayName", out.sentence(2));
  out.member("placeholder", out.sentence(3)).member("keyboardType", out.anyOf(kKeyboards));
  out.value("hashedVisibility", out.below(4) ? "false" : "true").raw("}");
}

void addToggle(Writer& out, std::size_t number) {
  out.member("preferredControlType", "toggleSwitch").member("propertyName", fieldName(number));
  out.value("value", out.below(2) ? "true" : "false");
  out.name("attributes").raw("{").member("displayName", out.sentence(5)).raw("}");
}

void addDropdown(Writer& out, std::size_t number) {
  out.member("preferredControlType", "dropdown").member("propertyName", fieldName(number));
  out.member("value", out.sentence(1)).name("attributes").raw("{");
  out.member("displayName", out.sentence(2)).name("options").raw("[");
  for (std::size_t i = 0; i < 4; ++i) out.comma().raw("\"").raw(out.sentence(1)).raw("\"");
  out.raw("]}");
}

void addImage(Writer& out) {
  const std::string picture = std::to_string(out.below(10000));
  out.member("preferredControlType", "image");
  out.member("value", "https://images.example.org/flow/" + picture + ".png");
  out.name("attributes").raw("{").member("contentMode", "aspectFit");
  out.value("height", std::to_string(80 + out.below(120)) + ".5").raw("}");
}

void addComponent(Writer& out, std::size_t number) {
  out.comma().raw("{");
  switch (out.below(10)) {
    case 0:
    case 1:
    case 2:
      addLabel(out);
      break;
    case 3:
    case 4:
    case 5:
    case 6:
      addTextField(out, number);
      break;
    case 7:
      addToggle(out, number);
      break;
    case 8:
      addDropdown(out, number);
      break;
    default:
      addImage(out);
  }
  out.raw("}");
}

void addSettings(Writer& out) {
  out.property("title", out.sentence(2)).property("navTitle", out.sentence(1));
  out.property("viewBackgroundColor", out.anyOf(kColors));
  out.property("viewTextColor", out.anyOf(kColors));
  out.propertyValue("viewPaddingLeft", "16").propertyValue("viewPaddingRight", "16");
  out.property("nextButtonText", "Continue").propertyValue("showPoweredBy", "true");
  out.name("nextEvent").raw("{").member("constructType", "vtEvent").member("eventType", "post");
  out.member("eventName", "submit" + std::to_string(out.below(1000)));
  out.name("postProcess").raw("{}}");
}

/// The property set of one user view; returns its rows.
std::size_t addPropertySet(Writer& out, std::string_view name, std::size_t components) {
  out.name(name).raw("{").name("properties").raw("{");
  addSettings(out);
  out.name("screenComponentList").raw("{").name("value").raw("[");
  for (std::size_t i = 0; i < components; ++i) addComponent(out, i);
  out.raw("]}}}");
  return components + 2;  // the button and the powered-by row
}

template <typename HowMany>
GeneratedDocument generate(std::uint32_t seed, HowMany&& componentsOfNextView) {
  Writer out(seed), views(seed + 1);
  GeneratedDocument document;
  out.raw("{").member("id", "b7b8f0a2-4c1d-4a35-9a43-5d7f0b6f7c11");
  out.member("companyId", "company-4711").member("flowId", "sign-in").member("interactionId", "i9");
  out.member("connectionId", "3f7c52d0").member("capabilityName", "customHTMLTemplate");
  out.name("screen").raw("{").name("properties").raw("{");
  while (const std::size_t components = componentsOfNextView(out)) {
    const std::string name = "screenConfig" + std::to_string(document.userViews++);
    document.rows += addPropertySet(out, name, components);
    views.comma().raw("{").member("screenTemplateName", views.anyOf(kTemplates));
    views.member("screenConfigName", name).raw("}");
  }
  out.raw("}").name("userViews").raw("[").raw(views.text).raw("]}}");
  document.text = std::move(out.text);
  return document;
}

}  // namespace

GeneratedDocument generateDocument(std::size_t bytes, std::uint32_t seed) {
  return generate(seed, [=](Writer& out) -> std::size_t {
    return out.text.size() < bytes ? 10 + out.below(17) : 0;
  });
}

GeneratedDocument generateScreen(std::size_t componentRows, std::uint32_t seed) {
  return generate(seed, [=, first = true](Writer&) mutable -> std::size_t {
    return std::exchange(first, false) ? componentRows : 0;
  });
}

}  // namespace veltrane::bench
