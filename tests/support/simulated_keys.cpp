#include "tests/support/simulated_keys.h"

#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>

#include "platform/fido2/halt.h"

namespace veltrane::testing {
namespace {

/// Between two words of a key at work.
constexpr std::chrono::milliseconds kPause{10};
constexpr std::size_t kReport = fido2::KeyWire::kReportSize;
constexpr std::uint8_t kPing = 0x81, kInit = 0x86, kCBOR = 0x90, kCancel = 0x91, kKeepAlive = 0xBB,
                       kError = 0xBF;

class SimulatedWire final : public fido2::KeyWire {
 public:
  explicit SimulatedWire(std::shared_ptr<SimulatedKey> key) : key_(std::move(key)) {}
  std::optional<std::size_t> read(std::span<unsigned char> report, std::chrono::milliseconds limit,
                                  const fido2::Halt* halt) override {
    const auto came = key_->read(limit, halt);
    if (!came) return std::nullopt;
    std::copy_n(came->begin(), std::min(came->size(), report.size()), report.begin());
    return std::min(came->size(), report.size());
  }
  bool write(std::span<const unsigned char> report) override {
    return key_->write({reinterpret_cast<const char*>(report.data()), report.size()});
  }

 private:
  std::shared_ptr<SimulatedKey> key_;
};

}  // namespace

SimulatedKey::SimulatedKey(KeyBehaviour behaviour)
    : ctap_(std::in_place, std::move(behaviour)),
      mind_([this](std::string_view request) { return ctap_->answer(request); }),
      event_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {}

SimulatedKey::SimulatedKey(Mind mind)
    : mind_(std::move(mind)), event_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {}

SimulatedKey::~SimulatedKey() {
  close(event_);
}

void SimulatedKey::setManner(Manner manner) {
  const std::lock_guard lock(mutex_);
  manner_ = manner;
}

void SimulatedKey::waitForTouch() {
  const std::lock_guard lock(mutex_);
  waitsForTouch_ = true;
}

void SimulatedKey::touch() {
  const std::lock_guard lock(mutex_);
  finishTouch();
}

bool SimulatedKey::isBlinking() const {
  const std::lock_guard lock(mutex_);
  return pending_ != nullptr;
}

void SimulatedKey::with(const std::function<void(SimulatedCtap&)>& use) {
  const std::lock_guard lock(mutex_);
  if (ctap_) use(*ctap_);
}

void SimulatedKey::plugIn() {
  const std::lock_guard lock(mutex_);
  isIn_ = true;
  pending_ = nullptr;
  reports_.clear();
  if (ctap_) ctap_->powerUp();
}

void SimulatedKey::pullOut() {
  const std::lock_guard lock(mutex_);
  isIn_ = false;
  wake();
}

bool SimulatedKey::write(std::string_view report) {
  const std::lock_guard lock(mutex_);
  if (isIn_ && report.size() == kReport) receive(report);
  return isIn_;
}

std::optional<std::string> SimulatedKey::read(std::chrono::milliseconds limit,
                                              const fido2::Halt* halt) {
  static const fido2::Halt never;
  if (auto report = nextReport(); !report || !report->empty()) return report;
  // A key at work says so now and then.
  const auto wait = limit.count() < 0 ? kPause : std::min(limit, kPause);
  (halt != nullptr ? halt : &never)->wait(event_, wait);
  return nextReport();
}

std::optional<std::string> SimulatedKey::nextReport() {
  const std::lock_guard lock(mutex_);
  std::uint64_t count = 0;
  [[maybe_unused]] const auto drained = ::read(event_, &count, sizeof(count));
  if (!isIn_) return std::nullopt;
  if (manner_ == Manner::silent) return "";
  if (manner_ == Manner::strangeChannel && !channel_.empty()) {
    return "\x01\x02\x03\x04" + frame(kCBOR, std::string("\0\1\0", 3)).substr(4);
  }
  if (!reports_.empty()) {
    std::string report = std::move(reports_.front());
    reports_.pop_front();
    return report;
  }
  const bool isAtWork = pending_ || (manner_ == Manner::endless && !channel_.empty());
  const auto now = std::chrono::steady_clock::now();
  if (!isAtWork || now - lastReport_ < kPause) return "";
  lastReport_ = now;
  return frame(kKeepAlive, std::string("\0\1\2", 3));
}

void SimulatedKey::receive(std::string_view report) {
  const auto first = static_cast<std::uint8_t>(report[4]);
  if (first >= 0x80) {
    command_ = first;
    expected_ = static_cast<std::uint8_t>(report[5]) * 256U + static_cast<std::uint8_t>(report[6]);
    content_ = report.substr(7, expected_);
  } else {
    content_ += report.substr(5, expected_ - content_.size());
  }
  if (content_.size() >= expected_) handle(command_, std::exchange(content_, {}));
}

void SimulatedKey::handle(std::uint8_t command, const std::string& content) {
  switch (command) {
    case kInit:
      channel_ = "\xFF\xFF\xFF\xFF";
      pending_ = nullptr;
      // Its version, and that it knows CBOR but no older messages.
      say(kInit, content + "KEY1" + std::string("\2\5\0\0\x0C", 5));
      channel_ = "KEY1";
      return;
    case kCBOR:
      if (manner_ == Manner::endless && content != "\x04") return;
      return act(mind_(content));
    case kCancel:
      if (manner_ == Manner::endless || !std::exchange(pending_, nullptr)) return;
      return say(kCBOR, "\x2D");
    case kPing:
      return say(kPing, content);
    default:
      return say(kError, "\x01");
  }
}

void SimulatedKey::act(SimulatedCtap::Reply reply) {
  if (!reply.whenTouched) return say(kCBOR, std::move(reply.bytes));
  pending_ = std::move(reply.whenTouched);
  if (!waitsForTouch_) finishTouch();
}

void SimulatedKey::finishTouch() {
  if (const auto done = std::exchange(pending_, nullptr)) say(kCBOR, done());
}

std::string SimulatedKey::frame(std::uint8_t command, std::string_view rest) const {
  std::string report = channel_ + static_cast<char>(command);
  report.append(rest).resize(kReport);
  return report;
}

void SimulatedKey::say(std::uint8_t command, std::string content) {
  if (manner_ == Manner::garbage && command == kCBOR) {
    for (char& c : content) c = static_cast<char>(c * 31 + 7);
  }
  const std::size_t size = manner_ == Manner::huge && command == kCBOR ? 0xFFFF : content.size();
  const std::string length{static_cast<char>(size >> 8U), static_cast<char>(size & 0xFFU)};
  reports_.push_back(frame(command, length + content.substr(0, kReport - 7)));
  for (std::size_t at = kReport - 7, number = 0; at < content.size(); at += kReport - 5) {
    if (manner_ == Manner::cut && at + kReport - 5 >= content.size()) break;
    reports_.push_back(frame(static_cast<std::uint8_t>(number++), content.substr(at, kReport - 5)));
  }
  wake();
}

void SimulatedKey::wake() {
  const std::uint64_t one = 1;
  [[maybe_unused]] const auto written = ::write(event_, &one, sizeof(one));
}

void SimulatedKeys::plugIn(const std::string& path, std::shared_ptr<SimulatedKey> key) {
  const std::lock_guard lock(mutex_);
  key->plugIn();
  keys_[path] = std::move(key);
}

void SimulatedKeys::pullOut(const std::string& path) {
  const std::lock_guard lock(mutex_);
  if (const auto found = keys_.extract(path)) found.mapped()->pullOut();
}

std::size_t SimulatedKeys::looks() const {
  const std::lock_guard lock(mutex_);
  return looks_;
}

std::vector<fido2::KeySource::Key> SimulatedKeys::list() {
  const std::lock_guard lock(mutex_);
  ++looks_;
  std::vector<Key> keys;
  for (const auto& [path, key] : keys_) keys.push_back({path, "Simulated key"});
  return keys;
}

std::unique_ptr<fido2::KeyWire> SimulatedKeys::open(const std::string& path) {
  const std::lock_guard lock(mutex_);
  const auto found = keys_.find(path);
  if (found != keys_.end()) return std::make_unique<SimulatedWire>(found->second);
  errno = ENOENT;
  return nullptr;
}

}  // namespace veltrane::testing
