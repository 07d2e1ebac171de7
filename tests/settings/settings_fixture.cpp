#include "settings_fixture.h"

#include <sqlite3.h>

#include <algorithm>
#include <fstream>
#include <iterator>

namespace fs = std::filesystem;

namespace veltrane::sqlite {

std::string SettingsTest::textIn(const KeyValueStore& store, const std::string& key) {
  const auto value = store.value(key);
  const auto* text = value ? std::get_if<std::string>(&*value) : nullptr;
  return text != nullptr ? *text : "-";
}

void SettingsTest::execute(const std::string& sql) const {
  sqlite3* db = nullptr;
  sqlite3_open(file_.c_str(), &db);
  const int code = sqlite3_exec(db, sql.c_str(), nullptr, nullptr, nullptr);
  const std::string message = sqlite3_errmsg(db);
  sqlite3_close(db);
  ASSERT_EQ(code, SQLITE_OK) << message;
}

std::vector<std::string> SettingsTest::filesNamedLike(const std::string& part) const {
  std::vector<std::string> names;
  for (const auto& entry : fs::directory_iterator(folder_)) {
    auto name = entry.path().filename().string();
    if (name.find(part) != std::string::npos) names.push_back(std::move(name));
  }
  std::sort(names.begin(), names.end());
  return names;
}

std::string readFile(const fs::path& path) {
  std::ifstream stream(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), {}};
}

void writeFile(const fs::path& path, const std::string& bytes) {
  std::ofstream(path, std::ios::binary | std::ios::trunc) << bytes;
}

}  // namespace veltrane::sqlite
