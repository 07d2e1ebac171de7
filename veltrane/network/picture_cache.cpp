#include "veltrane/network/picture_cache.h"

#include <iterator>
#include <utility>

namespace veltrane {

PicturePtr PictureCache::find(const std::string& name) {
  const auto found = byName_.find(name);
  if (found == byName_.end()) return nullptr;
  entries_.splice(entries_.begin(), entries_, found->second);
  return found->second->picture;
}

void PictureCache::insert(const std::string& name, PicturePtr picture) {
  if (const auto former = byName_.find(name); former != byName_.end()) erase(former->second);
  const std::size_t size = picture->pixels.size();
  if (size > limit_) return;
  while (bytes_ + size > limit_) erase(std::prev(entries_.end()));
  entries_.push_front({name, std::move(picture)});
  byName_[name] = entries_.begin();
  bytes_ += size;
}

void PictureCache::erase(Entries::iterator entry) {
  bytes_ -= entry->picture->pixels.size();
  byName_.erase(entry->name);
  entries_.erase(entry);
}

}  // namespace veltrane
