#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "veltrane/flow/veltrane_flow_error.h"
#include "veltrane/toolkit/picture.h"

namespace veltrane {

/// Keeps a download wanted. Dropping it forgets the download: its completion is not called any
/// more, unless it is running on another thread already. The last one dropped ends the transfer.
class ImageDownload {
 public:
  virtual ~ImageDownload() = default;
};

/// Pictures from the network: decoded ones are kept in memory, and those who ask for the same URL
/// at the same time share one request. One serves the whole process (`Platform`); any thread.
class ImageDownloads {
 public:
  /// The picture, or none and the reason.
  using Completion =
      std::function<void(PicturePtr picture, const std::optional<VeltraneFlowError>& error)>;

  static constexpr std::size_t kDefaultCacheLimit = std::size_t{64} << 20;

  /// `cacheLimit`: bytes of decoded pixels to keep; beyond them the least recently used are
  /// dropped.
  explicit ImageDownloads(std::size_t cacheLimit = kDefaultCacheLimit);
  ~ImageDownloads();
  ImageDownloads(const ImageDownloads&) = delete;
  ImageDownloads& operator=(const ImageDownloads&) = delete;

  /// Calls the completion once: within the call when the picture is kept or the URL is not one that
  /// may be fetched (HTTPS, or a loopback address), else later on the platform's picture queue.
  [[nodiscard]] std::unique_ptr<ImageDownload> download(const std::string& urlString,
                                                        Completion completion);

  /// Bytes of pixels kept at present.
  std::size_t cachedBytes() const;

 private:
  class State;
  std::shared_ptr<State> state_;
};

}  // namespace veltrane
