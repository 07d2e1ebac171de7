#include "platform/sqlite/sqlite_store.h"

#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "platform/sqlite/database.h"
#include "platform/sqlitefile/owned_file.h"
#include "veltrane/base/console.h"

namespace veltrane::sqlite {

namespace {

using sqlitefile::Error;
using sqlitefile::OwnedFile;

// The store for one caller at a time: the file with its mending, a cache of its values, and the
// changes that could not be written.
class Settings {
 public:
  explicit Settings(std::filesystem::path path) : file_(std::move(path)) {
    attempt([this] { connect(); });
  }

  std::optional<SettingValue> value(std::string_view key) {
    refresh();
    return known(key);
  }

  void set(std::string_view key, const SettingValue& value) {
    if (refresh() && !unsaved_.contains(key) && known(key) == value) return;
    write(key, value, [&](Database& database) { database.set(key, value); });
  }

  void remove(std::string_view key) {
    if (refresh() && !unsaved_.contains(key) && !cache_.contains(key)) return;
    write(key, std::nullopt, [&](Database& database) { database.remove(key); });
  }

  std::vector<std::string> takeReports() { return std::exchange(reports_, {}); }

 private:
  using Change = std::function<void(Database&)>;
  using Hold = OwnedFile::Hold;

  std::optional<SettingValue> known(std::string_view key) const {
    if (const auto it = unsaved_.find(key); it != unsaved_.end()) return it->second;
    if (const auto it = cache_.find(key); it != cache_.end()) return it->second;
    return std::nullopt;
  }

  void write(std::string_view key, std::optional<SettingValue> value, const Change& change) {
    const bool written = attempt([&] { inCurrentFile(change); });
    loadedAt_.reset();
    if (!written) {
      unsaved_.insert_or_assign(std::string(key), std::move(value));
    } else if (const auto it = unsaved_.find(key); it != unsaved_.end()) {
      unsaved_.erase(it);
    }
  }

  // Under the shared lock nobody replaces the file, so no change goes into one set aside.
  void inCurrentFile(const Change& change) {
    while (true) {
      if (!database_) connect();
      const Hold hold(file_, Hold::Mode::shared);
      if (file_.identity() == identity_) return change(*database_);
      database_.reset();
    }
  }

  // Brings the cache up to date, without a query while nobody has written. False when it cannot.
  bool refresh() {
    if (!database_) return false;
    return attempt([this] {
      if (!database_ || file_.identity() != identity_) connect();
      if (loadedAt_ == database_->changeCounter()) return;
      auto snapshot = database_->snapshot();
      cache_ = std::move(snapshot.values);
      loadedAt_ = snapshot.changeCounter;
    });
  }

  // Runs an act on the file; mends the file and tries once more where that may help.
  template <typename Act>
  bool attempt(const Act& act) {
    try {
      try {
        act();
      } catch (const Error& error) {
        if (!database_ || !error.isMendable()) throw;
        mend(error);
        act();
      }
      failure_.clear();
      return true;
    } catch (const Error& error) {
      reportFailure(error);
      return false;
    }
  }

  void connect() {
    database_.reset();
    file_.prepare();
    const Hold hold(file_, Hold::Mode::alone);
    try {
      openDatabase();
    } catch (const Error& error) {
      if (!error.isMendable()) throw;
      setAside(error);
      openDatabase();
    }
  }

  // After a fault in the open file, unless another process has replaced that file already.
  void mend(const Error& error) {
    database_.reset();
    if (error.isDamage()) {
      const Hold hold(file_, Hold::Mode::alone);
      if (file_.identity() == identity_) setAside(error);
    }
    connect();
  }

  void openDatabase() {
    loadedAt_.reset();
    file_.createIfMissing();
    identity_ = file_.identity();
    database_.emplace(file_.path());
  }

  void setAside(const Error& error) {
    const auto target = file_.setAside();
    reports_.push_back("The settings file " + file_.path().string() + " is damaged (" +
                       error.what() + "). It is now " + target.filename().string() +
                       ", and an empty one takes its place.");
  }

  // One line for each kind of trouble, however often it is met in a row.
  void reportFailure(const Error& error) {
    if (std::exchange(failure_, error.what()) == error.what()) return;
    reports_.push_back("The settings file " + file_.path().string() + " cannot be used (" +
                       error.what() + "). Changes last for this run only.");
  }

  OwnedFile file_;
  std::optional<Database> database_;
  std::optional<OwnedFile::Identity> identity_;
  Values cache_;
  std::optional<std::uint32_t> loadedAt_;
  Values unsaved_;
  std::string failure_;
  std::vector<std::string> reports_;
};

class SqliteStore final : public KeyValueStore {
 public:
  explicit SqliteStore(std::filesystem::path path) : settings_(std::move(path)) {
    const Turn reportsOfOpening(*this);
  }

  std::optional<SettingValue> value(std::string_view key) const override {
    const Turn turn(*this);
    return settings_.value(key);
  }

  void set(std::string_view key, const SettingValue& value) override {
    const Turn turn(*this);
    settings_.set(key, value);
  }

  void remove(std::string_view key) override {
    const Turn turn(*this);
    settings_.remove(key);
  }

 private:
  // Holds the settings for one call. What there is to report goes out after it has let go: the
  // console may be a host's that reads settings.
  class Turn {
   public:
    explicit Turn(const SqliteStore& store) : store_(store) { store.mutex_.lock(); }
    ~Turn() {
      const auto reports = store_.settings_.takeReports();
      store_.mutex_.unlock();
      for (const auto& line : reports) console::print(line);
    }
    Turn(const Turn&) = delete;
    Turn& operator=(const Turn&) = delete;

   private:
    const SqliteStore& store_;
  };

  mutable std::mutex mutex_;
  mutable Settings settings_;
};

}  // namespace

std::shared_ptr<KeyValueStore> open(std::filesystem::path file) {
  return std::make_shared<SqliteStore>(std::move(file));
}

std::filesystem::path defaultStoreFile() {
  return sqlitefile::ownDataFile("settings.db");
}

}  // namespace veltrane::sqlite
