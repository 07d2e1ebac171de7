#pragma once

#include <QGuiApplication>
#include <memory>
#include <string>
#include <string_view>

#include "veltrane/base/console.h"

/// What both hosts do around the flow: a command line, and a word where no window can open.
namespace example {

/// Takes diagnostic lines and forgets them.
struct Quiet final : veltrane::ConsoleSink {
  void print(std::string_view /*line*/) override {}
};

/// Points the library at the server that the command line names. False, with a line on standard
/// error, when it names none that the library would ask, or no file to read the authority from.
bool useServer(const std::string& program, int count, char** words);

/// Ends the program with status 2 and a line on standard error when there is no display.
std::unique_ptr<QGuiApplication> makeApplication(const std::string& program, int& count,
                                                 char** words);

}  // namespace example
