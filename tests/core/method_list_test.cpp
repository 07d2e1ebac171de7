#include <string>
#include <vector>

#include "tests/core/host.h"
#include "veltrane/ui/cells/mfa_table_view_cell.h"
#include "veltrane/ui/mfa_screen1_vc.h"

namespace veltrane::testing {
namespace {

/// A connector of a method list. `members` follow its title.
std::string connector(std::string_view title, std::string_view members = "") {
  return R"({"properties":{"title":{"value":")" + std::string(title) + R"("}},"connectorId":"c-)" +
         std::string(title) + R"(")" + std::string(members) + "}";
}

/// A flow whose first screen lists the methods.
std::string methodFlow(const std::string& connectors, std::string_view kind = "vtConnectorList") {
  return document(R"("navTitle":{"value":"Verify"},"mfaList":{"constructType":")" +
                      std::string(kind) + R"(","value":[)" + connectors + "]}",
                  {R"({"screenTemplateName":"MfaScreen1","items":[{"propertyName":"other"},)"
                   R"({"propertyName":"mfaList"}]})"});
}

constexpr const char* kViews =
    R"(,"connectionId":"push-1","capabilityName":"challenge","userViews":[)"
    R"({"screenTemplateName":"ScreenTemplate1","screenConfigName":"pushScreen"},)"
    R"({"screenTemplateName":"ScreenTemplate2"}])";

class MethodList : public Host {
 protected:
  std::shared_ptr<MfaScreen1VC> methods() const {
    return std::dynamic_pointer_cast<MfaScreen1VC>(stack()->topViewController());
  }
  std::shared_ptr<MFATableViewCell> row(std::size_t index) const {
    return std::static_pointer_cast<MFATableViewCell>(methods()->authListTableView.cell(index));
  }
};

TEST_F(MethodList, everyConnectorBecomesOneRowInItsPlace) {
  const std::string icon = R"(,"iconUrlPng":{"value":"https://i.example/a.png"})";
  open(methodFlow(
      connector("Push", kViews) +
      R"(,{"connectorId":"only-id","properties":{"title":{"value":""},"iconUrlPng":{"value":""},)"
      R"("description":{"value":"register me"},"authDescription":{"value":"use me"}}},)"
      R"({"capabilityName":"register","connectionId":7,"properties":{"title":{"value":5},)"
      R"("description":{"value":"register me"},"authDescription":{"value":"use me"}}},)"
      R"(5,{"capabilityName":"register","properties":{"authDescription":{"value":"x"})" +
      icon + "}}"));
  ASSERT_NE(methods(), nullptr);
  std::vector<std::string> rows;
  for (const AuthMethod& method : methods()->records) {
    rows.push_back(std::to_string(method.index) + '|' + method.title + '|' + method.subTitle + '|' +
                   method.imageURL.value_or("-") + '|' + method.connectionId + '|' +
                   std::to_string(method.userViewProps->size()));
  }
  EXPECT_THAT(rows,
              ElementsAre("0|Push||-|push-1|2", "1|only-id|use me|-||0", "2||register me|-|7|0",
                          "3|||-||0", "4|||https://i.example/a.png||0"));
  EXPECT_EQ(methods()->navigationItem.title, "Verify");
  EXPECT_EQ(methods()->emptyLabel.text, std::nullopt);
  EXPECT_EQ(row(1)->titleLabel.text, "only-id");
  EXPECT_EQ(row(1)->subTitleLabel.text, "use me");
}

TEST_F(MethodList, aListOfAnotherKindOrOnAnotherScreenIsEmptyAndSaysSo) {
  const std::string noItem =
      document(R"("mfaList":{"constructType":"vtConnectorList","value":[)" + connector("A") + "]}",
               {view("MfaScreen1"), R"({"items":[{"propertyName":"mfaList"}]})"});
  for (const auto& flowDocument : {methodFlow(connector("A"), "VTConnectorList"), noItem,
                                   methodFlow(""), document("", {view("MfaScreen1")})}) {
    open(flowDocument);
    ASSERT_NE(methods(), nullptr);
    EXPECT_THAT(methods()->records, IsEmpty());
    EXPECT_EQ(methods()->authListTableView.numberOfRows(), 0u);
    EXPECT_FALSE(methods()->emptyLabel.text.value_or("").empty());
    methods()->cancelPressed();
    platform.mainQueue->run();
  }
}

