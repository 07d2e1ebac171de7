#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "veltrane/toolkit/signal.h"
#include "veltrane/toolkit/view_controller.h"

namespace veltrane::webengine {

/// Why a vendor's page cannot be shown.
enum class WebTrouble : std::uint8_t {
  setUp,        // what the server gave for the step cannot be asked for
  unreachable,  // no answer
  refused,      // an answer that is an error
  unusable,     // an answer that leads nowhere
  late,         // the page has not come in time
  stopped,      // the browser's process has ended
  noBrowser,    // there is no browser on this device
};

/// English, for the console and for errors; the sheet shows it translated.
std::string_view words(WebTrouble trouble);

/// What the browser is to load: an empty page of our own, in which a script makes room for the
/// vendor's.
struct WebPage {
  /// The address that our page has. Nothing is fetched from there.
  std::string hostPage;
  /// All that may be loaded (allowed_origins.h), the vendor's first address before the others.
  std::vector<std::string> origins;
  /// Of these, who may ask for the camera beside our own page.
  std::vector<std::string> cameraOrigins;
  /// Run once our page is there. It carries the vendor's token: it reaches no log and no address.
  std::string script;
  /// Run before the browser goes; it ends with a message "veltrane ended" to its window.
  std::string tearDown;
  /// How long that may take.
  std::chrono::milliseconds farewell{0};
  /// The vendor's page is in a frame, where one document may make way for another.
  bool isFramed = false;
};

/// A vendor's web client, in what it does with its sheet. Main thread, as all of a sheet.
class WebClient {
 public:
  virtual ~WebClient() = default;
  /// Begins, or begins anew when the user tries again: `open` or `fail` follows in its time.
  virtual void begin() = 0;
  /// The page has said something. `origin` is the browser's word, `text` is anybody's.
  virtual void received(std::string_view origin, std::string_view text) = 0;
  /// The user has closed the sheet, perhaps because of the trouble that it showed.
  virtual void closed(std::optional<WebTrouble> trouble) = 0;
};

/// What the user sees of one hand-over to a web client: that it is on its way, the vendor's page,
/// or what stands in its way. A front end mirrors it and brings a browser along.
class WebSheet : public std::enable_shared_from_this<WebSheet> {
 public:
  enum class State : std::uint8_t { loading, shown, trouble, ended };

  WebSheet(std::weak_ptr<WebClient> client, std::chrono::milliseconds patience);

  State state() const { return state_; }
  std::optional<WebTrouble> trouble() const { return trouble_; }
  /// What is loading or shown; null while there is nothing to load.
  const std::shared_ptr<const WebPage>& page() const { return page_; }
  /// Any of the above has changed.
  Signal<> changed;

  // What the client does.
  void begin();
  /// Loads the page. When it has not been `loaded` in time, that is trouble.
  void open(WebPage page);
  void loaded();
  void fail(WebTrouble trouble);
  /// For good: the browser goes, nothing is reported any more.
  void end();

  // What the user and the browser do.
  void close();
  /// The user is about to close the sheet, and the page may still end what it has begun: from now
  /// on nothing that it says, and nothing that befalls it, changes how this ends.
  void prepareToClose();
  /// False for trouble that will not have passed by then.
  bool canTryAgain() const;
  void tryAgain();
  void received(std::string_view origin, std::string_view text);
  /// `answer` hears once what the user says, at once when they have said it before. A question that
  /// is taken away unanswered is a refusal, for this time. Nobody but the vendor and our own page
  /// gets one asked.
  using Answer = std::function<void(bool allowed)>;
  void askForCamera(const std::string& origin, Answer answer);
  /// A document within the page may be about to make way for another: the vendor's, or one in a
  /// frame of its own, as the browser does not tell which.
  void documentMayLeave();
  /// Another document has taken the vendor's place: what was asked for before the first
  /// `documentMayLeave` since the last time is void. Whatever was asked for after it counts as the
  /// new document's. So a question of the one that has left survives when it was asked between a
  /// navigation and what came of it, or after one that never came to this, a nested frame's say: it
  /// stays until the user answers or the document after this one comes.
  void documentCame();

  /// Over which questions are asked.
  std::weak_ptr<ViewController> screen;

 private:
  void become(State state);
  void watchTheClock();
  void ask();
  void answered(bool allowed);
  void takeQuestionAway();
  /// Tells the first ones that wait.
  void tell(std::size_t count, bool allowed);

  std::weak_ptr<WebClient> client_;
  std::chrono::milliseconds patience_;
  State state_ = State::loading;
  std::optional<WebTrouble> trouble_;
  std::shared_ptr<const WebPage> page_;
  bool isClosing_ = false;
  std::optional<bool> cameraAllowed_;
  std::vector<Answer> waitingForCamera_;
  /// How many of these were asked for before the first document might leave that has not come.
  std::optional<std::size_t> mayLeave_;
  /// Count questions and clocks: an earlier one says nothing any more.
  int question_ = 0;
  int clock_ = 0;
  bool isAsking_ = false;
  std::weak_ptr<ViewController> alert_;
};

/// A controller whose view is a sheet.
class SheetScreen {
 public:
  virtual ~SheetScreen() = default;
  virtual const std::shared_ptr<WebSheet>& sheet() const = 0;
};

/// The class name of such controllers, by which a front end knows them.
inline constexpr std::string_view kSheetScreenName = "WebHandOver";

}  // namespace veltrane::webengine
