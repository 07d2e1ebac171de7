#include "tests/core/host.h"
#include "veltrane/base/console.h"
#include "veltrane/ui/open.h"

namespace veltrane::testing {
namespace {

/// Two fields, a switch, a dropdown and a button; then a second screen and a third.
std::string signIn() {
  const auto form =
      components({component("textField", "user", "\"\""),
                  component("textField", "password", "\"\"", R"({"hashedVisibility":true})"),
                  component("toggleSwitch", "stay", "true"),
                  component("dropdown", "place", "\"Work\"", R"({"options":["Home","Work"]})")});
  const Properties second = {kPostEvent, kButton, R"("fullScreenMode":{"value":true})",
                             R"("navbarBackgroundColor":{"value":"#00f"})"};
  return document(
      joined({form, kPostEvent, kButton, R"("title":{"value":"Sign in"})",
              R"("navTitle":{"value":"Welcome"})", config("two", joined(second))}),
      {view("ScreenTemplate1"), view("UsernameScreenTemplate", "two"), view("ScreenTemplate2")});
}

class GenericScreen : public Host {};

TEST_F(GenericScreen, aSignInFromTheFirstFieldToTheHostsResult) {
  open(signIn());
  EXPECT_EQ(screen()->title, "Sign in");
  EXPECT_EQ(screen()->navigationItem.title, "Welcome");
  type(0, "al");
  type(0, "alice");
  type(1, "secret-1");
  cell<ToggleSwitchTableViewCell>(2)->switchValueChanged(false);
  cell<DropdownTableViewCell>(3)->dropdownButtonPressed();
  alert()->select(0);
  EXPECT_TRUE(screen()->loading.isHidden);
  press();
  EXPECT_FALSE(screen()->loading.isHidden);
  EXPECT_EQ(sent()["parameters"].serialized(),
            R"({"password":"secret-1","place":"Home","stay":false,"user":"alice"})");
  EXPECT_FALSE(platform.console->mentions("secret-1"));
  EXPECT_TRUE(platform.console->mentions("alice"));

  serve(R"({"success":1,"access_token":"","challenge":"ch"})");
  EXPECT_EQ(UserDefaultsManager::getChallenge(), "ch");
  EXPECT_EQ(screen()->userViewIndex, 1u);
  EXPECT_TRUE(stack()->isNavigationBarHidden());
  EXPECT_EQ(screen()->navigationItem.barTintColor, Color::fromHex("#00f"));
  EXPECT_FALSE(stack()->viewControllers().front()->isOnDisplay());
  press();
  EXPECT_EQ(sent()["parameters"].serialized(), R"({"challenge":"ch"})");
  serve(R"({"success":true,"access_token":"t","user":"alice"})");
  EXPECT_THAT(outcome->calls, ElementsAre(R"({"access_token":"t","success":true,"user":"alice"})"));
  EXPECT_THAT(shown, ElementsAre("present StartFlowVC", "root ScreenTemplate1VC",
                                 "alert AlertController", "dismissed AlertController",
                                 "push ScreenTemplate1VC", "dismissed NavigationController"));
  EXPECT_FALSE(platform.console->mentions("\"access_token\":\"t\""));
  EXPECT_TRUE(platform.console->has("No navigation controller found on vtFlowNotification"));
}

TEST_F(GenericScreen, untouchedSwitchesAndPresetChoicesAreInputAndUntouchedFieldsAreNot) {
  open(signIn());
  press();
  EXPECT_EQ(sent()["parameters"].serialized(), R"({"place":"Work","stay":true})");
}

TEST_F(GenericScreen, theFirstEmptyFieldOnTheScreenIsAskedFor) {
  open(signIn());
  type(1, "\xE2\x80\x83 \n");
  type(0, " ");
  press();
  EXPECT_EQ(alert()->title, "Veltrane Flow");
  EXPECT_EQ(alert()->message(), "Please input user");
  EXPECT_EQ(alert()->actions().front().title, "OK");
  EXPECT_EQ(requests(), 1u);
  EXPECT_FALSE(screen()->isBusy());
  alert()->cancel();
  type(0, "x");
  press();
  EXPECT_EQ(alert()->message(), "Please input password");
}

TEST_F(GenericScreen, goingBackKeepsWhatWasEnteredAndDropsLateAnswers) {
  open(signIn());
  type(0, "alice");
  type(1, "pw");
  press();
  serve("{}");
  press();
  const auto late = platform.transport->exchanges.back();
  EXPECT_TRUE(stack()->popViewController(true));
  EXPECT_FALSE(stack()->isNavigationBarHidden());
  late->finish(HTTPResponse{200, R"({"success":1,"access_token":"t"})"});
  platform.mainQueue->run();
  EXPECT_THAT(outcome->calls, IsEmpty());
  EXPECT_EQ(cell<TextFieldTableViewCell>(0)->valueTextField.text, "alice");
  press();
  EXPECT_EQ(sent()["parameters"]["user"].text(), "alice");
}

TEST_F(GenericScreen, theEndReachesTheHostOnce) {
  open(signIn());
  press();
  serve("{}");
  screen()->cancelPressed();
  postFlowResponse(parsed(R"({"late":1})"));
  platform.mainQueue->run();
  postFlowResponse(parsed(R"({"later":1})"));
  platform.mainQueue->run();
  EXPECT_THAT(outcome->calls, ElementsAre("veltraneError: User Cancelled"));
  EXPECT_EQ(shown.back(), "dismissed NavigationController");
}

TEST_F(GenericScreen, aCancelIsNotLostWhenTheNextScreenOpensJustThen) {
  open(signIn());
  press();
  platform.transport->answer(200, "{}");
  // The answer's turns are queued one behind the other; the user's finger comes in between.
  const auto first = screen();
  platform.mainQueue->async([&] { platform.mainQueue->async([&] { first->cancelPressed(); }); });
  platform.mainQueue->run();
  EXPECT_THAT(outcome->calls, ElementsAre("veltraneError: User Cancelled"));
  EXPECT_EQ(stack(), nullptr);
}

TEST_F(GenericScreen, nothingIsSentTwiceWhileARequestRunsOrTheNextScreenOpens) {
  open(signIn());
  const auto first = screen();
  first->buttonPressed();
  cell<ButtonTableViewCell>(4)->buttonPressed();
  platform.mainQueue->run();
  const auto sent = requests();
  EXPECT_EQ(sent, 2u) << "the start and one event";
  platform.transport->answer(200, "{}");
  // The answer is there, and the next screen comes in a turn of its own.
  platform.mainQueue->async([&] {
    EXPECT_TRUE(first->isBusy());
    first->buttonPressed();
  });
  platform.mainQueue->run();
  EXPECT_NE(screen(), first);
  EXPECT_EQ(requests(), sent);
  stack()->popViewController(false);
  EXPECT_FALSE(first->isBusy()) << "back again, it can be sent anew";
}

TEST_F(GenericScreen, aScreenThatWasToOpenStaysAwayOnceTheFlowHasEnded) {
  open(signIn());
  const auto navigation = stack();
  Open::screenTemplate1VC({.vtFlow = flow,
                           .from = navigation,
                           .flow = parsed(signIn()),
                           .userViewProps = {Dictionary()},
                           .userViewIndex = 0,
                           .isModel = false,
                           .makeItRoot = false});
  navigation->dismiss(false);
  platform.mainQueue->run();
  EXPECT_EQ(shown.back(), "dismissed NavigationController");
  EXPECT_THAT(outcome->calls, IsEmpty());
}

TEST_F(GenericScreen, whatAPasskeyAnswersIsNotWrittenToTheConsole) {
  const std::string step = R"("nextEvent":{"constructType":"vtEvent","eventType":"post",)"
                           R"("eventName":"go","postProcess":{"localEvent":"fidoAuthentication"}})";
  open(document(step, {view("ScreenTemplate1"), view("ScreenTemplate1")}));
  screen()->nextEventProcessComplete(parsed(R"({"signature":"s1gn"})"), std::nullopt, 1);
  platform.mainQueue->run();
  EXPECT_TRUE(platform.console->mentions("nextEventProcessComplete response : "));
  EXPECT_FALSE(platform.console->mentions("s1gn"));
}

TEST_F(GenericScreen, whatCannotEndARunDoesNot) {
  open(signIn());
  NotificationCenter::defaultCenter().post(kVtFlowNotification, UserInfo{{"other", 1}});
  postFlowResponse(parsed("[]"));
  platform.mainQueue->run();
  EXPECT_THAT(outcome->calls, IsEmpty());
  EXPECT_NE(screen(), nullptr);
  EXPECT_DEATH(NotificationCenter::defaultCenter().post(kVtFlowNotification, std::nullopt),
               "No userInfo found on vtFlowNotification...");
}

TEST_F(GenericScreen, pastTheLastViewOnlySuccessEndsTheRun) {
  const auto last = document(joined({kPostEvent, kButton}));
  for (const auto* answer : {"{}", R"({"success":2})", R"({"success":"1"})"}) {
    open(last);
    press();
    serve(answer);
    EXPECT_THAT(outcome->calls, IsEmpty()) << answer;
    EXPECT_TRUE(screen()->loading.isHidden);
    press();
    serve(R"({"success":1})");
    EXPECT_THAT(std::exchange(outcome->calls, {}), ElementsAre(R"({"success":1})"));
  }
}

TEST_F(GenericScreen, answersLeadByTheTemplateOfTheNextView) {
  const std::tuple<const char*, const char*, const char*> cases[] = {
      {"OtpScreenTemplate", "push ScreenTemplate1VC", "Transition to otpScreenTemplateVC   ...."},
      {"ScreenTemplate1", "push ScreenTemplate1VC", "Transition to screenTemplate1 ...."},
      {"ScreenTemplate2", "push ScreenTemplate1VC", "Transition to screenTemplate2  ...."},
      {"UsernameScreenTemplate", "push ScreenTemplate1VC",
       "next user view index is different from current one so move to next screen"},
      {"MessageScreen", nullptr, "NO matching screen tempalte found to Transition ...."},
      {"ThirdPartyTemplate", "dismissed NavigationController", ""},
  };
  for (const auto& [name, change, line] : cases) {
    open(document(joined({kPostEvent, kButton}), {view("ScreenTemplate1"), view(name)}));
    shown.clear();
    press();
    serve(R"({"qr":"QUJD"})");
    EXPECT_EQ(shown, change ? std::vector<std::string>{change} : std::vector<std::string>{})
        << name;
    EXPECT_TRUE(*line == 0 || platform.console->has(line)) << name;
    if (change && std::string_view(change).starts_with("push")) {
      EXPECT_EQ(screen()->viewModel->records.front().kind, CellValueKind::pngBase64Image);
    }
    if (stack()) stack()->dismiss(false);
  }
}

TEST_F(GenericScreen, aWholeNewFlowInAnAnswerReplacesTheScreens) {
  const auto fresh = document(R"("title":{"value":"Fresh"})");
  for (const auto& answer : {fresh, R"({"success":0.5,"screen":)" + fresh + "}"}) {
    open(signIn());
    press();
    serve(answer);
    EXPECT_EQ(screen()->title, "Fresh");
    EXPECT_EQ(stack()->viewControllers().size(), 1u);
    stack()->dismiss(false);
  }
  open(signIn());
  press();
  serve(R"({"screen":{}})");
  EXPECT_THAT(outcome->calls, ElementsAre(StartsWith("veltraneError: Unsupported Flow")));
}

TEST_F(GenericScreen, anOnLoadEventMayReloadItsScreenAndTheInputStays) {
  const auto form = components(
      {component("textField", "code", "\"\""), component("toggleSwitch", "on", "false")});
  open(document(joined({form, kOnLoadEvent, kPostEvent}),
                {view("ScreenTemplate1"), view("OtpScreenTemplate")}));
  EXPECT_EQ(sent()["eventName"].text(), "load");
  EXPECT_FALSE(screen()->loading.isHidden);
  serve("{}");
  EXPECT_TRUE(screen()->loading.isHidden);
  press();
  serve("{}");
  EXPECT_EQ(sent()["eventName"].text(), "load") << "the second screen's own";
  type(0, "12");
  cell<ToggleSwitchTableViewCell>(1)->switchValueChanged(true);
  int reloads = 0;
  const auto counting = screen()->mainTableView.reloaded.subscribe([&] { ++reloads; });
  const auto before = screen()->mainTableView.cell(0);
  serve("{}");
  EXPECT_EQ(reloads, 1);
  EXPECT_NE(screen()->mainTableView.cell(0), before);
  EXPECT_EQ(cell<TextFieldTableViewCell>(0)->valueTextField.text, "12");
  EXPECT_TRUE(cell<ToggleSwitchTableViewCell>(1)->toggleSwitch.isOn);
  press();
  EXPECT_EQ(sent()["parameters"].serialized(), R"({"code":"12","on":true})");
}

TEST_F(GenericScreen, rowsTellTheirSavedValuesUnseen) {
  constexpr const char* kOptions = R"({"options":["Home",7,2.5,true,{"no":"choice"}]})";
  const std::vector<std::string> saved = {"\"Home\"", "\"7\"",    "\"2.5\"", "\"true\"",
                                          "\"no\"",   "\"Work\"", "7",       "\"\""};
  Properties rows = {component("toggleSwitch", "on", "true"),
                     component("toggleSwitch", "off", "\"?\"")};
  for (std::size_t i = 0; i < saved.size(); ++i) {
    rows.push_back(component("dropdown", "choice" + std::to_string(i), saved[i], kOptions));
  }
  open(document(joined({components(rows), kPostEvent})));
  EXPECT_FALSE(platform.console->mentions("dropdown not implemented"))
      << "no cell before it is looked at";
  Dictionary shown = {{"on", true}, {"off", false}};
  for (std::size_t i = 0; i < saved.size(); ++i) {
    const auto dropdown = cell<DropdownTableViewCell>(2 + i);
    if (dropdown->hasChoice) {
      shown.set("choice" + std::to_string(i), dropdown->dropdownValueButton.title);
    }
  }
  EXPECT_EQ(shown.size(), 7);
  EXPECT_EQ(JSON(screen()->textFieldsKeyValues), JSON(shown));
}

TEST_F(GenericScreen, aRowThatIsLookedAtLaterLeavesWhatTheUserChose) {
  const auto toggle = component("toggleSwitch", "on", "true");
  open(document(components({toggle, toggle, toggle}) + ',' + kPostEvent));
  cell<ToggleSwitchTableViewCell>(0)->switchValueChanged(false);
  cell<ToggleSwitchTableViewCell>(2);
  EXPECT_EQ(JSON(screen()->textFieldsKeyValues), JSON(Dictionary{{"on", false}}));
}

TEST_F(GenericScreen, marginsAndColoursFollowTheViewAndTheTheme) {
  UserDefaultsManager::saveUITheme({{"backgroundColor", "#123456"}});
  open(document(R"("viewPaddingTop":{"value":0.5},"viewPaddingLeft":{"value":0},
                   "navbarTextColor":{"value":" #f00 "},"viewBackgroundColor":{"value":"  "})"));
  EXPECT_EQ(screen()->margins, (EdgeInsets{.top = 0.5, .left = 20, .bottom = 10, .right = 20}));
  EXPECT_EQ(screen()->view.backgroundColor, Color::fromHex("#123456"));
  EXPECT_EQ(screen()->navigationItem.tintColor, Color::fromHex("#f00"));
  EXPECT_EQ(screen()->navigationItem.barTintColor, std::nullopt);
  screen()->keyboardWillShow(300);
  EXPECT_EQ(screen()->mainTableView.contentInset, EdgeInsets{.bottom = 340});
  screen()->keyboardWillShow(std::nullopt);
  EXPECT_EQ(screen()->mainTableView.contentInset, EdgeInsets{.bottom = 340});
  screen()->keyboardWillHide();
  EXPECT_EQ(screen()->mainTableView.contentInset, EdgeInsets{});
  EXPECT_DEATH(screen()->textChange("x", IndexPath{7}), "outside the screen's records");
}

}  // namespace
}  // namespace veltrane::testing
