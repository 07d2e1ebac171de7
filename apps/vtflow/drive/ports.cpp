#include "apps/vtflow/drive/ports.h"

namespace veltrane::tool {

void EventConsole::print(std::string_view line) {
  out_->write(Event("console").set("line", textValue(line)));
}

}  // namespace veltrane::tool
