#include "platform/fido2/key_finder.h"

#include <string.h>  // NOLINT: strerrorname_np

#include <algorithm>
#include <cerrno>
#include <utility>

#include "platform/fido2/key_failure.h"

namespace veltrane::fido2 {
namespace {

/// The touched key of `keys`, blinking all the while; those that fail leave the list.
std::unique_ptr<KeyConnection> takeTouched(std::vector<std::unique_ptr<KeyConnection>>& keys,
                                           std::chrono::milliseconds glance) {
  for (auto key = keys.begin(); key != keys.end();) {
    int touched = 0;
    const int limit = static_cast<int>(glance.count());
    const int result = fido_dev_get_touch_status((*key)->device(), &touched, limit);
    if (touched != 0) {
      auto winner = std::move(*key);
      keys.erase(key);
      return winner;
    }
    key = result != FIDO_OK || (*key)->isGone() ? keys.erase(key) : key + 1;
  }
  return nullptr;
}

}  // namespace

KeyFinder::KeyFinder(KeySource& source, Conversation& talk, Occasion occasion,
                     KeyConnection::Clock::time_point deadline, Patience patience)
    : source_(source),
      talk_(talk),
      occasion_(std::move(occasion)),
      deadline_(deadline),
      patience_(patience) {}

std::unique_ptr<KeyConnection> KeyFinder::find() {
  told_.reset();
  tried_.clear();
  while (!isOver()) {
    const auto paths = present();
    if (paths != tried_) {
      // A key may take its time to be opened.
      told_.reset();
      if (!paths.empty()) talk_.show(working(occasion_), ifCancelled_);
      tried_ = paths;
    }
    Keys keys = open(paths);
    if (keys.size() == 1) return std::move(keys.front());
    if (keys.empty()) {
      askForKey();
      talk_.pause(patience_.glance);
    } else if (auto touched = select(std::move(keys))) {
      return touched;
    }
  }
  return nullptr;
}

void KeyFinder::setAside(const std::string& path, std::string problem, PasskeyError error) {
  aside_.insert(path);
  problem_ = std::move(problem);
  ifCancelled_ = std::move(error);
}

bool KeyFinder::isOver() const {
  return talk_.halt().requested() || KeyConnection::Clock::now() >= deadline_;
}

std::vector<std::string> KeyFinder::present() {
  std::vector<std::string> paths;
  for (auto& key : source_.list()) paths.push_back(std::move(key.path));
  std::erase_if(aside_, [&](const auto& path) { return std::ranges::count(paths, path) == 0; });
  std::erase_if(paths, [&](const auto& path) { return aside_.contains(path); });
  return paths;
}

KeyFinder::Keys KeyFinder::open(const std::vector<std::string>& paths) {
  Keys keys;
  for (const auto& path : paths) {
    PasskeyError error;
    if (auto wire = source_.open(path)) {
      auto key = std::make_unique<KeyConnection>(path, std::move(wire), talk_.halt(), deadline_,
                                                 patience_);
      const int result = key->open();
      if (result == FIDO_OK) {
        keys.push_back(std::move(key));
        continue;
      }
      error = keyFailure(result);
    } else {
      const char* name = strerrorname_np(errno);
      error = {.cause = name != nullptr ? name : "open", .causeCode = errno};
    }
    // It is tried again and again: another program may use it now, or its permissions may still
    // have to be set after it was inserted.
    problem_ =
        error.causeCode == EACCES
            ? "A security key is there, but this program may not use it."
            : "A security key is there but cannot be used now. Close other programs that use "
              "it, or take it out and insert it again.";
    ifCancelled_ = std::move(error);
  }
  return keys;
}

std::unique_ptr<KeyConnection> KeyFinder::select(Keys keys) {
  told_.reset();
  talk_.show(selectKey(occasion_), ifCancelled_);
  std::erase_if(keys,
                [](const auto& key) { return fido_dev_get_touch_begin(key->device()) != FIDO_OK; });
  std::unique_ptr<KeyConnection> touched;
  while (!touched && !keys.empty() && !isOver()) {
    touched = takeTouched(keys, patience_.glance / 5);
  }
  for (const auto& key : keys) fido_dev_cancel(key->device());
  return touched;
}

void KeyFinder::askForKey() {
  if (told_ == problem_) return;
  told_ = problem_;
  talk_.show(insertKey(occasion_, problem_), ifCancelled_);
}

}  // namespace veltrane::fido2
