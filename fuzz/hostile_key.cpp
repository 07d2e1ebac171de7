// A security key that answers what it likes. Each answer is two bytes of length and what follows;
// with the first byte's bit 8 all that follows are bare reports instead.
#include <algorithm>

#include "fuzz/key_talk.h"
#include "fuzz/world.h"

namespace {

using namespace veltrane;

std::string_view take(std::string_view& input, std::size_t size) {
  const std::string_view taken = input.substr(0, size);
  input.remove_prefix(taken.size());
  return taken;
}

std::string nextAnswer(std::string_view& input) {
  const std::string_view length = take(input, 2);
  if (length.size() < 2) return "\x01";
  return std::string(take(
      input, static_cast<std::uint8_t>(length[0]) + 256U * static_cast<std::uint8_t>(length[1])));
}

/// Greets as it should, so that what follows is listened to.
class RawWire final : public fido2::KeyWire {
 public:
  explicit RawWire(std::string_view input) : input_(input) {}

  std::optional<std::size_t> read(std::span<unsigned char> report,
                                  std::chrono::milliseconds /*limit*/,
                                  const fido2::Halt* /*halt*/) override {
    if (greeting_.empty() && input_.empty()) return std::nullopt;
    std::string next = std::exchange(greeting_, {});
    if (next.empty()) next.append("KEY1").append(take(input_, 60));
    next.resize(kReportSize);
    std::copy_n(next.begin(), std::min(next.size(), report.size()), report.begin());
    return std::min(next.size(), report.size());
  }
  bool write(std::span<const unsigned char> report) override {
    const std::string text(report.begin(), report.end());
    if (text.at(4) == '\x86') {
      greeting_ = text.substr(0, 5) + std::string("\0\x11", 2) + text.substr(7, 8) + "KEY1" +
                  std::string("\2\5\0\0\x0C", 5);
    }
    return true;
  }

 private:
  std::string_view input_;
  std::string greeting_;
};

fuzz::KeyResult run(const fuzz::Wish& wish, std::string_view input) {
  if (wish.isRaw) return fuzz::talkTo(std::make_unique<RawWire>(input), wish);
  testing::SimulatedKeys keys;
  keys.plugIn("key", std::make_shared<testing::SimulatedKey>([&](std::string_view /*request*/) {
                return testing::SimulatedCtap::Reply{nextAnswer(input), {}};
              }));
  return fuzz::talkTo(keys.open("key"), wish);
}

}  // namespace

// libcbor asks for as much memory as a map's head claims to need before it looks at the map; no
// head that claims too much is to reach it.
extern "C" const char* __asan_default_options() {  // NOLINT: the sanitizer's name
  return "max_allocation_size_mb=64";
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  const fuzz::Wish wish(data[0]);
  const auto result = run(wish, fuzz::asText(data + 1, size - 1));
  if (const auto* made = std::get_if<MadeCredential>(&result)) {
    fuzz::require(!made->id.empty() && !made->publicKey.empty());
    fuzz::require(made->attestationObject.find(made->authenticatorData) != std::string::npos);
  }
  if (const auto* got = std::get_if<Assertion>(&result)) {
    fuzz::require(!got->signature.empty());
    fuzz::require(wish.ids.empty() || std::ranges::count(wish.ids, got->id) > 0);
  }
  return 0;
}
