#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <array>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <sstream>

#include "tests/qtquick/passkey_fixture.h"

namespace veltrane::qtquick::test {
namespace {

/// Never written out as a whole, so that only a leak puts it together.
constexpr std::array<unsigned char, 12> kDisguised = {0x2B, 0x6A, 0x0D, 0x7C, 0x31, 0x18,
                                                      0x23, 0x05, 0x6E, 0x14, 0x77, 0x3F};
char letter(std::size_t at) {
  return static_cast<char>('a' + kDisguised[at] % 26);
}

/// Where pieces of this process's memory are read to; it is left out of the search.
std::array<char, 1 << 20> window;

/// The secret at `bytes`, in characters of this width.
bool isAt(const char* bytes, std::size_t width) {
  for (std::size_t i = 0; i < kDisguised.size(); ++i) {
    if (bytes[i * width] != letter(i)) return false;
    for (std::size_t j = 1; j < width; ++j) {
      if (bytes[i * width + j] != '\0') return false;
    }
  }
  return true;
}

std::size_t countIn(const char* bytes, std::size_t size) {
  std::size_t count = 0;
  const std::size_t longest = kDisguised.size() * 4;
  if (size < longest) return 0;
  const char* const end = bytes + size - longest;
  for (const char* at = bytes; at < end; ++at) {
    at = static_cast<const char*>(memchr(at, letter(0), static_cast<std::size_t>(end - at)));
    if (!at) break;
    count += isAt(at, 1) || isAt(at, 2) || isAt(at, 4) ? 1 : 0;
  }
  return count;
}

std::size_t countFrom(int memory, std::uintptr_t from, std::uintptr_t to) {
  std::size_t count = 0;
  const std::size_t step = window.size() - kDisguised.size() * 4;
  for (std::uintptr_t at = from; at < to; at += step) {
    const auto own = reinterpret_cast<std::uintptr_t>(window.data());
    if (at < own + window.size() && at + window.size() > own) continue;
    const auto room = std::min<std::size_t>(window.size(), to - at);
    const auto size = pread(memory, window.data(), room, static_cast<off_t>(at));
    if (size > 0) count += countIn(window.data(), static_cast<std::size_t>(size));
  }
  return count;
}

/// How often the secret stands in the memory that this process can write to, freed memory included.
std::size_t timesInMemory() {
  const int memory = open("/proc/self/mem", O_RDONLY | O_CLOEXEC);
  EXPECT_GE(memory, 0);
  std::ifstream maps("/proc/self/maps");
  std::size_t count = 0;
  constexpr std::uintptr_t kShadow = std::uintptr_t{1} << 30;  // a sanitizer's own books
  for (std::string line; std::getline(maps, line);) {
    std::uintptr_t from = 0;
    std::uintptr_t to = 0;
    char dash = 0;
    std::string rights;
    std::istringstream(line) >> std::hex >> from >> dash >> to >> rights;
    if (rights.starts_with("rw") && to - from < kShadow) count += countFrom(memory, from, to);
  }
  close(memory);
  return count;
}

class PasskeyMemory : public PasskeyFrontEnd {
 protected:
  void typeSecret() {
    for (std::size_t i = 0; i < kDisguised.size(); ++i) type(QString(QLatin1Char(letter(i))));
  }
};

TEST_F(PasskeyMemory, KeepsNothingOfASecretThatWasSent) {
  ask(question(PasskeyStep::newPassphrase));
  typeSecret();
  QMetaObject::invokeMethod(parts("passkeyShow")[0], "acted");
  settle();
  QMetaObject::invokeMethod(parts("passkeyShow")[0], "acted");
  settle();
  press(Qt::Key_Return);
  typeSecret();
  EXPECT_GT(timesInMemory(), 0U) << "the search finds what the fields hold";
  press(Qt::Key_Return);
  ASSERT_EQ(secret_.size(), kDisguised.size());
  secret_ = {};
  EXPECT_EQ(timesInMemory(), 0U);
}

TEST_F(PasskeyMemory, KeepsNothingOfASecretThatWasNotSent) {
  ask(question(PasskeyStep::passphrase));
  typeSecret();
  press(Qt::Key_Escape);
  sheet_->close();
  settle();
  EXPECT_EQ(timesInMemory(), 0U);
}

}  // namespace
}  // namespace veltrane::qtquick::test
