#include "tests/core/host.h"
#include "veltrane/toolkit/table_view.h"

namespace veltrane::testing {
namespace {

using Log = std::vector<std::string>;

class Screen final : public ViewController {
 public:
  Screen(std::string name, Log& log) : name_(std::move(name)), log_(log) {}
  std::string_view className() const override { return name_; }
  void viewDidLoad() override { log_.push_back(name_ + " load"); }
  void viewWillAppear(bool) override { log_.push_back(name_ + " appear"); }
  void viewWillDisappear(bool) override { log_.push_back(name_ + " disappear"); }
  void didLeaveStack() override { log_.push_back(name_ + " leave"); }

 private:
  std::string name_;
  Log& log_;
};

class Presentation : public Host {
 protected:
  Presentation() {
    listening = window->presentationChanged.subscribe([this](const PresentationChange& change) {
      log.push_back("> " + described(change) + (change.animated ? "" : " now"));
    });
  }

  std::shared_ptr<Screen> screen(const char* name) { return std::make_shared<Screen>(name, log); }
  std::shared_ptr<Screen> fullScreen(const char* name) {
    auto made = screen(name);
    made->modalPresentationStyle = ModalPresentationStyle::fullScreen;
    return made;
  }
  static std::shared_ptr<AlertController> alert() {
    auto made = std::make_shared<AlertController>("Title", "Message", AlertStyle::alert);
    made->addAction({.title = "OK", .style = AlertActionStyle::cancel, .handler = {}});
    return made;
  }
  /// The flow's stack with one screen, over the window.
  std::shared_ptr<NavigationController> open(std::shared_ptr<ViewController> root) {
    auto navigation = NavigationController::make(std::move(root));
    navigation->modalPresentationStyle = ModalPresentationStyle::fullScreen;
    window->present(navigation, true);
    return navigation;
  }
  /// What has happened since it was last asked.
  std::string happened() {
    std::string text;
    for (const auto& each : std::exchange(log, {})) text += (text.empty() ? "" : ", ") + each;
    return text;
  }

