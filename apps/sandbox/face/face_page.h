#pragma once

#include <chrono>
#include <mutex>
#include <optional>
#include <string>

#include "apps/sandbox/face/face_picture.h"

namespace httplib {
struct Request;
struct Response;
}  // namespace httplib

namespace veltrane::sandbox {

/// The last picture of a face that came, in memory alone. Wiped as the next one comes. Any thread.
class LastFace {
 public:
  LastFace() = default;
  ~LastFace();
  LastFace(const LastFace&) = delete;
  LastFace& operator=(const LastFace&) = delete;

  void show(FacePicture picture);

  struct Shown {
    FacePicture picture;
    std::chrono::system_clock::time_point cameAt;
    /// How many came so far, this one included.
    int number = 0;
  };
  /// Nothing until one has come.
  std::optional<Shown> last() const;

 private:
  mutable std::mutex mutex_;
  std::optional<Shown> shown_;
};

/// "/face", the page that shows it; held to the rules of own_page.h. Any thread.
class FacePage {
 public:
  /// `faces` must outlive the page.
  explicit FacePage(const LastFace& faces) : faces_(faces) {}

  static bool isItsPath(const std::string& path);

  /// `port`: of the server.
  void answer(const httplib::Request& request, int port, httplib::Response& response) const;

 private:
  const LastFace& faces_;
};

}  // namespace veltrane::sandbox
