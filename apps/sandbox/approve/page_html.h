#pragma once

#include <string>
#include <vector>

#include "apps/sandbox/challenges.h"

namespace veltrane::sandbox {

/// What the page says above its list: the outcome of an answer, or why there was none.
struct PageMessage {
  std::string text;
  bool isProblem = false;
};

/// The whole page with its list of open challenges.
std::string pageHtml(const std::vector<Challenge>& open, const PageMessage& message);

/// A page for those who are refused.
std::string refusalHtml(const std::string& reason);

}  // namespace veltrane::sandbox
