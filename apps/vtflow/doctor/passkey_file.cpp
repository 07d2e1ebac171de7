#include "apps/vtflow/doctor/passkey_file.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <optional>
#include <string>
#include <system_error>
#include <variant>
#include <vector>

#include "apps/vtflow/option_checks.h"
#include "platform/authenticator/passkey_list.h"

namespace veltrane::tool {
namespace {

namespace fs = std::filesystem;
using State = Finding::State;

Finding finding(State state, std::string cause, std::string remedy = {}) {
  return {state, "passkey file", std::move(cause), std::move(remedy)};
}

Finding wrong(const std::string& cause, const std::string& remedy) {
  return finding(State::wrong, cause, remedy);
}

Finding judgeMissing(const fs::path& file) {
  const auto folder = nearestExisting(file.parent_path());
  if (::access(folder.c_str(), W_OK | X_OK) != 0) {
    return wrong(file.string() + " is not there and cannot be made.",
                 "Allow this user to write to " + folder.string() + '.');
  }
  return finding(State::missing, file.string() + " is not there yet.",
                 "The first passkey that this device makes brings it.");
}

/// Why the file cannot be used as it is.
std::optional<Finding> accessFault(const fs::path& file, const struct stat& found) {
  const std::string name = file.string();
  if (!S_ISREG(found.st_mode)) {
    return wrong(name + " is no regular file.", "Name another file, or take away what is there.");
  }
  if (::access(file.c_str(), R_OK | W_OK) != 0) {
    return wrong("This user may not read and write " + name + '.',
                 "Run as its owner, or give it back: chown.");
  }
  return std::nullopt;
}

/// Who else can use it.
std::optional<Finding> ownerFault(const fs::path& file, const struct stat& found) {
  const std::string name = file.string();
  if (found.st_uid != ::geteuid()) {
    return wrong(name + " belongs to another user, who can read it.",
                 "Give it to the one whose passkeys it holds: chown.");
  }
  if ((found.st_mode & 077) != 0) {
    return wrong("Others than its owner may use " + name + '.', "Take that away: chmod 600.");
  }
  return std::nullopt;
}

}  // namespace

Finding judgePasskeyFile(const fs::path& file) {
  struct stat found {};
  if (::stat(file.c_str(), &found) != 0) {
    if (errno == ENOENT) return judgeMissing(file);
    return wrong(file.string() + " cannot be reached (" + std::strerror(errno) + ").",
                 "Allow this user into its folder.");
  }
  if (const auto fault = accessFault(file, found)) return *fault;
  const auto listed = authenticator::list(file);
  if (const auto* const error = std::get_if<PasskeyError>(&listed)) {
    return wrong(error->cause,
                 "Name another file than " + file.string() + ", or bring back a sound copy of it.");
  }
  // Only of what is a passkey file: another's rights are not for us to change.
  if (const auto fault = ownerFault(file, found)) return *fault;
  const auto count = std::get<std::vector<authenticator::PasskeyEntry>>(listed).size();
  return finding(State::ok, file.string() + " is sound and its owner's alone; it holds " +
                                std::to_string(count) + (count == 1 ? " passkey." : " passkeys."));
}

}  // namespace veltrane::tool
