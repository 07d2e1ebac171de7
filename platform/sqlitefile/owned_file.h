#pragma once

#include <sys/types.h>

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <utility>

namespace veltrane::sqlitefile {

/// A file on disk apart from what is in it: readable by its owner alone from the moment it exists,
/// with a lock beside it ("<file>.lock"), under which no process replaces it under another. Every
/// failure is an `Error`.
class OwnedFile {
 public:
  /// Tells a file from one that was put in its place.
  using Identity = std::pair<dev_t, ino_t>;

  /// Links are followed: it is the file itself that is replaced.
  explicit OwnedFile(std::filesystem::path path);
  ~OwnedFile();
  OwnedFile(const OwnedFile&) = delete;
  OwnedFile& operator=(const OwnedFile&) = delete;

  const std::filesystem::path& path() const { return path_; }
  /// Nothing when there is no file.
  std::optional<Identity> identity() const;

  /// Makes the folders and opens the lock. In a folder that may not be written there is no lock,
  /// and nothing to guard.
  void prepare();
  /// Makes an empty file if there is none. Needs the lock, alone; without it, closing the new file
  /// would take another connection's locks with it.
  void createIfMissing() const;
  /// Moves the file to a free name "<file>.damaged-N", and returns that. Needs the lock, alone, and
  /// the file closed, so that SQLite has dealt with its journal.
  std::filesystem::path setAside() const;

  /// The lock: alone to create or replace the file, shared to write into it. Waits.
  class Hold {
   public:
    enum class Mode : std::uint8_t { shared, alone };
    Hold(const OwnedFile& file, Mode mode);
    ~Hold();
    Hold(const Hold&) = delete;
    Hold& operator=(const Hold&) = delete;

   private:
    int descriptor_;
  };

 private:
  std::filesystem::path path_;
  int lock_ = -1;
};

/// `veltrane-flow/<name>` in the user's data folder: `$XDG_DATA_HOME` if that is an absolute path,
/// else `~/.local/share`.
std::filesystem::path ownDataFile(const std::string& name);

}  // namespace veltrane::sqlitefile
