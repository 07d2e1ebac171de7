#include "apps/window/exit_report.h"

#include "apps/vtflow/drive/exit_status.h"
#include "veltrane/base/console.h"

namespace veltrane::window {

namespace exit_status = tool::exit_status;

ExitReport reportOf(const JSON& response) {
  const auto text = console::masked(response).serialized();
  return {"result   response " + text.value_or("that cannot be written as JSON"),
          exit_status::kResponse};
}

ExitReport reportOf(const VeltraneFlowError& error) {
  const auto status = error.isUserCancelled() ? exit_status::kUserCancelled : exit_status::kError;
  return {"result   error " + std::string(error.reasonName()) + ": " + error.errorDescription(),
          status};
}

}  // namespace veltrane::window
