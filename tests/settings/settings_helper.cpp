// What the tests need another process for. Console lines go to standard error.

#include <sys/resource.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <iostream>
#include <string>
#include <variant>

#include "pattern.h"
#include "platform/sqlite/sqlite_store.h"

namespace {

using veltrane::KeyValueStore;
using veltrane::sqlite::pattern;

// Tells of every change once the store has acknowledged it.
int writeMany(KeyValueStore& store, const std::string& prefix, int count, int round) {
  for (int i = 0; i < count; ++i) {
    const auto key = prefix + std::to_string(i);
    store.set(key, pattern(key, round));
    std::cout << key << std::endl;
  }
  return 0;
}

int writeThenRead(KeyValueStore& store, const std::string& key) {
  store.set(key, std::string("kept"));
  const auto value = store.value(key);
  const auto* text = value ? std::get_if<std::string>(&*value) : nullptr;
  std::cout << (text != nullptr ? *text : "nothing") << std::endl;
  return 0;
}

// Root may write anywhere; this user may not.
bool becomeNobody() {
  return geteuid() != 0 || (setgid(65534) == 0 && setuid(65534) == 0);
}

bool limitFileSize(rlim_t bytes) {
  const rlimit limit{bytes, bytes};
  return std::signal(SIGXFSZ, SIG_IGN) != SIG_ERR && setrlimit(RLIMIT_FSIZE, &limit) == 0;
}

}  // namespace

// Tells its process first. FILE write PREFIX COUNT ROUND | FILE as-nobody KEY | FILE with-limit KEY
// BYTES
int main(int argc, char** argv) {
  const std::string act = argc > 3 ? argv[2] : "";
  if (act == "as-nobody" && !becomeNobody()) return 3;
  if (act == "with-limit" && !limitFileSize(std::strtoull(argv[4], nullptr, 10))) return 3;
  if (act.empty()) return 2;
  std::cout << getpid() << std::endl;
  const auto store = veltrane::sqlite::open(argv[1]);
  if (act == "write") return writeMany(*store, argv[3], std::atoi(argv[4]), std::atoi(argv[5]));
  return writeThenRead(*store, argv[3]);
}
