#pragma once

#include <QObject>
#include <memory>

#include "veltrane/toolkit/main_queue.h"

namespace veltrane::qtquick {

/// The thread that runs Qt's event loop as the main queue. Made and destroyed on that thread; work
/// that is still queued when it goes never runs.
class QtMainQueue final : public MainQueue {
 public:
  QtMainQueue();
  ~QtMainQueue() override;

  void async(Work work) override;
  void asyncAfter(Interval delay, Work work) override;
  std::unique_ptr<Timer> repeatingTimer(Interval interval, Work tick) override;

 private:
  /// Lives on the main thread; what is queued is queued for it.
  std::unique_ptr<QObject> context_;
};

}  // namespace veltrane::qtquick
