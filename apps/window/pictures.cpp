#include "apps/window/pictures.h"

#include <QImage>
#include <QQuickWindow>
#include <QString>
#include <cctype>

namespace veltrane::window {
namespace {

/// Letters and digits, everything else as single dashes.
std::string fileName(const std::string& name) {
  std::string result;
  for (const char letter : name) {
    const auto byte = static_cast<unsigned char>(letter);
    if (std::isalnum(byte)) {
      result.push_back(static_cast<char>(std::tolower(byte)));
    } else if (!result.empty() && result.back() != '-') {
      result.push_back('-');
    }
  }
  while (!result.empty() && result.back() == '-') result.pop_back();
  return result.empty() ? "screen" : result;
}

}  // namespace

Pictures::Pictures(std::filesystem::path folder) : folder_(std::move(folder)) {
  std::filesystem::create_directories(folder_);
}

std::optional<std::filesystem::path> Pictures::take(QQuickWindow& window, const std::string& name) {
  ++taken_;
  const std::string number = (taken_ < 10 ? "0" : "") + std::to_string(taken_);
  auto file = folder_ / (number + "-" + fileName(name) + ".png");
  if (!window.grabWindow().save(QString::fromStdString(file.string()), "PNG")) return std::nullopt;
  return file;
}

}  // namespace veltrane::window
