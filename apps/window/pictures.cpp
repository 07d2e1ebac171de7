#include "apps/window/pictures.h"

#include <QImage>
#include <QImageReader>
#include <QQuickWindow>
#include <QString>
#include <cctype>
#include <regex>
#include <vector>

namespace veltrane::window {
namespace {

namespace fs = std::filesystem;

const QString kMark = QStringLiteral("Software");
const QString kMaker = QStringLiteral("vtflow run");

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

/// "NN-<name>.png", and not only by name one of ours.
bool isOurs(const fs::directory_entry& entry) {
  static const std::regex kName("[0-9]{2,}-[a-z0-9-]+\\.png");
  if (!entry.is_regular_file() || entry.is_symlink()) return false;
  if (!std::regex_match(entry.path().filename().string(), kName)) return false;
  return QImageReader(QString::fromStdString(entry.path().string())).text(kMark) == kMaker;
}

void removeEarlier(const fs::path& folder) {
  std::vector<fs::path> earlier;
  for (const auto& entry : fs::directory_iterator(folder)) {
    if (isOurs(entry)) earlier.push_back(entry.path());
  }
  for (const auto& file : earlier) fs::remove(file);
}

}  // namespace

Pictures::Pictures(fs::path folder) : folder_(std::move(folder)) {
  fs::create_directories(folder_);
  removeEarlier(folder_);
}

std::optional<fs::path> Pictures::take(QQuickWindow& window, const std::string& name) {
  ++taken_;
  const std::string number = (taken_ < 10 ? "0" : "") + std::to_string(taken_);
  auto file = folder_ / (number + "-" + fileName(name) + ".png");
  QImage picture = window.grabWindow();
  picture.setText(kMark, kMaker);
  if (!picture.save(QString::fromStdString(file.string()), "PNG")) return std::nullopt;
  return file;
}

}  // namespace veltrane::window
