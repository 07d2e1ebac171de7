#include "apps/window/display.h"

#include <QString>
#include <QtGlobal>
#include <cstdlib>
#include <iostream>
#include <string_view>
#include <utility>

namespace veltrane::window {
namespace {

struct Check {
  std::string program;
  std::string advice;
  QtMessageHandler former = nullptr;
};
Check current;

std::string_view variable(const char* name) {
  const char* const value = std::getenv(name);
  return value ? value : "";
}

std::string whatIsMissing() {
  if (!isDisplayNamed()) return "there is no display";
  for (const char* const name : {"QT_QPA_PLATFORM", "WAYLAND_DISPLAY", "DISPLAY"}) {
    const auto value = variable(name);
    if (value.empty()) continue;
    return "the display cannot be opened (" + std::string(name) + " is \"" + std::string(value) +
           "\")";
  }
  return "there is no display";
}

/// Qt's last words name plugins, which helps nobody here; what led to them is left out as well.
void hear(QtMsgType type, const QMessageLogContext&, const QString&) {
  if (type != QtFatalMsg) return;
  std::cerr << current.program << ": " << whatIsMissing() << "; " << current.advice << std::endl;
  std::_Exit(kNoDisplay);
}

}  // namespace

DisplayCheck::DisplayCheck(std::string program, std::string advice) {
  current = {std::move(program), std::move(advice)};
  current.former = qInstallMessageHandler(hear);
}

DisplayCheck::~DisplayCheck() {
  qInstallMessageHandler(current.former);
}

bool isDisplayNamed() {
  for (const char* const name : {"QT_QPA_PLATFORM", "WAYLAND_DISPLAY", "DISPLAY"}) {
    if (!variable(name).empty()) return true;
  }
  return false;
}

}  // namespace veltrane::window
