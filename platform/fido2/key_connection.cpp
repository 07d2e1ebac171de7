#include "platform/fido2/key_connection.h"

#include <algorithm>
#include <span>
#include <string_view>
#include <utility>

#include "platform/fido2/halt.h"
#include "veltrane/passkeys/authenticator.h"

namespace veltrane::fido2 {
namespace {

/// libfido2 opens a device by its path alone: this is the one that the thread is opening.
thread_local KeyConnection* opening = nullptr;

std::vector<std::string> textsOf(char** texts, std::size_t count) {
  return texts != nullptr ? std::vector<std::string>(texts, texts + count)
                          : std::vector<std::string>{};
}

bool isKeepAlive(std::span<const unsigned char> report) {
  constexpr std::size_t kCommand = 4;
  return report.size() > kCommand && report[kCommand] == (CTAP_FRAME_INIT | CTAP_KEEPALIVE);
}

bool hasOption(const fido_cbor_info_t* info, std::string_view option) {
  const auto names =
      textsOf(fido_cbor_info_options_name_ptr(info), fido_cbor_info_options_len(info));
  const auto found = std::ranges::find(names, option);
  return found != names.end() && fido_cbor_info_options_value_ptr(info)[found - names.begin()];
}

}  // namespace

struct KeyConnection::Bridge {
  static void* open(const char* /*path*/) { return opening; }
  static void close(void* /*connection*/) {}
  static int read(void* connection, unsigned char* report, std::size_t size, int limit) {
    return static_cast<KeyConnection*>(connection)->read(report, size, limit);
  }
  static int write(void* connection, const unsigned char* numbered, std::size_t size) {
    return static_cast<KeyConnection*>(connection)->write(numbered, size);
  }
};

KeyConnection::KeyConnection(std::string path, std::unique_ptr<KeyWire> wire, const Halt& halt,
                             Clock::time_point deadline, Patience patience)
    : path_(std::move(path)),
      wire_(std::move(wire)),
      halt_(halt),
      deadline_(deadline),
      patience_(patience),
      device_(fido_dev_new()),
      lastWord_(Clock::now()) {}

KeyConnection::~KeyConnection() {
  if (device_) fido_dev_close(device_.get());
}

int KeyConnection::open() {
  static constexpr fido_dev_io_t kIO{Bridge::open, Bridge::close, Bridge::read, Bridge::write};
  if (!device_) return FIDO_ERR_INTERNAL;
  int result = fido_dev_set_io_functions(device_.get(), &kIO);
  if (result != FIDO_OK) return result;
  opening = this;
  result = fido_dev_open(device_.get(), path_.c_str());
  opening = nullptr;
  if (result == FIDO_OK) askAbilities();
  return result;
}

void KeyConnection::askAbilities() {
  abilities_ = {.algorithms = {cose::kES256}, .transports = {"usb"}};
  const Fido<fido_cbor_info_t> info(fido_cbor_info_new());
  if (!info || !fido_dev_is_fido2(device()) ||
      fido_dev_get_cbor_info(device(), info.get()) != FIDO_OK) {
    return;
  }
  // Keys of CTAP 2.0 tell no algorithms: all of them know ES256.
  if (const std::size_t count = fido_cbor_info_algorithm_count(info.get()); count > 0) {
    abilities_.algorithms.clear();
    for (std::size_t i = 0; i < count; ++i) {
      abilities_.algorithms.push_back(fido_cbor_info_algorithm_cose(info.get(), i));
    }
  }
  auto transports =
      textsOf(fido_cbor_info_transports_ptr(info.get()), fido_cbor_info_transports_len(info.get()));
  if (!transports.empty()) abilities_.transports = std::move(transports);
  abilities_.residentKeys = hasOption(info.get(), "rk");
  abilities_.minimumPIN = std::clamp<std::size_t>(fido_cbor_info_minpinlen(info.get()), 4, 63);
  abilities_.mostIds = fido_cbor_info_maxcredcntlst(info.get());
  abilities_.longestId = fido_cbor_info_maxcredidlen(info.get());
}

KeyConnection::Clock::time_point KeyConnection::endOfWait(int limit) const {
  if (farewellEnd_) return *farewellEnd_;
  auto end = std::min(deadline_, lastWord_ + patience_.silence);
  if (limit >= 0) end = std::min(end, Clock::now() + std::chrono::milliseconds(limit));
  return end;
}

int KeyConnection::read(unsigned char* report, std::size_t size, int limit) {
  for (;;) {
    if (gone_) return -1;
    if (halt_.requested() && !farewellEnd_) {
      farewellEnd_ = Clock::now() + patience_.farewell;
      fido_dev_cancel(device());
    }
    const auto now = Clock::now();
    const auto wait = std::chrono::ceil<std::chrono::milliseconds>(endOfWait(limit) - now);
    gone_ = now >= lastWord_ + patience_.silence;
    // A key that never stops talking must find an end as well.
    if (gone_ || (wait.count() <= 0 && (farewellEnd_ || now >= deadline_))) return -1;
    const auto count = wire_->read({report, size}, std::max(wait, std::chrono::milliseconds(0)),
                                   farewellEnd_ ? nullptr : &halt_);
    if (!count) {
      gone_ = true;
    } else if (*count > 0) {
      gone_ = !hear({report, *count});
      if (gone_) return -1;
      // Being at work all the time gives a key no more of it than it was to have.
      if (limit == 0 && isKeepAlive({report, *count})) return -1;
      return static_cast<int>(*count);
    } else if (!halt_.requested() || farewellEnd_) {
      gone_ = Clock::now() >= lastWord_ + patience_.silence;
      return -1;
    }
  }
}

bool KeyConnection::hear(std::span<const unsigned char> report) {
  // What it says to other programs does not count.
  if (report.size() < channel_.size() ||
      !std::equal(channel_.begin(), channel_.end(), report.begin())) {
    return true;
  }
  lastWord_ = Clock::now();
  return replies_.takes(report);
}

int KeyConnection::write(const unsigned char* numbered, std::size_t size) {
  // What is asked of a key begins its time to answer. The first byte is the report's number.
  lastWord_ = Clock::now();
  if (size > channel_.size()) {
    std::copy_n(numbered + 1, channel_.size(), channel_.begin());
    replies_.asked({numbered + 1, size - 1});
  }
  if (size < 1 || gone_ || !wire_->write({numbered + 1, size - 1})) {
    gone_ = true;
    return -1;
  }
  return static_cast<int>(size);
}

}  // namespace veltrane::fido2
