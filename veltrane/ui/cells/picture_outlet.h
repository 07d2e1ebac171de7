#pragma once

#include <functional>
#include <memory>
#include <string>

#include "veltrane/base/json.h"
#include "veltrane/toolkit/picture.h"

namespace veltrane {

/// The picture of one row: fetched and decoded away from the main thread, and let go while the row
/// is out of sight. All rows in sight together hold 256 MiB at most. Main thread only.
class PictureOutlet {
 public:
  /// `show` is called with the picture when it is there, and with null when it is let go. It is not
  /// called any more once the outlet is gone.
  explicit PictureOutlet(std::function<void(PicturePtr)> show);
  ~PictureOutlet();
  PictureOutlet(const PictureOutlet&) = delete;
  PictureOutlet& operator=(const PictureOutlet&) = delete;

  /// Fetches the variant of the URL for the screen's density.
  void loadURL(const std::string& urlString);
  /// Decodes text that holds a picture.
  void loadBase64(const JSON& text);

  /// Lets the picture go, or what is under way to it.
  void didEndDisplaying();
  /// Loads again what was let go.
  void willDisplay();
  /// There is a picture to load, loaded or not.
  bool hasSource() const { return start_ != nullptr; }
  /// Under way: neither has the picture arrived nor is it known that it will not.
  bool isLoading() const;

 private:
  class Loading;
  class Messenger;

  void load(std::function<void(const std::shared_ptr<Loading>&)> start);

  std::function<void(PicturePtr)> show_;
  /// Starts the loading of what this outlet shows; empty while there is nothing to show.
  std::function<void(const std::shared_ptr<Loading>&)> start_;
  /// What is under way or arrived; null while the row is out of sight.
  std::shared_ptr<Loading> loading_;
};

}  // namespace veltrane
