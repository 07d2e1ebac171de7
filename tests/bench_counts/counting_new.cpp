#include "tests/bench_counts/counting_new.h"

#include <atomic>
#include <cstdlib>
#include <new>

namespace {

std::atomic<std::size_t> count = 0;

}  // namespace

std::size_t veltrane::test::allocations() {
  return count;
}

// The array and nothrow forms come here too, by their defaults. On malloc, so that the sanitizers
// still watch the memory.
void* operator new(std::size_t size) {
  ++count;
  if (void* memory = std::malloc(size ? size : 1)) return memory;
  throw std::bad_alloc();
}
void operator delete(void* memory) noexcept {
  std::free(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
  std::free(memory);
}
