#include "platform/authenticator/credential_file.h"

#include <system_error>

#include "veltrane/base/console.h"

namespace veltrane::authenticator {

using sqlitefile::Access;
using sqlitefile::Error;

bool CredentialFile::isEmpty() const {
  std::error_code error;
  return !isThere() || (std::filesystem::is_regular_file(file_.path(), error) &&
                        std::filesystem::file_size(file_.path(), error) == 0);
}

/// Before anything is done to it: what is named by mistake stays as it is.
void CredentialFile::requireStore() const {
  if (mayBeStore(file_.path(), schema_)) return;
  throw Error(SQLITE_MISMATCH, "it is something else, and has been left as it is");
}

void CredentialFile::open() {
  requireStore();
  file_.prepare();
  const Hold hold(file_, Hold::Mode::alone);
  file_.createIfMissing();
  identity_ = file_.identity();
  database_.emplace(opened(Access::change));
}

Database CredentialFile::opened(Access access) const {
  requireStore();
  try {
    return {file_.path(), schema_, access};
  } catch (const Error& error) {
    // What a killed process has not finished is taken back by whoever may write.
    if (error.code() == SQLITE_READONLY_ROLLBACK && access == Access::look) {
      return {file_.path(), schema_, Access::change};
    }
    // What SQLite cannot make sense of before any of our statements is the file's fault.
    if (error.code() == SQLITE_ERROR) throw Error(SQLITE_CORRUPT, error.what());
    throw;
  }
}

PasskeyError CredentialFile::failure(const Error& error) const {
  PasskeyError told{.cause = "The passkey file cannot be used: " + std::string(error.what()),
                    .causeCode = error.code()};
  if (error.isFull()) told.failure = PasskeyFailure::storageFull;
  if (error.isDamage())
    told.cause = "The passkey file is damaged (" + std::string(error.what()) + ").";
  return told;
}

/// The file is closed after any failure, and set aside where it is damaged.
PasskeyError CredentialFile::mend(const Error& error, std::string& report) {
  database_.reset();
  auto told = failure(error);
  if (!error.isDamage()) return told;
  told.cause = "The passkey file was damaged (" + std::string(error.what()) + ")" + setAside();
  report = told.cause + " " + file_.path().string();
  return told;
}

/// Where the file is now, unless another process has dealt with it.
std::string CredentialFile::setAside() const {
  try {
    const Hold hold(file_, Hold::Mode::alone);
    if (file_.identity() != identity_) return ".";
    requireStore();
    return " and is now " + file_.setAside().filename().string() + ".";
  } catch (const Error& error) {
    return " and stays where it is: " + std::string(error.what()) + ".";
  }
}

/// Outside of the mutex, since a host's console may do anything.
void CredentialFile::tell(const std::string& report) {
  if (!report.empty()) console::print(report);
}

}  // namespace veltrane::authenticator
