#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "tests/core/host.h"
#include "tests/support/fake_identity_sdks.h"

namespace veltrane::testing {

/// A host with every vendor's SDK, whose flow has a first screen, the hand-over behind its button
/// (view 1), and a last screen (view 2).
class HandOverHost : public Host {
 protected:
  HandOverHost() { install(); }

  void install() {
    Platform ports = platform.ports();
    ports.netverify = netverify;
    ports.jumioAuthentication = authentication;
    ports.onfido = onfido;
    Platform::install(ports);
  }

  /// Opens the flow and presses: the hand-over begins with these properties of its user view.
  void start(std::string_view templateName, const Properties& properties) {
    const auto next = R"("nextEvent":{"constructType":"vtEvent","eventType":"nextUserView",)"
                      R"("nextUserViewIndex":1})";
    Properties step = properties;
    step.emplace_back(
        R"("nextEvent":{"constructType":"vtEvent","eventType":"post","eventName":"verified"})");
    open(document(joined({next, config("b", joined(step))}),
                  {view("ScreenTemplate1"), view(templateName, "b"), view("ScreenTemplate2")}));
    press();
  }
  void startJumio(const Properties& properties) { start("ThirdPartyiFrameTemplate", properties); }
  void startOnFido(const Properties& properties) { start("ThirdPartyTemplate", properties); }

  static std::string property(std::string_view name, std::string_view value) {
    return '"' + std::string(name) + R"(":{"value":)" + std::string(value) + '}';
  }
  /// What lies over the first screen.
  std::shared_ptr<ViewController> over() const { return screen()->presentedViewController(); }
  std::string alertMessage() const {
    return alert() ? alert()->title.value_or("") + ": " + alert()->message().value_or("") : "none";
  }
  /// The parameters of the step's event, which has just left.
  std::string sentParameters() const {
    EXPECT_EQ(sent()["eventName"].text(), "verified");
    return sent()["parameters"].serialized().value_or("?");
  }
  bool nothingHappened() const {
    return requests() == 1 && outcome->calls.empty() && over() == nullptr;
  }

  std::shared_ptr<FakeNetverifySDK> netverify = std::make_shared<FakeNetverifySDK>();
  std::shared_ptr<FakeAuthenticationSDK> authentication = std::make_shared<FakeAuthenticationSDK>();
  std::shared_ptr<FakeOnfidoSDK> onfido = std::make_shared<FakeOnfidoSDK>();
};

}  // namespace veltrane::testing
