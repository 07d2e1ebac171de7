#include "platform/sqlitefile/owned_file.h"

#include <fcntl.h>
#include <pwd.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <string>
#include <system_error>
#include <utility>

#include "platform/sqlitefile/connection.h"

namespace fs = std::filesystem;

namespace veltrane::sqlitefile {
namespace {

constexpr mode_t kOwnerOnly = 0600;
constexpr mode_t kOwnerOnlyFolder = 0700;

[[noreturn]] void fail(int error) {
  throw Error(SQLITE_CANTOPEN, std::system_category().message(error));
}

fs::path withSuffix(fs::path path, const std::string& suffix) {
  path += suffix;
  return path;
}

void makeFolders(const fs::path& folder) {
  std::error_code ignored;
  if (folder.empty() || fs::is_directory(folder, ignored)) return;
  makeFolders(folder.parent_path());
  if (::mkdir(folder.c_str(), kOwnerOnlyFolder) != 0 && errno != EEXIST) fail(errno);
}

// The mode asked for at creation can only shrink by the process's mask; `fchmod` undoes that.
int openOwnerOnly(const fs::path& path, int flags) {
  const int descriptor = ::open(path.c_str(), flags | O_CREAT | O_CLOEXEC, kOwnerOnly);
  if (descriptor >= 0) ::fchmod(descriptor, kOwnerOnly);
  return descriptor;
}

fs::path absoluteOrAsGiven(const fs::path& path) {
  std::error_code error;
  auto resolved = fs::weakly_canonical(fs::absolute(path, error), error);
  return error ? path : resolved;
}

fs::path homeFolder() {
  if (const char* home = std::getenv("HOME"); home != nullptr && *home == '/') return home;
  passwd entry{};
  passwd* found = nullptr;
  std::array<char, 4096> buffer{};
  getpwuid_r(::getuid(), &entry, buffer.data(), buffer.size(), &found);
  return found != nullptr ? fs::path(found->pw_dir) : fs::path("/");
}

}  // namespace

OwnedFile::OwnedFile(fs::path path) : path_(absoluteOrAsGiven(path)) {}

OwnedFile::~OwnedFile() {
  if (lock_ >= 0) ::close(lock_);
}

std::optional<OwnedFile::Identity> OwnedFile::identity() const {
  struct stat found {};
  if (::stat(path_.c_str(), &found) != 0) return std::nullopt;
  return Identity{found.st_dev, found.st_ino};
}

void OwnedFile::prepare() {
  makeFolders(path_.parent_path());
  if (lock_ >= 0) ::close(lock_);
  lock_ = openOwnerOnly(withSuffix(path_, ".lock"), O_RDONLY);
}

void OwnedFile::createIfMissing() const {
  const int created = openOwnerOnly(path_, O_RDWR | O_EXCL);
  if (created >= 0) {
    ::close(created);
    return;
  }
  if (errno != EEXIST) fail(errno);
  struct stat found {};
  if (::stat(path_.c_str(), &found) != 0) fail(errno);
  if (!S_ISREG(found.st_mode)) throw Error(SQLITE_CANTOPEN, "not a regular file");
  if ((found.st_mode & 077) != 0) ::chmod(path_.c_str(), kOwnerOnly);
}

fs::path OwnedFile::setAside() const {
  for (int number = 1;; ++number) {
    const auto target = withSuffix(path_, ".damaged-" + std::to_string(number));
    std::error_code error;
    if (fs::symlink_status(target, error).type() != fs::file_type::not_found) continue;
    fs::rename(path_, target, error);
    if (error) fail(error.value());
    return target;
  }
}

OwnedFile::Hold::Hold(const OwnedFile& file, Mode mode) : descriptor_(file.lock_) {
  if (descriptor_ < 0) return;
  while (::flock(descriptor_, mode == Mode::alone ? LOCK_EX : LOCK_SH) != 0 && errno == EINTR) {
  }
}

OwnedFile::Hold::~Hold() {
  if (descriptor_ >= 0) ::flock(descriptor_, LOCK_UN);
}

fs::path ownDataFile(const std::string& name) {
  const char* data = std::getenv("XDG_DATA_HOME");
  const auto folder =
      data != nullptr && *data == '/' ? fs::path(data) : homeFolder() / ".local/share";
  return folder / "veltrane-flow" / name;
}

}  // namespace veltrane::sqlitefile
