#pragma once

#include <gmock/gmock.h>

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tests/support/fakes.h"
#include "veltrane/flow/user_defaults_manager.h"
#include "veltrane/flow/vt_flow.h"
#include "veltrane/toolkit/alert_controller.h"
#include "veltrane/toolkit/navigation_controller.h"
#include "veltrane/ui/screen_template1_vc.h"

namespace veltrane::testing {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::StartsWith;

inline JSON parsed(std::string_view text) {
  const auto result = JSON::parse(text);
  EXPECT_TRUE(result.ok()) << result.error << ": " << text;
  return result.value;
}

/// A user view, with the properties of `config` if one is named.
inline std::string view(std::string_view templateName, std::string_view config = "") {
  std::string text = R"({"screenTemplateName":")" + std::string(templateName) + '"';
  if (!config.empty()) text += R"(,"screenConfigName":")" + std::string(config) + '"';
  return text + '}';
}

/// A flow document. `properties`: the members of the screen's property set.
inline std::string document(std::string_view properties,
                            const std::vector<std::string>& views = {view("ScreenTemplate1")}) {
  std::string text = R"({"id":"id-1","companyId":"co","flowId":"fl","connectionId":"con",)"
                     R"("capabilityName":"cap","interactionId":"in","screen":{"userViews":[)";
  for (std::size_t i = 0; i < views.size(); ++i) text += (i ? "," : "") + views[i];
  return text + R"(],"properties":{)" + std::string(properties) + "}}}";
}

/// A property set under a name that `view` may give.
inline std::string config(std::string_view name, std::string_view properties) {
  return '"' + std::string(name) + R"(":{"properties":{)" + std::string(properties) + "}}";
}

inline std::string component(std::string_view control, std::string_view key, std::string_view value,
                             std::string_view attributes = "{}") {
  return R"({"preferredControlType":")" + std::string(control) + R"(","propertyName":")" +
         std::string(key) + R"(","value":)" + std::string(value) + R"(,"attributes":)" +
         std::string(attributes) + '}';
}

/// Members of a property set, each as its JSON text.
using Properties = std::vector<std::string>;

inline std::string joined(const Properties& properties) {
  std::string text;
  for (const auto& each : properties) text += (text.empty() ? "" : ",") + each;
  return text;
}

inline std::string components(const Properties& list) {
  return R"("screenComponentList":{"value":[)" + joined(list) + "]}";
}

inline constexpr const char* kPostEvent =
    R"("nextEvent":{"constructType":"vtEvent","eventType":"post","eventName":"go"})";
inline constexpr const char* kOnLoadEvent =
    R"("onLoadEvent":{"constructType":"vtEvent","eventType":"post","eventName":"load"})";
inline constexpr const char* kButton = R"("nextButtonText":{"value":"Next"})";

/// "transition class" of what a window shows.
inline std::string described(const PresentationChange& change) {
  static constexpr const char* kNames[] = {"present", "root", "push",     "modal",
                                           "alert",   "back", "dismissed"};
  return std::string(kNames[static_cast<int>(change.transition)]) + ' ' +
         std::string(change.controller->className());
}

struct RecordingDelegate final : VeltraneFlowDelegate {
  void flowDidComplete(const std::optional<JSON>& response,
                       const std::optional<VeltraneFlowError>& error) override {
    EXPECT_NE(response.has_value(), error.has_value());
    calls.push_back(error ? std::string(error->reasonName()) + ": " + error->errorDescription()
                          : response->serialized().value_or("?"));
  }
  std::vector<std::string> calls;
};

/// A host application whose user, server and clock are the test.
class Host : public ::testing::Test {
 protected:
  Host() {
    flow->delegate = outcome;
    listening = window->presentationChanged.subscribe(
        [this](const PresentationChange& change) { shown.push_back(described(change)); });
  }

  /// Runs a flow and answers its start.
  void open(std::string_view answer) {
    flow->runFlow({.flowId = "fl", .fromViewController = window});
    platform.mainQueue->run();
    serve(answer);
  }
  /// Answers the latest request.
  void serve(std::string_view body, int status = 200) {
    platform.transport->answer(status, std::string(body));
    platform.mainQueue->run();
  }
  /// Lets everything that decodes or waits for the main thread run.
  void settle() {
    platform.pictureQueue->run();
    platform.mainQueue->run();
  }
  std::size_t requests() const { return platform.transport->exchanges.size(); }
  const HTTPRequest& request() const { return platform.transport->last().request; }
  /// The body of the latest request.
  JSON sent() const { return parsed(request().body.value()); }

  std::shared_ptr<NavigationController> stack() const {
    return std::dynamic_pointer_cast<NavigationController>(window->presentedViewController());
  }
  std::shared_ptr<ScreenTemplate1VC> screen() const {
    return stack() ? std::dynamic_pointer_cast<ScreenTemplate1VC>(stack()->topViewController())
                   : nullptr;
  }
  template <typename Cell>
  std::shared_ptr<Cell> cell(std::size_t row) const {
    const auto found = std::dynamic_pointer_cast<Cell>(screen()->mainTableView.cell(row));
    if (!found) throw std::runtime_error("row " + std::to_string(row) + " is of another class");
    return found;
  }
  void type(std::size_t row, const std::string& text) {
    cell<TextFieldTableViewCell>(row)->textFieldDidChange(text);
  }
  void press() {
    screen()->buttonPressed();
    platform.mainQueue->run();
  }
  /// The alert over the screen on display, if there is one.
  std::shared_ptr<AlertController> alert() const {
    return std::dynamic_pointer_cast<AlertController>(screen()->presentedViewController());
  }

  FakePlatform platform;
  std::shared_ptr<HostViewController> window = std::make_shared<HostViewController>();
  std::shared_ptr<RecordingDelegate> outcome = std::make_shared<RecordingDelegate>();
  std::shared_ptr<VTFlow> flow = VTFlow::make({.vtApiKey = "key",
                                               .rpId = "rp",
                                               .origin = "https://rp",
                                               .companyId = "co",
                                               .responseTimeOut = 30,
                                               .theme = std::nullopt,
                                               .isSandbox = false});
  /// What the window's front end was told, as "transition class".
  std::vector<std::string> shown;
  Subscription listening;
};

}  // namespace veltrane::testing
