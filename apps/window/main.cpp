// Opens a flow in a window; with --pictures off screen.
#include <CLI/CLI.hpp>
#include <QGuiApplication>
#include <atomic>
#include <cstdlib>
#include <exception>
#include <iostream>
#include <memory>
#include <string>
#include <utility>

#include "apps/vtflow/drive/exit_status.h"
#include "apps/vtflow/messages.h"
#include "apps/vtflow/silence.h"
#include "apps/vtflow/temporary_folder.h"
#include "apps/vtflow/termination_signals.h"
#include "apps/vtflow/wrong_use.h"
#include "apps/window/display.h"
#include "apps/window/script.h"
#include "apps/window/window_options.h"
#include "apps/window/window_run.h"
#include "platform/opencv/file_camera.h"
#include "platform/qtquick/install.h"

namespace {

using namespace veltrane;
namespace exit_status = tool::exit_status;

constexpr double kFramesPerSecond = 30;

void setUnlessSet(const char* variable, const char* value) {
  const char* const former = std::getenv(variable);
  if (!former || !*former) setenv(variable, value, 1);
}

/// For pictures, or for a script without a display, Qt draws into memory. Must come before the
/// application.
void chooseDisplay(const window::WindowOptions& options) {
  if (!options.pictures && !(options.script && !window::isDisplayNamed())) return;
  setenv("QT_QPA_PLATFORM", "offscreen", 1);
  setUnlessSet("QT_QUICK_BACKEND", "software");
  setUnlessSet("QT_SCALE_FACTOR", "2");
  setUnlessSet("QTWEBENGINE_CHROMIUM_FLAGS", "--disable-gpu");
}

std::unique_ptr<QGuiApplication> makeApplication(int& count, char** words) {
  const window::DisplayCheck check(
      "vtflow run",
      "start it where there is one, or leave pictures of the screens with --pictures DIR");
  // A browser that comes later draws into the windows.
  QCoreApplication::setAttribute(Qt::AA_ShareOpenGLContexts);
  return std::make_unique<QGuiApplication>(count, words);
}

void installPlatform(const window::WindowOptions& options, const std::filesystem::path& folder,
                     const std::shared_ptr<std::atomic<bool>>& cameraHasEnded) {
  qtquick::Options wishes;
  wishes.authorityFile = options.flow.authorityFile;
  wishes.settingsFile = options.flow.store.value_or(folder / "settings.db");
  wishes.passkeysFile = options.credentials;
  // What a script chooses, its PIN say, is nothing to keep.
  if (options.script && !options.credentials) wishes.passkeysFile = folder / "passkeys.db";
  wishes.machineKeepsPasskeys = !options.script;
  wishes.identityVendors.userAgent = "Veltrane vtflow/" VELTRANE_VERSION;
  if (options.identityVendors) {
    std::string address = *options.identityVendors;
    while (address.ends_with('/')) address.pop_back();
    wishes.identityVendors.onfidoScript = address + "/onfido/loader.js";
    wishes.identityVendors.jumio = std::move(address);
  }
  if (options.tablet) wishes.idiom = InterfaceIdiom::pad;
  // The flow's own words for it say no more than that there was none.
  if (!options.verbose) {
    wishes.requestFailed = [](const std::string& why) {
      std::cerr << "vtflow run: " << tool::asReason(why) << '\n';
    };
  }
  auto platform = qtquick::makePlatform(wishes);
  if (options.camera) {
    // At a camera's pace, so that a person can follow.
    platform.makeCamera = [path = *options.camera, cameraHasEnded] {
      *cameraHasEnded = false;
      return opencv::makeFileCamera({.path = path,
                                     .framesPerSecond = kFramesPerSecond,
                                     .ended = [cameraHasEnded] { *cameraHasEnded = true; }});
    };
  }
  if (!options.verbose) platform.console = std::make_shared<tool::Silence>();
  Platform::install(std::move(platform));
  tool::applyServerURLs(options.flow);
}

int run(window::WindowOptions& options, int& count, char** words) {
  std::vector<JSON> script;
  if (options.script) script = window::readScript(*options.script);
  if (options.look) applyLook(*options.look, options);
  chooseDisplay(options);
  // Before any thread. What is under way then ends in good order, the temporary folder with it.
  const tool::TerminationSignals held;
  const auto application = makeApplication(count, words);
  const tool::TemporaryFolder folder;
  const auto cameraHasEnded = std::make_shared<std::atomic<bool>>(false);
  installPlatform(options, folder.path(), cameraHasEnded);
  int status = exit_status::kNoResult;
  {
    window::WindowRun flow(options, std::move(script), cameraHasEnded);
    const tool::SignalWatch watch([&flow] {
      QMetaObject::invokeMethod(
          &flow, [&flow] { flow.giveUp("interrupted"); }, Qt::QueuedConnection);
    });
    status = flow.run();
  }
  // The adapters live on this thread and must not outlive the application.
  Platform::install({});
  opencv::waitForFileCameras();
  return status;
}

int fail(const std::string& text, int status) {
  std::cerr << "vtflow run: " << tool::asReason(text) << '\n';
  return status;
}

/// A result that nobody can have read is none.
int unlessOutputIsLost(int status) {
  if (std::cout.flush()) return status;
  fail("cannot write to standard output", status);
  return status == exit_status::kResponse ? exit_status::kNoResult : status;
}

}  // namespace

int main(int count, char** words) {
  window::WindowOptions options;
  CLI::App app{"Runs a flow of the Veltrane orchestration server in a window", "vtflow run"};
  addWindowOptions(app, options);
  tool::refuseNamesAsValues(app);
  try {
    app.parse(count, words);
    return unlessOutputIsLost(run(options, count, words));
  } catch (const CLI::ParseError& error) {
    if (error.get_exit_code() == 0) return unlessOutputIsLost(app.exit(error));
    return fail(tool::wrongUse(app, error) + " (see vtflow run --help)", exit_status::kUsage);
  } catch (const window::FileError& error) {
    return fail(error.what(), exit_status::kUsage);
  } catch (const std::exception& error) {
    return fail(error.what(), exit_status::kNoResult);
  }
}
