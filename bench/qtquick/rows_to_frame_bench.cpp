// The first frame of a screen of 5,000 rows against that of a screen of 20, on one presenter that
// has shown screens before. Off screen unless the environment says otherwise.
#include <benchmark/benchmark.h>

#include <QGuiApplication>
#include <QQuickItem>
#include <chrono>
#include <memory>
#include <string>

#include "bench/document_generator.h"
#include "bench/qtquick/flow_host.h"
#include "bench/ratio_reporter.h"
#include "veltrane/engine/generic_view_model.h"
#include "veltrane/toolkit/navigation_controller.h"
#include "veltrane/ui/screen_template1_vc.h"

namespace {

using namespace veltrane;
using Clock = std::chrono::steady_clock;

/// A screen says on the console that its rows are made; what comes after is the way to the frame.
struct RowsAreThere final : ConsoleSink {
  void print(std::string_view line) override {
    if (line.starts_with("userViewProps::: ")) at = Clock::now();
  }
  Clock::time_point at;
};

class Host {
 public:
  struct Times {
    double fromRows;
    double fromProps;
  };
  /// Seconds until a frame shows the screen, from its rows and from its user view dictionary.
  Times show(const UserViewProps& props) {
    const auto screen = std::make_shared<ScreenTemplate1VC>();
    screen->userViewProps = props;
    screen->userViewIndex = 0;
    const auto stack = NavigationController::make(screen);
    const auto start = Clock::now();
    host_.present(stack);
    host_.waitUntil([&] { return shows(screen->mainTableView.numberOfRows()); });
    const auto end = Clock::now();
    stack->dismiss(false);
    host_.waitUntilGone();
    return {seconds(console_->at, end), seconds(start, end)};
  }

 private:
  static double seconds(Clock::time_point from, Clock::time_point to) {
    return std::chrono::duration<double>(to - from).count();
  }
  bool shows(std::size_t rows) {
    const auto* form = host_.rows();
    return form && form->property("count").toULongLong() == rows;
  }

  std::shared_ptr<RowsAreThere> console_ = std::make_shared<RowsAreThere>();
  bench::FlowHost host_{console_};
};

void add(Host& host, const std::string& name, std::size_t rows, double Host::Times::*time) {
  const auto document = JSON::parse(bench::generateScreen(rows).text);
  const auto props = GenericViewModel::getUserViewProps(document.value);
  benchmark::RegisterBenchmark((name + std::to_string(rows)).c_str(),
                               [&host, props, time](benchmark::State& state) {
                                 for (auto _ : state)
                                   state.SetIterationTime(host.show(props).*time);
                               })
      ->Unit(benchmark::kMicrosecond)
      ->UseManualTime()
      ->Iterations(4);
}

}  // namespace

int main(int argc, char** argv) {
  if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
  const QGuiApplication application(argc, argv);
  Host host;
  for (const std::size_t rows : {20, 5000}) {
    add(host, "rows_to_frame/", rows, &Host::Times::fromRows);
    add(host, "view_to_frame/", rows, &Host::Times::fromProps);
  }
  return bench::runPairs(
      argc, argv,
      {{"rows to first frame, 5,000 against 20", "rows_to_frame/5000", "rows_to_frame/20", 1.10},
       {"user view to first frame, 5,000 against 20", "view_to_frame/5000", "view_to_frame/20",
        1.10}});
}
