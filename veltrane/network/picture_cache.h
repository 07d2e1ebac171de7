#pragma once

#include <cstddef>
#include <list>
#include <string>
#include <unordered_map>

#include "veltrane/toolkit/picture.h"

namespace veltrane {

/// The pictures used last, up to a number of bytes of pixels. Not for several threads at once.
class PictureCache {
 public:
  explicit PictureCache(std::size_t limit) : limit_(limit) {}

  /// Null when the picture is not kept; one that is found counts as used.
  PicturePtr find(const std::string& name);
  /// A picture larger than the limit is not kept.
  void insert(const std::string& name, PicturePtr picture);
  std::size_t bytes() const { return bytes_; }

 private:
  struct Entry {
    std::string name;
    PicturePtr picture;
  };
  using Entries = std::list<Entry>;

  void erase(Entries::iterator entry);

  std::size_t limit_;
  std::size_t bytes_ = 0;
  /// The one used last comes first.
  Entries entries_;
  std::unordered_map<std::string, Entries::iterator> byName_;
};

}  // namespace veltrane
