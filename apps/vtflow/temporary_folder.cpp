#include "apps/vtflow/temporary_folder.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

namespace veltrane::tool {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view kPrefix = "vtflow-scratch-";
constexpr int kTries = 16;
constexpr std::string_view kPattern = "XXXXXX";

[[noreturn]] void fail(const fs::path& path) {
  throw fs::filesystem_error("cannot make a temporary folder", path,
                             std::error_code(errno, std::generic_category()));
}

/// The folder of that path, locked; -1 when another process has it, or it is not this user's.
int lockFolder(const fs::path& path) {
  const int folder = ::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
  if (folder < 0) return -1;
  struct stat status {};
  const bool isOurs = ::fstat(folder, &status) == 0 && status.st_uid == ::geteuid() &&
                      (status.st_mode & ACCESSPERMS) == S_IRWXU;
  if (isOurs && ::flock(folder, LOCK_EX | LOCK_NB) == 0) return folder;
  ::close(folder);
  return -1;
}

bool isStillThere(int folder) {
  struct stat status {};
  return ::fstat(folder, &status) == 0 && status.st_nlink > 0;
}

bool hasOurName(const fs::path& path) {
  const auto name = path.filename().string();
  return name.starts_with(kPrefix) && name.size() == kPrefix.size() + kPattern.size();
}

/// What cannot be read or removed stays; it is no reason not to start.
void removeAbandoned(const fs::path& parent) {
  std::error_code ignored;
  std::vector<fs::path> candidates;
  fs::directory_iterator entry(parent, ignored);
  for (; !ignored && entry != fs::directory_iterator(); entry.increment(ignored)) {
    if (hasOurName(entry->path())) candidates.push_back(entry->path());
  }
  for (const auto& path : candidates) {
    const int lock = lockFolder(path);
    if (lock < 0) continue;
    fs::remove_all(path, ignored);
    ::close(lock);
  }
}

}  // namespace

TemporaryFolder::TemporaryFolder() {
  const auto parent = fs::temp_directory_path();
  removeAbandoned(parent);
  // Another process that cleans up may come between making and locking; then the folder is gone.
  for (int tries = 0; tries < kTries; ++tries) {
    auto name = (parent / (std::string(kPrefix) + std::string(kPattern))).string();
    if (!mkdtemp(name.data())) fail(name);
    path_ = name;
    lock_ = lockFolder(path_);
    if (lock_ >= 0 && isStillThere(lock_)) return;
    if (lock_ >= 0) ::close(lock_);
    ::rmdir(name.c_str());
  }
  errno = ENOLCK;
  fail(parent);
}

TemporaryFolder::~TemporaryFolder() {
  std::error_code ignored;
  fs::remove_all(path_, ignored);
  ::close(lock_);
}

}  // namespace veltrane::tool
