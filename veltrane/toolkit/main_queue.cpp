#include "veltrane/toolkit/main_queue.h"

#include "veltrane/base/fatal.h"
#include "veltrane/platform.h"

namespace veltrane {

MainQueue& MainQueue::current() {
  const auto& queue = Platform::current().mainQueue;
  if (!queue) fatal("No main queue is installed. Install a Platform before the first VTFlow.");
  return *queue;
}

}  // namespace veltrane
