#pragma once

#include <cstdint>
#include <span>
#include <string>

namespace veltrane::fido2 {

/// Puts a key's replies together as they pass, report by report, and looks at each before libfido2
/// decodes it: that reserves memory by what a reply says of itself.
class ReplyCheck {
 public:
  /// A report to the key, without its number.
  void asked(std::span<const unsigned char> report);
  /// A report from the key. False: with it a reply is complete that is not to be decoded.
  bool takes(std::span<const unsigned char> report);

 private:
  bool isSound() const;

  /// Of CTAP: what the key has been asked last.
  std::uint8_t command_ = 0;
  std::string reply_;
  std::size_t missing_ = 0;
};

}  // namespace veltrane::fido2