TEST_F(MethodList, aChosenMethodRunsItsOwnScreensAndItsEventsGoToIt) {
  const std::string event =
      R"(,"properties":{"title":{"value":"Push"}},"connectionId":"push-1",)"
      R"("capabilityName":"challenge","userViews":[{"screenTemplateName":"ScreenTemplate1",)"
      R"("screenConfigName":"pushScreen"}])";
  open(document(R"("mfaList":{"constructType":"vtConnectorList","value":[{"connectorId":"p")" +
                    event + "}]}," + config("pushScreen", std::string(kPostEvent) + "," + kButton),
                {R"({"screenTemplateName":"MfaScreen1","items":[{"propertyName":"mfaList"}]})"}));
  const auto list = methods();
  list->didSelectRow(IndexPath{0});
  list->didSelectRow(IndexPath{0});
  platform.mainQueue->run();
  EXPECT_EQ(shown.back(), "push ScreenTemplate1VC");
  EXPECT_EQ(stack()->viewControllers().size(), 2u) << "a second tap opened it again";
  ASSERT_NE(screen(), nullptr);
  EXPECT_EQ(screen()->userViewIndex, 0u);
  press();
  EXPECT_EQ(sent()["connectionId"].text(), "push-1");
  EXPECT_EQ(sent()["capabilityName"].text(), "challenge");
  EXPECT_EQ(sent()["id"].text(), "id-1");
  serve(R"({"success":1,"access_token":"t"})");
  EXPECT_THAT(outcome->calls, ElementsAre(R"({"access_token":"t","success":1})"))
      << "the list below told the host as well";
}

TEST_F(MethodList, aMethodWithoutScreensSaysSoAndStays) {
  open(methodFlow(connector("Nothing")));
  const auto list = methods();
  list->openSelectedScreen(0);
  platform.mainQueue->run();
  const auto alert = std::dynamic_pointer_cast<AlertController>(list->presentedViewController());
  ASSERT_NE(alert, nullptr);
  EXPECT_EQ(alert->title, "Veltrane Flow");
  EXPECT_EQ(alert->message(), "This method is not available.");
  EXPECT_EQ(methods(), list);
  const auto alone = std::make_shared<MfaScreen1VC>();
  alone->openSelectedScreen(0);
  EXPECT_DEATH(list->openSelectedScreen(1), "outside the list");
}

TEST_F(MethodList, iconsArriveInTheScreensDensityAndAFailedOneLeavesItsRowAsItIs) {
  platform.device->scale = 3;
  const auto icon = [](const char* name) {
    return std::string(R"({"properties":{"iconUrlPng":{"value":"https://i.example/)") + name +
           R"("}}})";
  };
  open(methodFlow(icon("a.png") + "," + icon("b.png") + "," + connector("no icon")));
  const auto before = requests();
  const auto first = row(0);
  const auto second = row(1);
  row(2);
  ASSERT_EQ(requests(), before + 2);
  EXPECT_EQ(platform.transport->exchanges[before]->request.url, "https://i.example/a@3x.png");
  platform.transport->exchanges[before]->finish(HTTPResponse{200, "picture 9x9"});
  platform.transport->exchanges[before + 1]->finish(HTTPResponse{404, "gone"});
  settle();
  ASSERT_NE(first->iconImage.image, nullptr);
  EXPECT_EQ(first->iconImage.image->size.width, 9);
  EXPECT_EQ(second->iconImage.image, nullptr);
}

TEST_F(MethodList, cancelEndsTheFlowOnce) {
  open(methodFlow(connector("A")));
  methods()->cancelPressed();
  platform.mainQueue->run();
  EXPECT_EQ(outcome->calls.size(), 1u);
  EXPECT_THAT(outcome->calls.front(), HasSubstr("User Cancelled"));
  EXPECT_EQ(stack(), nullptr);
}

}  // namespace
}  // namespace veltrane::testing
