#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "platform/sqlite/sqlite_store.h"
#include "tests/support/fakes.h"
#include "tests/support/temporary_folder.h"

namespace veltrane::sqlite {

/// A folder of its own for each test, and the console captured.
class SettingsTest : public ::testing::Test {
 protected:
  std::shared_ptr<KeyValueStore> openStore() const { return open(file_); }
  /// The text behind a key, read by a store opened for it; "-" for anything else.
  std::string storedText(const std::string& key) const { return textIn(*openStore(), key); }
  static std::string textIn(const KeyValueStore& store, const std::string& key);

  /// SQL by another hand than the store's.
  void execute(const std::string& sql) const;
  /// The files beside the store, by name.
  std::vector<std::string> filesNamedLike(const std::string& part) const;

  const testing::TemporaryFolder temporary_;
  const std::filesystem::path folder_ = temporary_.path();
  const std::filesystem::path file_ = folder_ / "settings.db";
  const testing::FakePlatform fakes_;
  const std::shared_ptr<testing::RecordingConsole> console_ = fakes_.console;
};

std::string readFile(const std::filesystem::path& path);
void writeFile(const std::filesystem::path& path, const std::string& bytes);

}  // namespace veltrane::sqlite
