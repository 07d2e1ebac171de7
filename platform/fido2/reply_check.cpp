#include "platform/fido2/reply_check.h"

#include <fido.h>

#include <algorithm>
#include <string_view>

#include "veltrane/passkeys/cbor_bounds.h"

namespace veltrane::fido2 {
namespace {

constexpr std::size_t kFirstHead = 7;
constexpr std::size_t kNextHead = 5;
constexpr unsigned char kMakeCredential = 0x01;
constexpr unsigned char kGetAssertion = 0x02;
constexpr unsigned char kGetNextAssertion = 0x08;

bool isFirst(std::span<const unsigned char> report) {
  return report.size() > kFirstHead && (report[4] & CTAP_FRAME_INIT) != 0;
}

bool isMessage(std::span<const unsigned char> report) {
  return report[4] == (CTAP_FRAME_INIT | CTAP_CMD_CBOR);
}

}  // namespace

void ReplyCheck::asked(std::span<const unsigned char> report) {
  if (isFirst(report) && isMessage(report)) command_ = report[kFirstHead];
}

bool ReplyCheck::takes(std::span<const unsigned char> report) {
  if (isFirst(report)) {
    if (!isMessage(report)) return true;
    reply_.clear();
    missing_ = report[5] * 256U + report[6];
    report = report.subspan(kFirstHead);
  } else {
    if (missing_ == 0 || report.size() < kNextHead) return true;
    report = report.subspan(kNextHead);
  }
  const std::size_t count = std::min(missing_, report.size());
  reply_.append(report.begin(), report.begin() + static_cast<std::ptrdiff_t>(count));
  missing_ -= count;
  return missing_ > 0 || isSound();
}

/// A status, and CBOR unless it tells of a failure. Anything behind it is the decoder's to refuse.
bool ReplyCheck::isSound() const {
  const std::string_view message =
      std::string_view(reply_).substr(std::min<std::size_t>(1, reply_.size()));
  if (message.empty()) return true;
  if (!boundedCborSize(message)) return false;
  const bool hasData =
      command_ == kMakeCredential || command_ == kGetAssertion || command_ == kGetNextAssertion;
  constexpr std::uint64_t kAuthenticatorData = 2;
  const auto data = hasData ? bytesInCborMap(message, kAuthenticatorData) : std::string_view();
  return data.empty() || isBoundedAuthenticatorData(data);
}

}  // namespace veltrane::fido2
