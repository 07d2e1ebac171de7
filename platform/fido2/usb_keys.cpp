#include <fcntl.h>
#include <fido.h>
#include <poll.h>
#include <sys/file.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <utility>

#include "platform/fido2/halt.h"
#include "platform/fido2/key_source.h"

namespace veltrane::fido2 {
namespace {

/// The kernel's HID device. libfido2 has such a wire too, but one that nothing wakes: a key that
/// falls silent would hold its thread for good.
class HidrawWire final : public KeyWire {
 public:
  explicit HidrawWire(int fd) : fd_(fd) {}
  ~HidrawWire() override { close(fd_); }
  HidrawWire(const HidrawWire&) = delete;
  HidrawWire& operator=(const HidrawWire&) = delete;

  std::optional<std::size_t> read(std::span<unsigned char> report, std::chrono::milliseconds limit,
                                  const Halt* halt) override {
    static const Halt never;
    const auto wake = (halt != nullptr ? *halt : never).wait(fd_, limit);
    if (wake != Halt::Wake::readable) return 0;
    const ssize_t count = ::read(fd_, report.data(), report.size());
    if (count > 0) return static_cast<std::size_t>(count);
    if (count < 0 && (errno == EINTR || errno == EAGAIN)) return 0;
    return std::nullopt;
  }

  bool write(std::span<const unsigned char> report) override {
    // The kernel wants the report's number before it: keys have one kind of report, number 0.
    std::array<unsigned char, 1 + kReportSize> numbered{};
    if (report.size() > kReportSize) return false;
    std::copy(report.begin(), report.end(), numbered.begin() + 1);
    return ::write(fd_, numbered.data(), numbered.size()) == std::ssize(numbered);
  }

 private:
  int fd_;
};

class UsbKeys final : public KeySource {
 public:
  std::vector<Key> list() override {
    constexpr std::size_t kMost = 64;
    fido_dev_info_t* found = fido_dev_info_new(kMost);
    std::size_t count = 0;
    if (found == nullptr || fido_dev_info_manifest(found, kMost, &count) != FIDO_OK) count = 0;
    std::vector<Key> keys;
    for (std::size_t i = 0; i < count; ++i) {
      const fido_dev_info_t* key = fido_dev_info_ptr(found, i);
      const char* product = fido_dev_info_product_string(key);
      std::string path = fido_dev_info_path(key);
      // Other kinds (NFC) have no reports.
      if (!path.starts_with("/dev/")) continue;
      keys.push_back({std::move(path), product != nullptr ? product : ""});
    }
    fido_dev_info_free(&found, kMost);
    return keys;
  }

  std::unique_ptr<KeyWire> open(const std::string& path) override {
    const int fd = ::open(path.c_str(), O_RDWR | O_CLOEXEC);
    if (fd < 0) return nullptr;
    auto wire = std::make_unique<HidrawWire>(fd);
    // As libfido2 does: two programs that talk to one key at a time only confuse it.
    if (flock(fd, LOCK_EX | LOCK_NB) != 0) return nullptr;
    return wire;
  }
};

}  // namespace

std::shared_ptr<KeySource> usbKeys() {
  return std::make_shared<UsbKeys>();
}

}  // namespace veltrane::fido2
