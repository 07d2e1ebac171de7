#pragma once

#include <fido.h>

#include <array>
#include <chrono>
#include <cstddef>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "platform/fido2/key_source.h"
#include "platform/fido2/reply_check.h"

namespace veltrane::fido2 {

class Halt;

struct FidoFree {
  void operator()(fido_dev_t* device) const { fido_dev_free(&device); }
  void operator()(fido_cred_t* credential) const { fido_cred_free(&credential); }
  void operator()(fido_assert_t* assertion) const { fido_assert_free(&assertion); }
  void operator()(fido_cbor_info_t* info) const { fido_cbor_info_free(&info); }
};
template <typename Type>
using Fido = std::unique_ptr<Type, FidoFree>;

/// What a key says about itself.
struct KeyAbilities {
  /// COSE identifiers.
  std::vector<int> algorithms;
  std::vector<std::string> transports;
  bool residentKeys = false;
  std::size_t minimumPIN = 4;
  /// The most credential ids it takes at a time, and the longest; 0: it does not tell.
  std::size_t mostIds = 0;
  std::size_t longestId = 0;
};

/// A key that is being talked to, by one thread. Every wait inside of libfido2 ends when `halt` is
/// requested (the key is told to cancel first) or `deadline` has passed: no key holds the thread.
class KeyConnection {
 public:
  using Clock = std::chrono::steady_clock;

  KeyConnection(std::string path, std::unique_ptr<KeyWire> wire, const Halt& halt,
                Clock::time_point deadline, Patience patience);
  ~KeyConnection();
  KeyConnection(const KeyConnection&) = delete;
  KeyConnection& operator=(const KeyConnection&) = delete;

  /// Greets the key and learns what it can do. To be called first; a FIDO_ERR_* otherwise.
  int open();

  const std::string& path() const { return path_; }
  fido_dev_t* device() const { return device_.get(); }
  const KeyAbilities& abilities() const { return abilities_; }
  /// The key has been taken out, or has stopped talking.
  bool isGone() const { return gone_; }

 private:
  struct Bridge;

  int read(unsigned char* report, std::size_t size, int limit);
  int write(const unsigned char* numbered, std::size_t size);
  /// False: nothing more is wanted of this key.
  bool hear(std::span<const unsigned char> report);
  void askAbilities();
  Clock::time_point endOfWait(int limit) const;

  std::string path_;
  std::unique_ptr<KeyWire> wire_;
  const Halt& halt_;
  Clock::time_point deadline_;
  Patience patience_;
  Fido<fido_dev_t> device_;
  KeyAbilities abilities_;
  ReplyCheck replies_;
  /// CTAPHID's name for this conversation; begins each report.
  std::array<unsigned char, 4> channel_{};
  Clock::time_point lastWord_;
  std::optional<Clock::time_point> farewellEnd_;
  bool gone_ = false;
};

}  // namespace veltrane::fido2
