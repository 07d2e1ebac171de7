// Opens a flow in a window; with --pictures off screen.
#include <CLI/CLI.hpp>
#include <QGuiApplication>
#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <exception>
#include <iostream>
#include <string_view>
#include <utility>

#include "apps/vtflow/drive/exit_status.h"
#include "apps/vtflow/temporary_folder.h"
#include "apps/vtflow/termination_signals.h"
#include "apps/window/script.h"
#include "apps/window/window_options.h"
#include "apps/window/window_run.h"
#include "platform/qtquick/install.h"
#include "veltrane/base/console.h"

namespace {

using namespace veltrane;
namespace exit_status = tool::exit_status;

class Silence final : public ConsoleSink {
  void print(std::string_view /*line*/) override {}
};

/// Without a display, or for pictures, Qt draws into memory. Must come before the application.
void chooseDisplay(const window::WindowOptions& options) {
  const bool none = !std::getenv("DISPLAY") && !std::getenv("WAYLAND_DISPLAY");
  if (!options.pictures && !(options.script && none)) return;
  setenv("QT_QPA_PLATFORM", "offscreen", 0);
  setenv("QT_QUICK_BACKEND", "software", 0);
  setenv("QT_SCALE_FACTOR", "2", 0);
}

void installPlatform(const window::WindowOptions& options, const std::filesystem::path& store) {
  qtquick::Options wishes;
  wishes.authorityFile = options.flow.authorityFile;
  wishes.settingsFile = options.flow.store.value_or(store);
  if (options.tablet) wishes.idiom = InterfaceIdiom::pad;
  auto platform = qtquick::makePlatform(wishes);
  if (!options.verbose) platform.console = std::make_shared<Silence>();
  Platform::install(std::move(platform));
  tool::applyServerURLs(options.flow);
}

/// A run that ended without a result and without having said why.
void explain(const window::WindowOptions& options, bool interrupted) {
  if (interrupted) {
    std::cout << "result   none: interrupted" << std::endl;
  } else if (!options.script) {
    std::cout << "result   none: "
              << (options.pictures ? "there is no --script to go on with" : "the window was closed")
              << std::endl;
  }
}

int run(window::WindowOptions& options, int& count, char** words) {
  std::vector<JSON> script;
  if (options.script) script = window::readScript(*options.script);
  if (options.look) applyLook(*options.look, options);
  chooseDisplay(options);
  // Before any thread. What is under way then ends in good order, the temporary folder with it.
  const tool::TerminationSignals held;
  QGuiApplication application(count, words);
  const tool::TemporaryFolder folder;
  installPlatform(options, folder.path() / "settings.db");
  std::atomic<bool> interrupted = false;
  int status = exit_status::kNoResult;
  {
    const tool::SignalWatch watch([&] {
      interrupted = true;
      QMetaObject::invokeMethod(
          &application, [] { QCoreApplication::exit(exit_status::kNoResult); },
          Qt::QueuedConnection);
    });
    status = window::WindowRun(options, std::move(script)).run();
  }
  if (status == exit_status::kNoResult) explain(options, interrupted);
  // The adapters live on this thread and must not outlive the application.
  Platform::install({});
  return status;
}

int fail(std::string text, int status) {
  std::replace(text.begin(), text.end(), '\n', ' ');
  std::cerr << "vtflow run: " << text << '\n';
  return status;
}

}  // namespace

int main(int count, char** words) {
  window::WindowOptions options;
  CLI::App app{"Runs a flow of the Veltrane orchestration server in a window", "vtflow run"};
  addWindowOptions(app, options);
  try {
    app.parse(count, words);
    return run(options, count, words);
  } catch (const CLI::ParseError& error) {
    if (error.get_exit_code() == 0) return app.exit(error);
    return fail(std::string(error.what()) + " (see vtflow run --help)", exit_status::kUsage);
  } catch (const window::FileError& error) {
    return fail(error.what(), exit_status::kUsage);
  } catch (const std::exception& error) {
    return fail(error.what(), exit_status::kNoResult);
  }
}
