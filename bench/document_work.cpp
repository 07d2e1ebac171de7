#include "bench/document_work.h"

#include <memory>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <vector>

#include "veltrane/engine/generic_view_model.h"
#include "veltrane/engine/screens_view_model.h"

namespace veltrane::bench {

std::size_t documentToRows(std::string_view text) {
  const JSONParseResult document = JSON::parse(text);
  const UserViewProps props = GenericViewModel::getUserViewProps(document.value);
  // All at once, as a flow with every screen on its stack would hold them.
  std::vector<std::shared_ptr<ScreensViewModel>> screens;
  screens.reserve(props.size());
  std::size_t rows = 0;
  for (std::size_t i = 0; i < props.size(); ++i) {
    screens.push_back(ScreensViewModel::make(props[i], i));
    rows += screens.back()->records.size();
  }
  if (rows == 0) throw std::logic_error("The document has no rows: nothing was measured.");
  return rows;
}

std::size_t bareParse(std::string_view text) {
  return nlohmann::json::parse(text).size();
}

std::size_t coreParse(std::string_view text) {
  return JSON::parse(text).value.size();
}

}  // namespace veltrane::bench
