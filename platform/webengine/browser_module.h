#pragma once

#include <QString>

namespace veltrane::webengine {

/// Where the browser is: a QML module "Veltrane.Web" of its own, so that no program waits for a web
/// engine at its start. It is loaded when a sheet first has a page.
///
/// Empty when this process cannot have a browser: the module or the engine is not installed, the
/// application was made without `Qt::AA_ShareOpenGLContexts`, or it runs as root, which the engine
/// refuses without `QTWEBENGINE_DISABLE_SANDBOX`. User-interface thread, with a QGuiApplication.
QString findBrowserModules(const QString& hostsFolder);

/// The engine's processes can be locked in. Where they cannot be, it would end the program.
bool canLockBrowserIn();

}  // namespace veltrane::webengine
