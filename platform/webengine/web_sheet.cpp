#include "platform/webengine/web_sheet.h"

#include <QStringList>
#include <algorithm>
#include <iterator>
#include <utility>

#include "platform/webengine/allowed_origins.h"
#include "veltrane/toolkit/alert_controller.h"
#include "veltrane/toolkit/main_queue.h"

namespace veltrane::webengine {
namespace {

QString toQString(std::string_view text) {
  return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

bool mayAskForCamera(const WebPage& page, const QUrl& origin) {
  QStringList origins{originOf(QUrl(toQString(page.hostPage)))};
  for (const auto& each : page.cameraOrigins) origins.append(toQString(each));
  return isAllowed(origin, origins);
}

}  // namespace

std::string_view words(WebTrouble trouble) {
  switch (trouble) {
    case WebTrouble::setUp:
      return "This step is not set up properly.";
    case WebTrouble::unreachable:
      return "The identity service cannot be reached.";
    case WebTrouble::refused:
      return "The identity service has refused the request.";
    case WebTrouble::unusable:
      return "The identity service has given an answer that leads nowhere.";
    case WebTrouble::late:
      return "The page of the identity service does not load.";
    case WebTrouble::stopped:
      return "The page of the identity service has stopped.";
    case WebTrouble::noBrowser:
      return "This device cannot show the page of the identity service.";
  }
  return {};
}

WebSheet::WebSheet(std::weak_ptr<WebClient> client, std::chrono::milliseconds patience)
    : client_(std::move(client)), patience_(patience) {}

void WebSheet::become(State state) {
  state_ = state;
  if (state != State::shown && state != State::loading) page_.reset();
  if (state != State::trouble) trouble_.reset();
  changed();
}

void WebSheet::begin() {
  if (state_ == State::ended) return;
  page_.reset();
  // Whoever tries again may have changed their mind.
  if (cameraAllowed_ == false) cameraAllowed_.reset();
  become(State::loading);
  if (const auto client = client_.lock()) client->begin();
}

void WebSheet::open(WebPage page) {
  if (state_ == State::ended) return;
  page_ = std::make_shared<const WebPage>(std::move(page));
  mayLeave_.reset();
  become(State::loading);
  watchTheClock();
}

// One clock at a time: a later page has its own, and a question that has gone begins a new one.
void WebSheet::watchTheClock() {
  const int clock = ++clock_;
  MainQueue::current().asyncAfter(patience_, [weak = weak_from_this(), clock] {
    const auto self = weak.lock();
    if (!self || self->clock_ != clock || self->state_ != State::loading || !self->page_) return;
    // The page waits for the user, not the user for the page.
    if (!self->isAsking_) self->fail(WebTrouble::late);
  });
}

void WebSheet::loaded() {
  if (!isClosing_ && state_ == State::loading && page_) become(State::shown);
}

void WebSheet::fail(WebTrouble trouble) {
  if (isClosing_ || state_ == State::ended || state_ == State::trouble) return;
  trouble_ = trouble;
  become(State::trouble);
  takeQuestionAway();
}

void WebSheet::end() {
  if (state_ == State::ended) return;
  become(State::ended);
  takeQuestionAway();
}

void WebSheet::prepareToClose() {
  isClosing_ = true;
  takeQuestionAway();
}

void WebSheet::close() {
  if (state_ == State::ended) return;
  const auto self = shared_from_this();
  const auto trouble = trouble_;
  end();
  if (const auto client = client_.lock()) client->closed(trouble);
}

// The same would be asked for, or in the same place.
bool WebSheet::canTryAgain() const {
  return trouble_ != WebTrouble::setUp && trouble_ != WebTrouble::noBrowser;
}

void WebSheet::tryAgain() {
  if (state_ == State::trouble && canTryAgain()) begin();
}

void WebSheet::received(std::string_view origin, std::string_view text) {
  if (!page_ || isClosing_) return;
  const auto self = shared_from_this();
  if (const auto client = client_.lock()) client->received(origin, text);
}

void WebSheet::askForCamera(const std::string& origin, Answer answer) {
  const QUrl address(toQString(origin));
  if (isClosing_ || !page_ || page_->origins.empty() || !mayAskForCamera(*page_, address))
    return answer(false);
  if (cameraAllowed_) return answer(*cameraAllowed_);
  waitingForCamera_.push_back(std::move(answer));
  if (!isAsking_) ask();
}

// Our own page has no name that says anything: it is the vendor's that is named.
void WebSheet::ask() {
  const auto over = screen.lock();
  if (!over) return takeQuestionAway();
  isAsking_ = true;
  const std::string host = QUrl(toQString(page_->origins.front())).host().toStdString();
  auto alert = std::make_shared<AlertController>(
      "Veltrane Flow", "This step needs the camera. Allow " + host + " to use it?",
      AlertStyle::alert);
  // Goes with the alert's actions: an alert that somebody else has dismissed gives no answer.
  const std::shared_ptr<void> gone(nullptr, [weak = weak_from_this(), number = ++question_](void*) {
    const auto self = weak.lock();
    if (self && self->isAsking_ && self->question_ == number) self->takeQuestionAway();
  });
  const auto act = [weak = weak_from_this(), gone](bool allowed) {
    return [weak, gone, allowed] {
      if (const auto self = weak.lock()) self->answered(allowed);
    };
  };
  alert->addAction({"Allow", AlertActionStyle::defaultStyle, act(true)});
  alert->addAction({"Do not allow", AlertActionStyle::cancel, act(false)});
  alert_ = alert;
  over->present(alert, true);
}

void WebSheet::answered(bool allowed) {
  if (!isAsking_) return;
  isAsking_ = false;
  cameraAllowed_ = allowed;
  if (page_) watchTheClock();
  tell(waitingForCamera_.size(), allowed);
}

void WebSheet::takeQuestionAway() {
  const auto self = shared_from_this();
  const bool wasAsking = std::exchange(isAsking_, false);
  if (const auto alert = alert_.lock(); alert && wasAsking) alert->dismiss(true);
  if (wasAsking && page_ && !screen.expired()) watchTheClock();
  tell(waitingForCamera_.size(), false);
}

void WebSheet::tell(std::size_t count, bool allowed) {
  const auto self = shared_from_this();
  const auto last = waitingForCamera_.begin() + static_cast<std::ptrdiff_t>(count);
  const std::vector<Answer> told(std::make_move_iterator(waitingForCamera_.begin()),
                                 std::make_move_iterator(last));
  waitingForCamera_.erase(waitingForCamera_.begin(), last);
  if (mayLeave_) *mayLeave_ -= std::min(*mayLeave_, count);
  for (const auto& answer : told) answer(allowed);
}

void WebSheet::documentMayLeave() {
  // A frame within the next document may load before that one is known to be there.
  mayLeave_ = std::min(mayLeave_.value_or(waitingForCamera_.size()), waitingForCamera_.size());
}

void WebSheet::documentCame() {
  if (!page_ || !page_->isFramed) return;
  const std::size_t left = std::exchange(mayLeave_, std::nullopt).value_or(0);
  if (left == waitingForCamera_.size()) return takeQuestionAway();
  tell(left, false);
}

}  // namespace veltrane::webengine