  Log log;
};

TEST_F(Presentation, aStackOpensGrowsShrinksAndIsReplaced) {
  const auto a = screen("A");
  const auto navigation = open(a);
  EXPECT_EQ(happened(), "A load, A appear, > present A");
  navigation->pushViewController(screen("B"), true);
  EXPECT_EQ(happened(), "A disappear, B load, B appear, > push B");
  EXPECT_TRUE(navigation->popViewController(true));
  EXPECT_EQ(happened(), "B disappear, B leave, A appear, > back A");
  EXPECT_FALSE(navigation->popViewController(true));
  navigation->pushViewController(screen("B"), true);
  happened();
  navigation->setViewControllers({a}, true);
  EXPECT_EQ(happened(), "B disappear, B leave, A appear, > root A");
  EXPECT_EQ(a->navigationController(), navigation);
  navigation->pushViewController(screen("B"), true);
  happened();
  navigation->setViewControllers({screen("C")}, false);
  EXPECT_EQ(happened(), "B disappear, A leave, B leave, C load, C appear, > root C now");
  EXPECT_EQ(navigation->viewControllers().size(), 1u);
}

TEST_F(Presentation, dismissingAFlowEndsEverythingInItAndNothingComesBack) {
  const auto a = screen("A"), b = screen("B");
  const auto navigation = open(a);
  navigation->pushViewController(b, true);
  b->present(fullScreen("Modal"), true);
  happened();
  bool completed = false;
  b->dismiss(true, [&] { completed = true; });
  // B itself is not presented by anyone: what is dismissed is its stack.
  EXPECT_EQ(happened(),
            "A leave, Modal disappear, Modal leave, > dismissed Modal now, B leave, > dismissed "
            "NavigationController");
  EXPECT_FALSE(completed);
  platform.mainQueue->run();
  EXPECT_TRUE(completed);
  EXPECT_EQ(window->presentedViewController(), nullptr);
  EXPECT_FALSE(a->isOnDisplay() || b->isOnDisplay());
  navigation->dismiss(true);
  EXPECT_EQ(happened(), "");
}

TEST_F(Presentation, aFullScreenCoversTheStackAndASheetDoesNot) {
  const auto a = screen("A");
  open(a);
  happened();
  const auto modal = fullScreen("Modal");
  a->present(modal, true);
  EXPECT_EQ(happened(), "A disappear, Modal load, Modal appear, > modal Modal");
  modal->dismiss(true);
  EXPECT_EQ(happened(), "Modal disappear, Modal leave, > dismissed Modal, A appear, > back A");
  const auto sheet = screen("Sheet");
  a->present(sheet, true);
  EXPECT_EQ(happened(), "Sheet load, Sheet appear, > modal Sheet");
  EXPECT_TRUE(a->isOnDisplay());
  sheet->dismiss(true);
  EXPECT_EQ(happened(), "Sheet disappear, Sheet leave, > dismissed Sheet, > back A");
}

TEST_F(Presentation, anAlertLeavesItsScreenOnDisplayAndIsAnsweredOnce) {
  const auto a = screen("A");
  open(a);
  happened();
  const auto box = std::make_shared<AlertController>(std::nullopt, "M", AlertStyle::actionSheet);
  box->addAction({.title = "One", .handler = [&] {
                    log.push_back(a->presentedViewController() ? "too early" : "one");
                  }});
  box->addAction({.title = "Dismiss", .style = AlertActionStyle::cancel, .handler = {}});
  a->present(box, true);
  EXPECT_TRUE(a->isOnDisplay());
  box->select(7);
  box->select(0);
  box->select(0);
  box->cancel();
  EXPECT_EQ(happened(), "> alert AlertController, > dismissed AlertController, one");
}

TEST_F(Presentation, alertsLieOnOneAnotherAndGoWithTheirScreen) {
  const auto a = screen("A");
  const auto navigation = open(a);
  const auto first = alert(), second = alert();
  a->present(first, true);
  a->present(second, true);
  EXPECT_EQ(first->presentedViewController(), second);
  second->cancel();
  EXPECT_EQ(a->presentedViewController(), first);
  happened();
  navigation->setViewControllers({screen("B")}, false);
  EXPECT_EQ(
      happened(),
      "A disappear, > dismissed AlertController now, A leave, B load, B appear, > root B now");
  first->cancel();
  EXPECT_EQ(happened(), "");
}

TEST_F(Presentation, aStackThatIsCoveredChangesInSilence) {
  const auto a = screen("A");
  const auto navigation = open(a);
  const auto modal = fullScreen("Modal");
  a->present(modal, true);
  happened();
  navigation->pushViewController(screen("B"), true);
  EXPECT_EQ(happened(), "");
  modal->dismiss(true);
  EXPECT_EQ(happened(),
            "Modal disappear, Modal leave, > dismissed Modal, B load, B appear, > back B");
}

TEST(SignalTest, subscribersMayComeGoAndDestroyIt) {
  auto signal = std::make_unique<Signal<int>>();
  Log log;
  Subscription second, third;
  const Subscription first = signal->subscribe([&](int value) {
    log.push_back("first " + std::to_string(value));
    second.reset();
    third = signal->subscribe([&](int) { log.emplace_back("third"); });
  });
  second = signal->subscribe([&](int) { log.emplace_back("second"); });
  const Subscription last = signal->subscribe([&](int) {
    log.emplace_back("last");
    signal.reset();
  });
  const Subscription unheard = signal->subscribe([&](int) { log.emplace_back("after"); });
  (*signal)(1);
  EXPECT_THAT(log, ElementsAre("first 1", "last", "after"));
}

TEST(TableViewTest, makesACellWhenItIsFirstLookedAt) {
  struct Rows : TableViewDataSource {
    std::size_t count = 50'000;
    std::vector<std::size_t> asked;
    std::size_t numberOfRows() const override { return count; }
    std::shared_ptr<TableViewCell> cellForRow(IndexPath path) override {
      asked.push_back(path.row);
      return std::make_shared<TableViewCell>();
    }
  } rows;
  TableView table;
  EXPECT_EQ(table.numberOfRows(), 0u);
  table.setDataSource(&rows);
  table.reloadData();
  const auto cell = table.cell(49'999);
  EXPECT_EQ(table.cell(49'999), cell);
  EXPECT_THAT(rows.asked, ElementsAre(49'999u));
  rows.count = 1;
  table.reloadData();
  EXPECT_EQ(table.numberOfRows(), 1u);
  EXPECT_NE(table.cell(0), cell);
}

}  // namespace
}  // namespace veltrane::testing
