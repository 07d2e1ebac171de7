#include "platform/webengine/web_sheet.h"

#include <QStringList>
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
  become(State::loading);
  watchTheClock();
}

// A page of a later try has a clock of its own.
void WebSheet::watchTheClock() {
  MainQueue::current().asyncAfter(patience_,
                                  [weak = weak_from_this(), page = std::weak_ptr(page_)] {
                                    const auto self = weak.lock();
                                    if (!self || self->state_ != State::loading || !self->page_)
                                      return;
                                    if (self->page_ != page.lock()) return;
                                    // The page waits for the user, not the user for the page.
                                    if (self->isAsking_) return self->watchTheClock();
                                    self->fail(WebTrouble::late);
                                  });
}

void WebSheet::loaded() {
  if (state_ == State::loading && page_) become(State::shown);
}

void WebSheet::fail(WebTrouble trouble) {
  if (state_ == State::ended || state_ == State::trouble) return;
  waitingForCamera_.clear();
  trouble_ = trouble;
  become(State::trouble);
}

void WebSheet::end() {
  if (state_ == State::ended) return;
  waitingForCamera_.clear();
  become(State::ended);
}

void WebSheet::close() {
  if (state_ == State::ended) return;
  const auto self = shared_from_this();
  const auto trouble = trouble_;
  end();
  if (const auto client = client_.lock()) client->closed(trouble);
}

void WebSheet::tryAgain() {
  if (state_ == State::trouble) begin();
}

void WebSheet::received(std::string_view origin, std::string_view text) {
  if (!page_) return;
  const auto self = shared_from_this();
  if (const auto client = client_.lock()) client->received(origin, text);
}

void WebSheet::askForCamera(const std::string& origin, Answer answer) {
  const QUrl address(toQString(origin));
  if (!page_ || page_->origins.empty() || !mayAskForCamera(*page_, address)) return answer(false);
  if (cameraAllowed_) return answer(*cameraAllowed_);
  waitingForCamera_.push_back(std::move(answer));
  if (!isAsking_) ask();
}

// Our own page has no name that says anything: it is the vendor's that is named.
void WebSheet::ask() {
  const auto over = screen.lock();
  if (!over) return answered(false);
  isAsking_ = true;
  const std::string host = QUrl(toQString(page_->origins.front())).host().toStdString();
  auto alert = std::make_shared<AlertController>(
      "Veltrane Flow", "This step needs the camera. It is asked for by " + host, AlertStyle::alert);
  const auto act = [weak = weak_from_this()](bool allowed) {
    return [weak, allowed] {
      if (const auto self = weak.lock()) self->answered(allowed);
    };
  };
  alert->addAction({"Allow", AlertActionStyle::defaultStyle, act(true)});
  alert->addAction({"Do not allow", AlertActionStyle::cancel, act(false)});
  over->present(alert, true);
}

void WebSheet::answered(bool allowed) {
  if (state_ == State::ended) return;
  isAsking_ = false;
  cameraAllowed_ = allowed;
  const auto self = shared_from_this();
  for (const auto& answer : std::exchange(waitingForCamera_, {})) answer(allowed);
}

}  // namespace veltrane::webengine
