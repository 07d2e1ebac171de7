#pragma once

#include <algorithm>
#include <cstddef>
#include <memory>
#include <new>
#include <vector>

namespace veltrane {

/// Memory for one document: handed out front to back, given back all at once. A document is built
/// in one go and never changes, so nothing in it needs to be freed by itself, nor destroyed.
class Arena {
 public:
  Arena() = default;
  Arena(const Arena&) = delete;
  Arena& operator=(const Arena&) = delete;

  void* allocate(std::size_t size, std::size_t alignment) {
    const std::size_t start = (used_ + alignment - 1) & ~(alignment - 1);
    if (start + size > capacity_) return allocateInNewBlock(size);
    used_ = start + size;
    return block_ + start;
  }

  /// The arena that `ArenaAllocator` takes from on this thread, for a scope.
  class Scope {
   public:
    explicit Scope(Arena& arena) : former_(current_) { current_ = &arena; }
    ~Scope() { current_ = former_; }
    Scope(const Scope&) = delete;
    Scope& operator=(const Scope&) = delete;

   private:
    Arena* former_;
  };
  static Arena& current() { return *current_; }

 private:
  /// Holds a lone value, which then costs its owner no further allocation.
  static constexpr std::size_t kFirstBlock = 256;
  static constexpr std::size_t kLargestBlock = std::size_t{1} << 20;

  void* allocateInNewBlock(std::size_t size) {
    capacity_ = std::max(std::min(capacity_ * 2, kLargestBlock), size);
    // Aligned for every fundamental type, as operator new[] guarantees.
    blocks_.push_back(std::make_unique_for_overwrite<std::byte[]>(capacity_));
    block_ = blocks_.back().get();
    used_ = size;
    return block_;
  }

  std::vector<std::unique_ptr<std::byte[]>> blocks_;
  alignas(std::max_align_t) std::byte first_[kFirstBlock];
  std::byte* block_ = first_;
  std::size_t used_ = 0;
  std::size_t capacity_ = kFirstBlock;

  inline static thread_local Arena* current_ = nullptr;
};

/// Takes from the arena in scope; gives nothing back.
template <typename T>
struct ArenaAllocator {
  using value_type = T;

  ArenaAllocator() = default;
  template <typename U>
  ArenaAllocator(const ArenaAllocator<U>&) noexcept {}

  T* allocate(std::size_t count) {
    return static_cast<T*>(Arena::current().allocate(count * sizeof(T), alignof(T)));
  }
  void deallocate(T*, std::size_t) noexcept {}

  friend bool operator==(const ArenaAllocator&, const ArenaAllocator&) { return true; }
};

}  // namespace veltrane
