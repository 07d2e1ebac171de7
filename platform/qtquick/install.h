#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>

#include "platform/webengine/vendor_addresses.h"
#include "veltrane/platform.h"
#include "veltrane/toolkit/device.h"

namespace veltrane::qtquick {

struct Options {
  /// A PEM bundle of certificate authorities to trust instead of the system's.
  std::optional<std::filesystem::path> authorityFile;
  /// Hears on the main thread why a request has got no response, a line for people without anything
  /// that was sent; absent: the console prints it.
  std::function<void(const std::string&)> requestFailed;
  /// The settings file; absent: the user's own.
  std::optional<std::filesystem::path> settingsFile;
  /// This machine's passkeys; absent: the user's own.
  std::optional<std::filesystem::path> passkeysFile;
  /// Whether the TPM and the desktop's keyring may keep their keys; otherwise a passphrase does,
  /// and a file that is thrown away leaves nothing behind.
  bool machineKeepsPasskeys = true;
  /// Where the identity vendors' web clients are, which stand in for their mobile SDKs.
  webengine::VendorAddresses identityVendors;
  /// Where the QML module `Veltrane.Web` is; absent: beside the program or with Qt's own modules.
  std::optional<std::filesystem::path> webModules;
  /// Absent: told by the size of the screen.
  std::optional<InterfaceIdiom> idiom;
  /// The camera of one face capture, or null when there is none; absent: the system's front camera,
  /// or its only one.
  std::function<std::shared_ptr<Camera>()> makeCamera;
  /// While a face is captured a soft tone rises as the face nears the oval, and another sound tells
  /// that the picture is taken: for people who do not see the screen.
  bool captureTone = false;
};

/// The usual adapters: Qt's event loop, the screen, libcurl, the SQLite settings file, passkeys of
/// this machine and of security keys, the camera, what finds faces, and the flow's own screens. The
/// identity vendors' web clients too, where Qt WebEngine is installed and the application was made
/// with `Qt::AA_ShareOpenGLContexts`. Call on the user-interface thread, with a QGuiApplication.
Platform makePlatform(const Options& options = {});

/// Installs `makePlatform(options)`, process-wide. Once, before the first `VTFlow`. A host that
/// wants another adapter changes the platform and installs it itself.
void install(const Options& options = {});

/// Tells every QML engine of this process about the module `Veltrane.Flow`. `install` and
/// `FlowPresenter` do it too; a host that does neither before it loads its QML calls this.
void registerTypes();

/// True once a platform with a main queue has been installed, by whomever.
bool isInstalled();

}  // namespace veltrane::qtquick
