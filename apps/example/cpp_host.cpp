// A host in C++: opens the sign-in flow over its window and prints the outcome.
//
//   cpp_host <base URL of the API> <PEM file of the authority to trust>
#include <QGuiApplication>
#include <QQuickWindow>
#include <iostream>

#include "platform/qtquick/flow_presenter.h"
#include "platform/qtquick/install.h"
#include "veltrane/flow/vt_flow.h"
#include "veltrane/network/network_api_request.h"

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
  QGuiApplication application(count, words);
  if (count < 3) return std::cerr << "usage: cpp_host BASE_URL AUTHORITY_FILE\n", 2;
  veltrane::APIBaseURL::setProduction(words[1]);
  veltrane::qtquick::install({.authorityFile = words[2]});

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
