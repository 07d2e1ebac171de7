#include "apps/example/host.h"

#include <fstream>
#include <iostream>

#include "apps/window/display.h"
#include "veltrane/network/network_api_request.h"

namespace example {

bool useServer(const std::string& program, int count, char** words) {
  if (count != 3) {
    std::cerr << "usage: " << program << " BASE_URL AUTHORITY_FILE\n";
    return false;
  }
  const std::string url = words[1];
  if (!veltrane::isAllowedURL(url)) {
    std::cerr << program << ": \"" << url
              << "\" is no https URL with a host (http on loopback addresses only)\n";
    return false;
  }
  if (!std::ifstream(words[2]).is_open()) {
    std::cerr << program << ": cannot read \"" << words[2] << "\"\n";
    return false;
  }
  veltrane::APIBaseURL::setProduction(url);
  return true;
}

std::unique_ptr<QGuiApplication> makeApplication(const std::string& program, int& count,
                                                 char** words) {
  const veltrane::window::DisplayCheck check(
      program, "start it where there is one, or with QT_QPA_PLATFORM=offscreen");
  return std::make_unique<QGuiApplication>(count, words);
}

}  // namespace example
