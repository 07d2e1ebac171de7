#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "veltrane/flow/veltrane_flow_error.h"
#include "veltrane/network/http_transport.h"
#include "veltrane/network/image_downloads.h"
#include "veltrane/network/network_api_request.h"

namespace veltrane {

/// Runs described requests over the installed transport.
struct NetworkManager {
  /// The body or the error; exactly one is present.
  using Callback =
      std::function<void(std::optional<std::string> body, std::optional<VeltraneFlowError> error)>;

  /// Sends the request. Any thread. The callback runs once on the transport's thread (or, for a
  /// request that cannot be sent, on a later turn of the main queue) unless the handle is dropped.
  [[nodiscard]] static std::unique_ptr<HTTPRequestHandle> getRequest(
      const NetworkAPIRequestFor& request, Callback callback);

  /// Fetches a picture, or takes it from memory. Any thread; the completion comes as
  /// `ImageDownloads::download` says.
  [[nodiscard]] static std::unique_ptr<ImageDownload> downloadImage(
      const std::string& urlString, ImageDownloads::Completion completion);
};

}  // namespace veltrane
