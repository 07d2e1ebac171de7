#include "apps/vtflow/drive/stage.h"

#include <algorithm>

#include "veltrane/toolkit/navigation_controller.h"

namespace veltrane::tool {
namespace {

std::string_view word(Transition transition) {
  switch (transition) {
    case Transition::present:
      return "present";
    case Transition::root:
      return "root";
    case Transition::push:
      return "push";
    case Transition::modal:
      return "modal";
    default:
      return "back";
  }
}

std::shared_ptr<NavigationController> asNavigation(const std::shared_ptr<ViewController>& c) {
  return std::dynamic_pointer_cast<NavigationController>(c);
}

}  // namespace

Stage::Stage(std::shared_ptr<HostViewController> host, LineWriter& out,
             std::shared_ptr<HandOvers> handOvers)
    : host_(std::move(host)), out_(out), handOvers_(std::move(handOvers)) {
  changes_ = host_->presentationChanged.subscribe(
      [this](const PresentationChange& change) { presentationChanged(change); });
}

void Stage::presentationChanged(const PresentationChange& change) {
  if (change.transition == Transition::dismissed) {
    left(change.controller);
  } else if (change.transition == Transition::alert) {
    const auto& alert = static_cast<const AlertController&>(*change.controller);
    if (alert.style() == AlertStyle::alert) writeAlert(alert);
  } else {
    writeScreen(entryOf(change.controller), word(change.transition));
    writeLoading();
  }
}

void Stage::left(const std::shared_ptr<ViewController>& controller) {
  if (!asNavigation(controller) || isFlowPresented()) return;
  dismissed_ = true;
  out_.write(Event("dismissed"));
}

/// What lies on top of all that the host presents; null when it presents nothing.
std::shared_ptr<ViewController> Stage::front(bool alertsToo) const {
  std::shared_ptr<ViewController> found;
  for (auto next = host_->presentedViewController(); next;) {
    const bool isAlert = dynamic_cast<AlertController*>(next.get()) != nullptr;
    if (isAlert && !alertsToo) break;
    found = next;
    next = found->presentedViewController();
    if (const auto navigation = next ? nullptr : asNavigation(found)) {
      next = navigation->topViewController();
    }
  }
  return found;
}

ScreenAdapter* Stage::screenOnDisplay() {
  const auto screen = front(false);
  return screen ? entryOf(screen).adapter.get() : nullptr;
}

std::shared_ptr<AlertController> Stage::alertOnDisplay() const {
  return std::dynamic_pointer_cast<AlertController>(front(true));
}

bool Stage::isWorking() const {
  return std::any_of(entries_.begin(), entries_.end(),
                     [](const Entry& entry) { return entry.adapter->isWorking(); });
}

bool Stage::isWatching() const {
  return std::any_of(entries_.begin(), entries_.end(),
                     [](const Entry& entry) { return entry.adapter->isWatching(); });
}

Stage::Entry& Stage::entryOf(const std::shared_ptr<ViewController>& controller) {
  std::erase_if(entries_, [](const Entry& entry) { return !entry.adapter->controller(); });
  const auto isIts = [&](const Entry& entry) { return entry.adapter->controller() == controller; };
  const auto known = std::find_if(entries_.begin(), entries_.end(), isIts);
  if (known != entries_.end()) return *known;
  const auto number = ++lastNumber_;
  entries_.push_back({number, ScreenAdapter::make(controller, listenerFor(number, controller))});
  return entries_.back();
}

ScreenListener Stage::listenerFor(std::int64_t number, std::weak_ptr<ViewController> controller) {
  const auto replaced = [this, controller = std::move(controller)] {
    if (const auto screen = controller.lock()) writeScreen(entryOf(screen), "reload");
  };
  const auto rowChanged = [this, number](const JSON& row) {
    out_.write(Event("row").set("screen", JSON(number)).set("row", row));
  };
  return {replaced, rowChanged, [this] { writeLoading(); }};
}

bool Stage::writeSnapshot() {
  const auto screen = front(false);
  if (!screen) return false;
  const bool before = newScreen_;
  writeScreen(entryOf(screen), "reload");
  newScreen_ = before;
  return true;
}

void Stage::writeScreen(Entry& entry, std::string_view how) {
  // Describing makes rows, which may report at once: the list of entries may change meanwhile.
  auto& adapter = *entry.adapter;
  const auto controller = adapter.controller();
  const auto navigation = asNavigation(host_->presentedViewController());
  Event event("screen");
  event.set("screen", JSON(entry.number))
      .set("controller", JSON(controller->className()))
      .set("how", JSON(how))
      .set("depth", countValue(navigation ? navigation->viewControllers().size() : 0));
  for (const auto& [field, value] : adapter.describe()) event.set(field, value);
  out_.write(event);
  newScreen_ = newScreen_ || !adapter.isStartScreen();
}

void Stage::writeAlert(const AlertController& alert) {
  std::vector<JSON> actions;
  for (const auto& action : alert.actions()) actions.push_back(textValue(action.title));
  out_.write(Event("alert")
                 .set("title", textValue(alert.title))
                 .set("message", textValue(alert.message()))
                 .set("actions", JSON::array(actions)));
}

void Stage::writeLoading() {
  const auto* const screen = screenOnDisplay();
  const bool loading = screen && screen->isLoading();
  if (std::exchange(loadingTold_, loading) == loading) return;
  out_.write(Event("loading").set("visible", JSON(loading)));
}

}  // namespace veltrane::tool
