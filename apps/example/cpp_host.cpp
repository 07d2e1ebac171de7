// A host in C++: opens the sign-in flow over its window and prints the outcome.
//
//   cpp_host <base URL of the API> <PEM file of the authority to trust>
//
// Exit status: 0 signed in, 1 not signed in, 2 wrong use or no display.
#include <QGuiApplication>
#include <QQuickWindow>
#include <iostream>

#include "apps/example/host.h"
#include "platform/qtquick/flow_presenter.h"
#include "platform/qtquick/install.h"
#include "veltrane/flow/vt_flow.h"

namespace {

struct Outcome final : veltrane::VeltraneFlowDelegate {
  void flowDidComplete(const std::optional<veltrane::JSON>& response,
                       const std::optional<veltrane::VeltraneFlowError>& error) override {
    std::cout << (response ? "Signed in." : error->errorDescription()) << std::endl;
    QGuiApplication::exit(response ? 0 : 1);
  }
};

}  // namespace

int main(int count, char** words) {
  if (!example::useServer("cpp_host", count, words)) return 2;
  const auto application = example::makeApplication("cpp_host", count, words);
  // The library's diagnostic lines go to standard error unless the platform has a console. A host
  // with a log of its own puts a ConsoleSink there; this one has none and keeps quiet.
  auto platform = veltrane::qtquick::makePlatform({.authorityFile = words[2]});
  platform.console = std::make_shared<example::Quiet>();
  veltrane::Platform::install(std::move(platform));

  QQuickWindow window;
  window.resize(390, 844);
  window.show();
  veltrane::qtquick::FlowPresenter presenter(&window);
  const auto flow = veltrane::VTFlow::make({.vtApiKey = "demo-key",
                                            .rpId = "localhost",
                                            .origin = "https://localhost",
                                            .companyId = "acme",
                                            .responseTimeOut = 60,
                                            .theme = std::nullopt,
                                            .isSandbox = false});
  flow->delegate = std::make_shared<Outcome>();
  flow->runFlow(veltrane::VTFlow::ByFlowId{.flowId = "two-step-sign-in",
                                           .fromViewController = presenter.hostViewController()});
  return QGuiApplication::exec();
}
