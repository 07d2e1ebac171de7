#pragma once

#include <unistd.h>

#include <QQuickWindow>
#include <functional>

namespace veltrane::bench {

/// Writes one byte to standard output once a frame was shown while `isThere` held, for whoever
/// measures how long this took from the start of the process.
inline void tellFirstFrame(QQuickWindow& window, std::function<bool()> isThere) {
  QObject::connect(&window, &QQuickWindow::frameSwapped, &window,
                   [isThere = std::move(isThere), told = false]() mutable {
                     if (told || !isThere()) return;
                     told = write(STDOUT_FILENO, "1", 1) == 1;
                   });
}

}  // namespace veltrane::bench
