// The first frame of a list of 1,000 methods, and the one in which their icons are there too,
// against the first frame of a bare QML list of as many texts in the same window. Off screen unless
// the environment says otherwise.
#include <benchmark/benchmark.h>

#include <QGuiApplication>
#include <QQmlComponent>
#include <QQmlEngine>
#include <QQuickItem>
#include <algorithm>
#include <chrono>
#include <functional>
#include <memory>
#include <string>

#include "bench/qtquick/flow_host.h"
#include "bench/ratio_reporter.h"
#include "platform/qtquick/picture_view.h"
#include "veltrane/toolkit/navigation_controller.h"
#include "veltrane/ui/mfa_screen1_vc.h"

namespace {

using namespace veltrane;
using Clock = std::chrono::steady_clock;

constexpr int kRows = 1'000;
constexpr const char* kBareList =
    "import QtQuick\n"
    "ListView { id: list; anchors.fill: parent; model: 1000\n"
    "delegate: Text { required property int index; text: 'Method ' + index; width: list.width } }";

struct Silence final : ConsoleSink {
  void print(std::string_view /*line*/) override {}
};

double secondsSince(Clock::time_point start) {
  return std::chrono::duration<double>(Clock::now() - start).count();
}

/// Methods of one screen and one icon each.
JSON flowDocument() {
  std::string methods;
  for (int i = 0; i < kRows; ++i) {
    const auto number = std::to_string(i);
    methods += (i ? "," : "") + std::string(R"({"connectorId":"c)") + number +
               R"(","connectionId":"n","capabilityName":"use","properties":{"title":{"value":)" +
               R"("Method )" + number + R"("},"authDescription":{"value":"What it is, )" + number +
               R"("},"iconUrlPng":{"value":"https://icons.example/)" + number +
               R"(.png"}},"userViews":[{"screenTemplateName":"ScreenTemplate1",)" +
               R"("screenConfigName":"own"}]})";
  }
  const auto parsed = JSON::parse(
      R"({"screen":{"userViews":[{"items":[{"propertyName":"mfaList"}]}],"properties":{"own":{},)"
      R"("mfaList":{"constructType":"vtConnectorList","value":[)" +
      methods + "]}}}}");
  return parsed.value;
}

class Methods {
 public:
  /// The first run fetches the icons; from then on they are in memory.
  Methods() { show(); }

  struct Times {
    double rows;
    double icons;
  };
  /// Seconds until a frame shows the rows, and until one shows all their icons.
  Times show() {
    const auto screen = std::make_shared<MfaScreen1VC>();
    screen->flow = flow_;
    const auto stack = NavigationController::make(screen);
    const auto start = Clock::now();
    host_.present(stack);
    Times took{};
    host_.waitUntil([&] {
      if (took.rows == 0 && showsRows()) took.rows = secondsSince(start);
      return isComplete();
    });
    took.icons = secondsSince(start);
    stack->dismiss(false);
    host_.waitUntilGone();
    return took;
  }
  double showBare() {
    const auto start = Clock::now();
    QQmlComponent component(&engine_);
    component.setData(kBareList, {});
    const std::unique_ptr<QObject> made(component.create());
    auto* const list = qobject_cast<QQuickItem*>(made.get());
    list->setParentItem(host_.window.contentItem());
    host_.waitUntil([&] { return list->property("count").toInt() == kRows; });
    return secondsSince(start);
  }

 private:
  bool showsRows() {
    const auto* rows = host_.rows();
    return rows && rows->property("count").toInt() == kRows;
  }
  bool isComplete() {
    int icons = 0;
    const bool complete = showsRows() && allThere(*host_.rows(), icons) && icons > 0;
    if (!complete) fetch();
    return complete;
  }
  /// Below `item` no icon is missing; counts them. Delegates are children to look at only.
  static bool allThere(const QQuickItem& item, int& icons) {
    if (const auto* icon = qobject_cast<const qtquick::PictureView*>(&item)) {
      ++icons;
      return icon->picture().isHere();
    }
    const auto below = item.childItems();
    return std::all_of(below.begin(), below.end(),
                       [&](const QQuickItem* child) { return allThere(*child, icons); });
  }
  void fetch() {
    for (const auto& exchange : host_.fakes.transport->exchanges) {
      exchange->finish(HTTPResponse{200, "picture 80x80"});
    }
    host_.fakes.pictureQueue->run();
    host_.window.update();
  }

  bench::FlowHost host_{std::make_shared<Silence>()};
  QQmlEngine engine_;
  JSON flow_ = flowDocument();
};

}  // namespace

int main(int argc, char** argv) {
  if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
  const QGuiApplication application(argc, argv);
  Methods methods;
  const auto add = [](const char* name, std::function<double()> show) {
    benchmark::RegisterBenchmark(name,
                                 [show = std::move(show)](benchmark::State& state) {
                                   for (auto _ : state) state.SetIterationTime(show());
                                 })
        ->Unit(benchmark::kMicrosecond)
        ->UseManualTime()
        ->Iterations(4);
  };
  add("methods", [&] { return methods.show().rows; });
  add("methods_and_icons", [&] { return methods.show().icons; });
  add("bare_list", [&] { return methods.showBare(); });
  return bench::runPairs(argc, argv,
                         {{"1,000 methods, to their first frame", "methods", "bare_list", 1.5},
                          {"with all icons", "methods_and_icons", "bare_list", 1.5}});
}
