#include "platform/authenticator/database.h"

#include <algorithm>
#include <array>
#include <fstream>
#include <system_error>

namespace fs = std::filesystem;

namespace veltrane::authenticator {
namespace {

using sqlitefile::Access;
using sqlitefile::Error;

constexpr std::size_t kLargestPage = 65536;
constexpr std::size_t kApplicationIdOffset = 68;

std::string startOf(const fs::path& file) {
  std::string start(kLargestPage, '\0');
  std::ifstream stream(file, std::ios::binary);
  stream.read(start.data(), static_cast<std::streamsize>(start.size()));
  start.resize(static_cast<std::size_t>(stream.gcount()));
  return start;
}

std::int32_t applicationIdOf(const std::string& start) {
  if (start.size() < kApplicationIdOffset + 4) return 0;
  std::uint32_t id = 0;
  for (std::size_t i = 0; i < 4; ++i) {
    id = id << 8 | static_cast<unsigned char>(start[kApplicationIdOffset + i]);
  }
  return static_cast<std::int32_t>(id);
}

}  // namespace

bool mayBeStore(const fs::path& file, const Schema& schema) {
  std::error_code error;
  // Anything but a file is refused by what opens it; a pipe would keep its reader waiting.
  if (!fs::is_regular_file(file, error)) return true;
  const auto start = startOf(file);
  return start.empty() || applicationIdOf(start) == schema.applicationId ||
         start.find(schema.statements.front()) != std::string::npos;
}

Database::Database(const fs::path& file, const Schema& schema, Access access)
    : Connection(file, access) {
  requireOrigin(schema);
  if (access == Access::change && presentStatements().empty()) {
    Transaction making(*this);
    if (presentStatements().empty()) make(schema);
    making.commit();
  }
  const auto present = presentStatements();
  if (std::ranges::find_first_of(present, schema.statements) == present.end()) {
    throw Error(SQLITE_MISMATCH, "it is another program's");
  }
  if (!std::ranges::is_permutation(present, schema.statements)) {
    throw Error(SQLITE_CORRUPT, "it has tables of another kind");
  }
  // A file that is in the way of readers was not made here.
  if (access == Access::change) requireRollbackJournal();
  if (access != Access::glance) requireSound();
}

void Database::requireOrigin(const Schema& schema) {
  // Those of the first programs have none.
  const auto id = numberOf("PRAGMA application_id");
  if (id != 0 && id != schema.applicationId) {
    throw Error(SQLITE_MISMATCH, "it is another program's");
  }
  if (numberOf("PRAGMA user_version") > schema.version) {
    throw Error(SQLITE_CANTOPEN, "it was made by a later version of this program");
  }
}

void Database::make(const Schema& schema) {
  for (const auto& statement : schema.statements) run(statement.c_str());
  run(schema.contents);
  run(("PRAGMA user_version=" + std::to_string(schema.version)).c_str());
  run(("PRAGMA application_id=" + std::to_string(schema.applicationId)).c_str());
}

std::vector<std::string> Database::presentStatements() {
  std::vector<std::string> all;
  auto rows = query("SELECT sql FROM sqlite_master WHERE sql IS NOT NULL");
  while (rows.step()) all.push_back(rows.bytes(0));
  return all;
}

}  // namespace veltrane::authenticator
