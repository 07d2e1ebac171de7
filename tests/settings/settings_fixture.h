#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/sqlite/sqlite_store.h"
#include "tests/support/fakes.h"
#include "veltrane/platform.h"

namespace veltrane::sqlite {

/// A folder of its own for each test, and the console captured.
class SettingsTest : public ::testing::Test {
 protected:
  SettingsTest();
  ~SettingsTest() override;

  std::shared_ptr<KeyValueStore> openStore() const { return open(file_); }
  /// The text behind a key, read by a store opened for it; "-" for anything else.
  std::string storedText(const std::string& key) const { return textIn(*openStore(), key); }
  static std::string textIn(const KeyValueStore& store, const std::string& key);

  /// SQL by another hand than the store's.
  void execute(const std::string& sql) const;
  /// The files beside the store, by name.
  std::vector<std::string> filesNamedLike(const std::string& part) const;

  std::filesystem::path folder_;
  std::filesystem::path file_;
  std::shared_ptr<testing::RecordingConsole> console_ =
      std::make_shared<testing::RecordingConsole>();

 private:
  std::optional<PlatformScope> platform_;
};

std::string readFile(const std::filesystem::path& path);
void writeFile(const std::filesystem::path& path, const std::string& bytes);

}  // namespace veltrane::sqlite
