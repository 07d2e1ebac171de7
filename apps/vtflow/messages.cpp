#include "apps/vtflow/messages.h"

#include <algorithm>
#include <cctype>

namespace veltrane::tool {
namespace {

bool isCapital(char letter) {
  return std::isupper(static_cast<unsigned char>(letter)) != 0;
}

}  // namespace

std::string asReason(std::string message) {
  std::replace(message.begin(), message.end(), '\n', ' ');
  while (message.ends_with(' ') || message.ends_with('.')) message.pop_back();
  const bool isAWord = message.size() < 2 || !isCapital(message[1]);
  if (!message.empty() && isCapital(message[0]) && isAWord) {
    message[0] = static_cast<char>(std::tolower(message[0]));
  }
  return message;
}

}  // namespace veltrane::tool
