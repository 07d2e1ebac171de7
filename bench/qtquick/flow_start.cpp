// A host that opens a flow at once; tells when the screen of the given class is there.
// usage: flow_start BASE_URL AUTHORITY_FILE SETTINGS_FILE SCREEN_CLASS
#include <QGuiApplication>
#include <QQuickWindow>

#include "bench/qtquick/first_frame.h"
#include "platform/qtquick/flow_presenter.h"
#include "platform/qtquick/flow_stage.h"
#include "platform/qtquick/install.h"
#include "veltrane/base/console.h"
#include "veltrane/flow/vt_flow.h"
#include "veltrane/network/network_api_request.h"

int main(int count, char** words) {
  const QGuiApplication application(count, words);
  if (count != 5) return 2;
  veltrane::APIBaseURL::setProduction(words[1]);
  veltrane::qtquick::install({.authorityFile = words[2], .settingsFile = words[3]});
  QQuickWindow window;
  window.resize(390, 844);
  window.show();
  veltrane::qtquick::FlowPresenter presenter(&window);
  // Without the slide: its first frame would show next to nothing of the screen.
  presenter.stage().setStill(true);
  veltrane::bench::tellFirstFrame(window, [&, wanted = QString::fromUtf8(words[4])] {
    const auto* view = presenter.stage().activeView();
    return view && view->className() == wanted && view->content();
  });
  const auto flow = veltrane::VTFlow::make({.vtApiKey = "key",
                                            .rpId = "localhost",
                                            .origin = "https://localhost",
                                            .companyId = "acme",
                                            .responseTimeOut = 60,
                                            .theme = std::nullopt,
                                            .isSandbox = false});
  flow->runFlow(veltrane::VTFlow::ByFlowId{.flowId = "sign-in",
                                           .fromViewController = presenter.hostViewController()});
  return QGuiApplication::exec();
}
