#pragma once

#include <string>

namespace veltrane::window {

/// Exit status of a program whose window finds no display.
inline constexpr int kNoDisplay = 2;

/// While it lives, making a QGuiApplication without a display that can be opened ends the program
/// with `kNoDisplay` and one line on standard error, "<program>: <what is missing>; <advice>".
/// Without it Qt aborts. One at a time; make it before the application and drop it after.
class DisplayCheck {
 public:
  DisplayCheck(std::string program, std::string advice);
  ~DisplayCheck();
  DisplayCheck(const DisplayCheck&) = delete;
  DisplayCheck& operator=(const DisplayCheck&) = delete;
};

/// The environment names a display, or a way of Qt's to do without one. It need not be there.
bool isDisplayNamed();

}  // namespace veltrane::window
