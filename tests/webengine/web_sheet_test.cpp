// The sheet by itself: its question for the camera, its clock, and the moment of closing.
#include "platform/webengine/web_sheet.h"

#include <gmock/gmock.h>

#include <fstream>
#include <iterator>

#include "tests/support/fakes.h"
#include "veltrane/connectors/hand_over_view_controller.h"
#include "veltrane/toolkit/alert_controller.h"

namespace veltrane::webengine::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using State = WebSheet::State;

constexpr const char* kOrigin = "https://vendor.example";
constexpr std::chrono::seconds kPatience{30};

std::string fileText(const char* path) {
  std::ifstream file(path);
  return {std::istreambuf_iterator<char>(file), {}};
}

struct Screen final : HandOverViewController {
  std::string_view className() const override { return kSheetScreenName; }
};

struct Client final : WebClient {
  void begin() override { ++begun; }
  void received(std::string_view, std::string_view text) override { heard.emplace_back(text); }
  void closed(std::optional<WebTrouble> trouble) override {
    heard.push_back(trouble ? std::string(words(*trouble)) : "closed");
  }
  int begun = 0;
  std::vector<std::string> heard;
};

class WebSheetTest : public ::testing::Test {
 protected:
  WebSheetTest() {
    sheet->screen = screen;
    open();
  }
  ~WebSheetTest() override { sheet->end(); }

  void open(bool isFramed = true) {
    sheet->begin();
    sheet->open({.hostPage = "https://flow.veltrane.invalid/",
                 .origins = {kOrigin},
                 .cameraOrigins = {kOrigin},
                 .script = {},
                 .tearDown = {},
                 .isFramed = isFramed});
  }
  void ask(const std::string& who) {
    sheet->askForCamera(
        kOrigin, [this, who](bool allowed) { told.push_back(who + (allowed ? " yes" : " no")); });
  }
  std::shared_ptr<AlertController> alert() const {
    return std::dynamic_pointer_cast<AlertController>(screen->presentedViewController());
  }
  /// The page has all its patience from now on.
  void expectFreshClock() {
    platform.mainQueue->advance(kPatience - std::chrono::seconds(1));
    EXPECT_EQ(sheet->state(), State::loading);
    platform.mainQueue->advance(std::chrono::seconds(1));
    EXPECT_EQ(sheet->trouble(), WebTrouble::late);
  }

  veltrane::testing::FakePlatform platform;
  std::shared_ptr<Client> client = std::make_shared<Client>();
  std::shared_ptr<WebSheet> sheet = std::make_shared<WebSheet>(client, kPatience);
  std::shared_ptr<Screen> screen = std::make_shared<Screen>();
  std::vector<std::string> told;
};

TEST_F(WebSheetTest, GivesThePageItsTimeOnceTheUserHasAnswered) {
  platform.mainQueue->advance(std::chrono::seconds(20));
  ask("page");
  platform.mainQueue->advance(std::chrono::minutes(5));
  EXPECT_EQ(sheet->state(), State::loading);
  alert()->select(0);
  EXPECT_THAT(told, ElementsAre("page yes"));
  expectFreshClock();
}

TEST_F(WebSheetTest, RefusesWhatSomebodyElseHasDismissedAndAsksAgain) {
  ask("page");
  platform.mainQueue->advance(std::chrono::minutes(5));
  alert()->dismiss(false);
  EXPECT_THAT(told, ElementsAre("page no"));
  // That was nobody's answer.
  ask("again");
  ASSERT_NE(alert(), nullptr);
  alert()->cancel();
  ask("once more");
  EXPECT_EQ(alert(), nullptr);
  EXPECT_THAT(told, ElementsAre("page no", "again no", "once more no"));
  expectFreshClock();
}

TEST_F(WebSheetTest, TakesTheQuestionOfADocumentAwayThatHasLeft) {
  sheet->documentMayLeave();
  sheet->documentCame();  // the first one
  ask("first");
  sheet->documentCame();
  EXPECT_THAT(told, IsEmpty());
  platform.mainQueue->advance(std::chrono::minutes(5));
  sheet->documentMayLeave();
  EXPECT_THAT(told, IsEmpty());
  EXPECT_NE(alert(), nullptr);
  sheet->documentCame();
  EXPECT_THAT(told, ElementsAre("first no"));
  EXPECT_EQ(alert(), nullptr);
  expectFreshClock();
}

