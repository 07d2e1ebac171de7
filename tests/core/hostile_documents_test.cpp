#include <functional>
#include <nlohmann/json.hpp>

#include "tests/core/host.h"
#include "veltrane/ui/cells/button_table_view_cell.h"

namespace veltrane::testing {
namespace {

using nlohmann::json;

using Visit = std::function<void(const std::string&)>;

void replaceEach(const json& root, json& node, const Visit& visit) {
  static const json kStrangers[] = {nullptr, true, 5, -1.5e300, "x", json::array(), json::object()};
  const json kept = node;
  for (const json& stranger : kStrangers) {
    node = stranger;
    visit(root.dump());
  }
  node = kept;
  if (!node.is_structured()) return;
  for (json& part : node) replaceEach(root, part, visit);
}

/// Calls `visit` with each node of the text in turn replaced by what does not belong there.
void forEachMutation(const std::string& text, const Visit& visit) {
  json root = json::parse(text);
  replaceEach(root, root, visit);
}

std::string everything(const std::string& event) {
  const std::string attributes =
      R"({"displayName":"d","color":"#f00","placeholder":"p","keyboardType":"url","options":["a",1],
          "hashedVisibility":true,"alignment":"left","variant":"title","height":5,
          "imageContentMode":"center"})";
  std::string list;
  for (const auto* control :
       {"label", "textField", "image", "toggleSwitch", "dropdown", "button"}) {
    list += (list.empty() ? "" : ",") + component(control, control, "\"a\"", attributes);
  }
  return document(event + R"(,"screenComponentList":{"value":[)" + list + R"(]},
      "parameters":{"items":[)" +
                      component("", "user", "\"v\"", attributes) + R"(]},
      "title":{"value":"t"},"subTitle":{"value":"s"},"bodyIcon0LinkPng":{"value":"http"},
      "messageIcon":{"value":"m"},"nextButtonText":{"value":"n"},"showPoweredBy":{"value":true},
      "enablePolling":{"value":true},"pollInterval":{"value":1},"pollRetries":{"value":1},
      "viewPaddingTop":{"value":1},"viewBackgroundColor":{"value":"#123"},
      "fullScreenMode":{"value":true},"navTitle":{"value":"n"},"challenge":{"value":"c"})",
                  {view("ScreenTemplate1"), view("OtpScreenTemplate"), view("ThirdPartyTemplate")});
}

class HostileDocuments : public Host {
 protected:
  struct Silence final : ConsoleSink {
    void print(std::string_view) override {}
  };
  HostileDocuments()
      : quiet([this] {
          Platform ports = platform.ports();
          ports.console = std::make_shared<Silence>();
          return ports;
        }()) {}
  /// Does on the screen what a user can do, then leaves.
  void useScreen() {
    if (!screen()) return leave();
    for (std::size_t row = 0; row < screen()->mainTableView.numberOfRows(); ++row) {
      const auto any = screen()->mainTableView.cell(row);
      if (const auto text = std::dynamic_pointer_cast<TextFieldTableViewCell>(any)) {
        text->textFieldDidChange("typed");
      } else if (const auto choice = std::dynamic_pointer_cast<DropdownTableViewCell>(any)) {
        choice->dropdownButtonPressed();
        if (alert()) alert()->select(0);
      }
    }
    press();
  }
  void leave() {
    if (stack()) stack()->dismiss(false);
    platform.mainQueue->advance(std::chrono::milliseconds(200));
    platform.transport->exchanges.clear();
    EXPECT_LE(outcome->calls.size(), 1u) << "the host hears of a run once";
    outcome->calls.clear();
  }

  const PlatformScope quiet;
};

const std::string kOnLoad =
    R"("onLoadEvent":{"constructType":"vtEvent","eventType":"post","eventName":"l",
       "postProcess":{"localEvent":"fidoAuthentication","eventName":"p"}})";

TEST_F(HostileDocuments, aStrangerInAnyPlaceOfADocumentIsEndured) {
  const std::string step =
      R"("nextEvent":{"constructType":"vtEvent","eventType":"nextUserView","nextUserViewIndex":1})";
  std::size_t seen = 0;
  for (const auto& event : {kPostEvent + ("," + kOnLoad), step}) {
    forEachMutation(everything(event), [&](const std::string& text) {
      open(text);
      useScreen();
      if (screen()) serve("{}");
      if (screen()) platform.mainQueue->advance(std::chrono::milliseconds(250));
      leave();
      ++seen;
    });
  }
  EXPECT_GT(seen, 1'000u);
}

TEST_F(HostileDocuments, aStrangerInAnyPlaceOfAnAnswerIsEndured) {
  const std::string answers[] = {
      R"({"success":1,"access_token":"","challenge":"c","qr":"q","token":"t","apiKey":"k",
          "message":"m","code":1,"initiateAuthenticationResponse":{"a":[]}})",
      R"({"screen":)" + document(kButton) + "}"};
  for (const auto& event : {std::string(kPostEvent), kPostEvent + ("," + kOnLoad)}) {
    const auto good = everything(event);
    for (const auto& answer : answers) {
      forEachMutation(answer, [&](const std::string& text) {
        for (const int status : {200, 400}) {
          open(good);
          useScreen();
          serve(text, status);
          if (screen()) useScreen();
          leave();
        }
      });
    }
  }
}

TEST_F(HostileDocuments, depthIsRefusedAndLengthIsBorne) {
  const std::string deep = R"({"screen":)" + std::string(100'000, '[');
  open(deep);
  EXPECT_EQ(outcome->calls.at(0), "badRequest: Invalid JSON response from server.");
  std::string list;
  for (int i = 0; i < 50'000; ++i) {
    list += (i ? "," : "") + component("textField", "k" + std::to_string(i), "\"\"");
  }
  open(document(std::string(kPostEvent) + R"(,"screenComponentList":{"value":[)" + list + "]}"));
  EXPECT_EQ(screen()->mainTableView.numberOfRows(), 50'000u);
  type(49'999, "x");
  press();
  EXPECT_EQ(sent()["parameters"].serialized(), R"({"k49999":"x"})");
}

}  // namespace
}  // namespace veltrane::testing
