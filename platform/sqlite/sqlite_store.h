#pragma once

#include <filesystem>
#include <memory>

#include "veltrane/flow/key_value_store.h"

namespace veltrane::sqlite {

/// Settings in one SQLite file that several processes may share. Never fails: whatever is wrong
/// with the file is told on the console, and the flow goes on.
///
/// - The file, and whatever SQLite lays beside it, is readable by its owner only from the moment it
///   exists; folders made for it are too. `<file>.lock` beside it keeps processes from replacing a
///   file under each other.
/// - `set` and `remove` return once the change has been flushed to disk. A change equal to what
///   stands there costs no write. What cannot be written is kept for as long as this object lives.
/// - A file that is damaged, found when opened or at any later time, is moved to
///   `<file>.damaged-N`, never over another file, and an empty one takes its place.
/// - Values are cached; a read asks the file system alone whether another process wrote, about 2
/// µs.
/// - A number that is not a number is kept; texts may hold any bytes.
///
/// Any thread. Console lines name the file and the fault, never a key or a value.
std::shared_ptr<KeyValueStore> open(std::filesystem::path file);

/// `veltrane-flow/settings.db` in the user's data folder: `$XDG_DATA_HOME` if that is an absolute
/// path, else `~/.local/share`.
std::filesystem::path defaultStoreFile();

}  // namespace veltrane::sqlite
