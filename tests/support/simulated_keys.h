#pragma once

#include <chrono>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/fido2/key_source.h"
#include "tests/support/simulated_ctap.h"

namespace veltrane::testing {

/// A security key in a simulated USB port: CTAPHID around a mind. Any thread.
class SimulatedKey {
 public:
  /// How it talks rather than what it says.
  enum class Manner {
    proper,
    silent,          ///< takes everything, says nothing
    endless,         ///< is at work for ever, and cannot be told to stop
    strangeChannel,  ///< answers somebody else, without a pause
    cut,             ///< leaves out the end of longer answers
    huge,            ///< claims more than follows
    garbage,         ///< answers with noise
  };
  using Mind = std::function<SimulatedCtap::Reply(std::string_view request)>;

  explicit SimulatedKey(KeyBehaviour behaviour = {});
  explicit SimulatedKey(Mind mind);
  ~SimulatedKey();

  void setManner(Manner manner);
  /// Otherwise a touch is there as soon as it is asked for.
  void waitForTouch();
  /// Touches it now; nothing happens unless it asks for that.
  void touch();
  bool isBlinking() const;
  /// Lets a test look at the mind, or change it.
  void with(const std::function<void(SimulatedCtap&)>& use);

  // For its port.
  void plugIn();
  void pullOut();
  bool write(std::string_view report);
  std::optional<std::string> read(std::chrono::milliseconds limit, const fido2::Halt* halt);

 private:
  void receive(std::string_view report);
  void handle(std::uint8_t command, const std::string& content);
  void act(SimulatedCtap::Reply reply);
  void say(std::uint8_t command, std::string content);
  std::string frame(std::uint8_t command, std::string_view rest) const;
  std::optional<std::string> nextReport();
  void finishTouch();
  void wake();

  mutable std::mutex mutex_;
  std::optional<SimulatedCtap> ctap_;
  Mind mind_;
  const int event_;
  Manner manner_ = Manner::proper;
  bool waitsForTouch_ = false;
  bool isIn_ = false;
  std::string channel_;
  std::uint8_t command_ = 0;
  std::string content_;
  std::size_t expected_ = 0;
  std::function<std::string()> pending_;
  std::deque<std::string> reports_;
  std::chrono::steady_clock::time_point lastReport_;
};

/// The ports. Any thread.
class SimulatedKeys final : public fido2::KeySource {
 public:
  void plugIn(const std::string& path, std::shared_ptr<SimulatedKey> key);
  void pullOut(const std::string& path);
  /// How many looks at the ports there have been.
  std::size_t looks() const;

  std::vector<Key> list() override;
  std::unique_ptr<fido2::KeyWire> open(const std::string& path) override;

 private:
  mutable std::mutex mutex_;
  std::map<std::string, std::shared_ptr<SimulatedKey>> keys_;
  std::size_t looks_ = 0;
};

}  // namespace veltrane::testing
