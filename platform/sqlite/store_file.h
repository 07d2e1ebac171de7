#pragma once

#include <sys/types.h>

#include <filesystem>
#include <optional>
#include <utility>

namespace veltrane::sqlite {

/// The file on disk apart from what is in it: who may read it, which one it is, and the lock under
/// which it may be replaced. Every failure is an `Error`.
class StoreFile {
 public:
  /// Tells a file from one that was put in its place.
  using Identity = std::pair<dev_t, ino_t>;

  explicit StoreFile(std::filesystem::path path);
  ~StoreFile();
  StoreFile(const StoreFile&) = delete;
  StoreFile& operator=(const StoreFile&) = delete;

  /// Held alone to create or replace the file, shared to write into it. Waits.
  class Lock {
   public:
    enum Mode { kShared, kAlone };
    Lock(const StoreFile& file, Mode mode);
    ~Lock();
    Lock(const Lock&) = delete;
    Lock& operator=(const Lock&) = delete;

   private:
    int descriptor_;
  };

  const std::filesystem::path& path() const { return path_; }
  /// Nothing when there is no file.
  std::optional<Identity> identity() const;

  /// Makes the folders and opens the lock. In a folder that may not be written there is no lock,
  /// and nothing to guard.
  void prepare();
  /// Makes an empty file if there is none. Needs the lock, alone; without it, closing the new file
  /// would take another connection's locks with it.
  void createIfMissing() const;
  /// Moves the file out of the way, to a name that is free, and returns that. Needs the lock,
  /// alone, and the file closed, so that SQLite has dealt with its journal.
  std::filesystem::path setAside() const;

 private:
  std::filesystem::path path_;
  int lock_ = -1;
};

}  // namespace veltrane::sqlite
