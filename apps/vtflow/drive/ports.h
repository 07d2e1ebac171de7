#pragma once

#include <memory>
#include <string_view>
#include <utility>

#include "apps/vtflow/drive/line_writer.h"
#include "veltrane/base/console.h"
#include "veltrane/toolkit/device.h"

namespace veltrane::tool {

/// Diagnostic lines as "console" events.
class EventConsole final : public ConsoleSink {
 public:
  explicit EventConsole(std::shared_ptr<LineWriter> out) : out_(std::move(out)) {}
  void print(std::string_view line) override;

 private:
  std::shared_ptr<LineWriter> out_;
};

/// The device that the options describe.
class DescribedDevice final : public Device {
 public:
  DescribedDevice(double scale, InterfaceIdiom idiom) : scale_(scale), idiom_(idiom) {}
  double screenScale() const override { return scale_; }
  InterfaceIdiom userInterfaceIdiom() const override { return idiom_; }

 private:
  double scale_;
  InterfaceIdiom idiom_;
};

}  // namespace veltrane::tool
