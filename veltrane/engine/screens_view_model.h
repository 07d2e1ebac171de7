#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "veltrane/base/dictionary.h"
#include "veltrane/engine/cell_properties.h"
#include "veltrane/engine/credentials_manager.h"
#include "veltrane/engine/event_params.h"
#include "veltrane/flow/veltrane_flow_error.h"
#include "veltrane/network/http_transport.h"
#include "veltrane/toolkit/signal.h"

namespace veltrane {

/// Hears what became of a screen's events. Main thread.
class ScreensViewModelDelegate {
 public:
  virtual ~ScreensViewModelDelegate() = default;
  /// `userViewIndex`: the user view that the answer leads to, if it leads to one.
  virtual void nextEventProcessComplete(const std::optional<JSON>& response,
                                        const std::optional<VeltraneFlowError>& error,
                                        std::optional<std::size_t> userViewIndex) = 0;
  virtual void postProcessNextEventComplete(const std::optional<JSON>& response,
                                            const std::optional<VeltraneFlowError>& error,
                                            std::optional<std::size_t> userViewIndex) = 0;
};

/// One screen of the flow: its rows and settings, read from its user view dictionary, and its
/// events. Main thread only. What is under way ends in silence when it is destroyed.
class ScreensViewModel : public std::enable_shared_from_this<ScreensViewModel> {
  struct MakeOnly {
    explicit MakeOnly() = default;
  };

 public:
  explicit ScreensViewModel(MakeOnly /*call make*/) {}
  static std::shared_ptr<ScreensViewModel> make(const Dictionary& props, std::size_t userViewIndex);

  /// Fills the fields and appends rows; rows that are there already stay.
  void setRecord(const Dictionary& props);

  /// The bodies of the events, each with the keys "eventName", "connectionId", "capabilityName",
  /// "id" and "parameters".
  Dictionary getNextEventProps(const Dictionary& parameters) const;
  Dictionary getPostProcessEventProps(const Dictionary& parameters) const;
  Dictionary getOnLoadEventProps(const Dictionary& parameters) const;

  struct NextEvent {
    Dictionary additionalParameter = {};
    bool isOnLoadEvent = false;
    bool isPollingContinue = false;
  };
  /// Sends the next, on-load or polling "continue" event; a next event of type "nextUserView" is a
  /// step within the client. The delegate hears the outcome, on a later turn of the main queue.
  void processNextEvent(const NextEvent& event);
  /// Sends a credential response. The delegate hears the outcome.
  void postProcessEvent(const JSON& response);

  /// Ends what is under way; the delegate hears no more and nothing is sent any more.
  void stop();

  /// The keys of masked fields, whose values must not reach a log.
  std::vector<std::string> secretNames() const;

  /// This screen's answers are what the passkey library made of them, not what the server sent.
  bool answersAreCredentials() const;

  /// A request of this screen is on its way, or its passkey step runs.
  bool isBusy() const { return busy_ > 0; }
  /// `isBusy` has changed.
  Signal<> busyChanged;

  std::vector<CellProperties> records;
  std::optional<JSON> nextEvent;
  std::optional<JSON> postProcess;
  std::optional<JSON> onLoadEvent;
  std::optional<std::string> title;
  std::optional<EventParams> nextParam;
  std::optional<EventParams> onLoadParam;
  std::optional<std::string> credId;
  std::weak_ptr<ScreensViewModelDelegate> delegate;
  /// Null when the platform has none.
  std::shared_ptr<CredentialsManager> credManager;
  std::optional<std::size_t> userViewIndex;
  std::optional<std::string> screenTemplateName;
  std::optional<std::string> navigationTitle;
  bool fullScreenMode = false;
  bool enablePolling = false;
  double pollInterval = 0;  // milliseconds
  double pollRetries = 0;   // ticks
  std::string pollingChallenge;
  std::string viewBackgroundColor;
  std::string viewTextColor;
  std::string navbarBackgroundColor;
  std::string navbarTextColor;
  double viewPaddingTop = 0;
  double viewPaddingRight = 0;
  double viewPaddingBottom = 0;
  double viewPaddingLeft = 0;

  /// The flow's own identifiers, for a polling "continue" event of a screen without events.
  std::optional<EventParams> flowParam;

 private:
  /// What an event was sent for; decides how its answer is read.
  enum class EventKind : std::uint8_t { next, onLoad, pollingContinue, postProcess };
  struct Answer {
    std::optional<JSON> response = std::nullopt;  // an object
    std::optional<VeltraneFlowError> error = std::nullopt;
  };
  using CredentialsOutcome = void (ScreensViewModel::*)(const Answer&);

  void reserveRows(std::size_t listed);
  void addComponentRow(const JSON& component);
  void addFixedRows(const Dictionary& props);
  void addFormRows(const Dictionary& props);

  void stepWithinClient();
  void send(EventKind kind, const std::optional<EventParams>& param, const Dictionary& body);
  static Answer readAnswer(const std::optional<std::string>& body,
                           std::optional<VeltraneFlowError> error);
  void answered(EventKind kind, const Answer& answer);
  void nextEventAnswered(EventKind kind, const Answer& answer);
  void runLocalEvent(const JSON& step, const JSON& answer);
  void startRegistration(const JSON& answer);
  void startAuthentication(const JSON& answer);
  CredentialsManager::Callback onCredentials(CredentialsOutcome outcome);
  void registered(const Answer& answer);
  void authenticated(const Answer& answer);

  void report(EventKind kind, const Answer& answer, std::optional<std::size_t> index);
  void reportLater(EventKind kind, Answer answer, std::optional<std::size_t> index);
  void changeBusy(int by);

  std::map<std::uint64_t, std::unique_ptr<HTTPRequestHandle>> inFlight_;
  std::uint64_t lastRequest_ = 0;
  int busy_ = 0;
  bool stopped_ = false;
};

}  // namespace veltrane
