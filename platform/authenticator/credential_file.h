#pragma once

#include <filesystem>
#include <mutex>
#include <optional>
#include <string>
#include <type_traits>
#include <utility>

#include "platform/authenticator/database.h"
#include "platform/sqlitefile/owned_file.h"
#include "veltrane/passkeys/passkey_failure.h"

namespace veltrane::authenticator {

/// A store's file with one caller at a time, opened when first needed and again when another
/// process has put a new one in its place. An act is a function of a `Database&`; what it throws
/// comes back as a `PasskeyError`.
class CredentialFile {
 public:
  CredentialFile(std::filesystem::path path, const Schema& schema)
      : file_(std::move(path)), schema_(schema) {}

  template <typename Act>
  using Value = std::invoke_result_t<Act, Database&>;

  template <typename Act>
  PasskeyResult<Value<Act>> change(const Act& act) {
    return reporting<Value<Act>>([&] { return inCurrentFile(act); });
  }

  /// The empty value where there is no file. What is damaged is set aside, as by `change`.
  template <typename Act>
  PasskeyResult<Value<Act>> read(const Act& act) {
    return reporting<Value<Act>>([&] { return isThere() ? inCurrentFile(act) : Value<Act>{}; });
  }

  /// As `read`, but writes nothing at all, and any thread may call it.
  template <typename Act>
  PasskeyResult<Value<Act>> look(const Act& act) const {
    try {
      return looking(act, sqlitefile::Access::look);
    } catch (const sqlitefile::Error& error) {
      return failure(error);
    }
  }

  /// As `look`, but never waits: nothing where it would have to, and where the file cannot be used.
  template <typename Act>
  std::optional<Value<Act>> glance(const Act& act) const {
    try {
      return looking(act, sqlitefile::Access::glance);
    } catch (const sqlitefile::Error&) {
      return std::nullopt;
    }
  }

 private:
  using Hold = sqlitefile::OwnedFile::Hold;

  template <typename Result, typename Act>
  PasskeyResult<Result> reporting(const Act& act) {
    std::string report;
    auto result = [&]() -> PasskeyResult<Result> {
      const std::lock_guard lock(mutex_);
      try {
        return act();
      } catch (const sqlitefile::Error& error) {
        return mend(error, report);
      }
    }();
    tell(report);
    return result;
  }

  // While the lock is shared nobody replaces the file, so no change goes into one set aside.
  template <typename Act>
  auto inCurrentFile(const Act& act) {
    while (true) {
      if (!database_) open();
      const Hold hold(file_, Hold::Mode::shared);
      if (file_.identity() == identity_) return act(*database_);
      database_.reset();
    }
  }

  template <typename Act>
  Value<Act> looking(const Act& act, sqlitefile::Access access) const {
    if (isEmpty()) return {};
    auto database = opened(access);
    return act(database);
  }

  bool isThere() const { return file_.identity().has_value(); }
  bool isEmpty() const;
  void requireStore() const;
  void open();
  Database opened(sqlitefile::Access access) const;
  PasskeyError failure(const sqlitefile::Error& error) const;
  PasskeyError mend(const sqlitefile::Error& error, std::string& report);
  std::string setAside() const;
  static void tell(const std::string& report);

  std::mutex mutex_;
  sqlitefile::OwnedFile file_;
  const Schema& schema_;
  std::optional<Database> database_;
  std::optional<sqlitefile::OwnedFile::Identity> identity_;
};

}  // namespace veltrane::authenticator