TEST_F(WebSheetTest, KeepsTheQuestionThatTheNextDocumentHasAskedMeanwhile) {
  ask("first");
  const auto question = alert();
  sheet->documentMayLeave();
  ask("second");
  sheet->documentCame();
  EXPECT_THAT(told, ElementsAre("first no"));
  EXPECT_EQ(alert(), question);
  question->select(0);
  EXPECT_THAT(told, ElementsAre("first no", "second yes"));
}

TEST_F(WebSheetTest, KeepsItThoughAFrameWithinTheNextDocumentLoads) {
  ask("first");
  const auto question = alert();
  sheet->documentMayLeave();
  ask("second");
  sheet->documentMayLeave();
  sheet->documentCame();
  EXPECT_THAT(told, ElementsAre("first no"));
  EXPECT_EQ(alert(), question);
  // From here on the count is another.
  sheet->documentMayLeave();
  sheet->documentCame();
  EXPECT_THAT(told, ElementsAre("first no", "second no"));
  EXPECT_EQ(alert(), nullptr);
}

TEST_F(WebSheetTest, CountsNoQuestionThatWasTakenAwayBeforeTheNextDocumentCame) {
  ask("first");
  sheet->documentMayLeave();
  alert()->dismiss(false);
  ask("second");
  sheet->documentMayLeave();
  sheet->documentCame();
  EXPECT_THAT(told, ElementsAre("first no"));
  EXPECT_NE(alert(), nullptr);
}

// The client of a page that is not in a frame may have frames of its own.
TEST_F(WebSheetTest, LetsFramesOfOurOwnPageComeAndGo) {
  open(false);
  ask("client");
  sheet->documentMayLeave();
  sheet->documentCame();
  EXPECT_THAT(told, IsEmpty());
  EXPECT_NE(alert(), nullptr);
}

TEST_F(WebSheetTest, TroubleAndTheEndTakeTheQuestionAlong) {
  ask("first");
  sheet->fail(WebTrouble::stopped);
  EXPECT_EQ(alert(), nullptr);
  open();
  ask("second");
  ASSERT_NE(alert(), nullptr);
  sheet->end();
  EXPECT_EQ(alert(), nullptr);
  ask("third");
  EXPECT_THAT(told, ElementsAre("first no", "second no", "third no"));
  EXPECT_THAT(client->heard, IsEmpty());
}

TEST_F(WebSheetTest, SaysWhatStandsInTheWayAndWhetherAnotherTryMayHelp) {
  const std::string guide = fileText(TRANSLATION_GUIDE);
  struct Case {
    WebTrouble trouble;
    bool canTryAgain;
  };
  for (const auto& [trouble, canTryAgain] :
       {Case{WebTrouble::unreachable, true}, Case{WebTrouble::refused, true},
        Case{WebTrouble::unusable, true}, Case{WebTrouble::late, true},
        Case{WebTrouble::stopped, true}, Case{WebTrouble::setUp, false}}) {
    sheet->fail(trouble);
    EXPECT_NE(guide.find("| `" + std::string(words(trouble)) + "` |"), std::string::npos);
    EXPECT_EQ(sheet->canTryAgain(), canTryAgain) << words(trouble);
    const int begun = client->begun;
    sheet->tryAgain();
    EXPECT_EQ(client->begun, canTryAgain ? begun + 1 : begun);
  }
  EXPECT_EQ(sheet->trouble(), WebTrouble::setUp);
}

TEST_F(WebSheetTest, NothingOvertakesTheUsersClose) {
  ask("before");
  sheet->prepareToClose();
  EXPECT_EQ(alert(), nullptr);
  sheet->received(kOrigin, "failed");
  sheet->fail(WebTrouble::stopped);
  ask("after");
  platform.mainQueue->advance(std::chrono::minutes(5));
  EXPECT_EQ(sheet->state(), State::loading);
  sheet->close();
  EXPECT_THAT(client->heard, ElementsAre("closed"));
  EXPECT_THAT(told, ElementsAre("before no", "after no"));
}

}  // namespace
}  // namespace veltrane::webengine::test
