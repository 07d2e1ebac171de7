#include "tests/core/host.h"
#include "veltrane/engine/screen_template_config.h"

namespace veltrane::testing {
namespace {

UserViewProps extracted(const std::string& text) {
  return GenericViewModel::getUserViewProps(parsed(text));
}

std::vector<std::string> names(const Dictionary& entries) {
  std::vector<std::string> all;
  for (const auto& [name, value] : entries) all.push_back(name);
  return all;
}

TEST(Extraction, alwaysGivesAnIndexZeroUnlessTheListIsEmpty) {
  for (const auto* text : {"5", "[]", "{}", R"({"screen":[]})", R"({"screen":{"userViews":{}}})"}) {
    const auto props = extracted(text);
    ASSERT_EQ(props.size(), 1u) << text;
    EXPECT_TRUE(props[0].empty());
  }
  EXPECT_THAT(extracted(document("", {})), IsEmpty());
}

TEST(Extraction, aViewHasItsTemplateAndTheFlowsIdentifiers) {
  const auto props = extracted(
      document(R"("title":{"value":"T"})", {view("MfaScreen1"), "5", view("ScreenTemplate1")}));
  ASSERT_EQ(props.size(), 3u);
  EXPECT_THAT(names(props[0]), ElementsAre("capabilityName", "connectionId", "screenTemplateName"));
  EXPECT_EQ(props[0]["screenTemplateName"].text(), "MfaScreen1");
  EXPECT_EQ(props[1]["screenTemplateName"].text(), "");
  EXPECT_EQ(props[1].size(), 3u);
  EXPECT_EQ(props[2]["connectionId"].text(), "con");
  EXPECT_EQ(props[2]["capabilityName"].text(), "cap");
  const auto bare = extracted(
      R"({"connectionId":7,"screen":{"userViews":[{"screenTemplateName":"MessageScreen"}]}})");
  EXPECT_EQ(bare[0]["connectionId"].text(), "");
  EXPECT_EQ(bare[0]["capabilityName"].text(), "");
}

TEST(Extraction, viewsReadTheSharedPropertiesOrTheirOwn) {
  const auto shared = R"("title":{"value":"shared"})";
  const auto props = extracted(
      document(std::string(shared) + "," + config("a", R"("title":{"value":"own"})") + R"(,"b":{})",
               {view("ScreenTemplate1"), view("ScreenTemplate1", "a"), view("OtpScreenTemplate"),
                view("ScreenTemplate1", "b"), view("ScreenTemplate1", "none")}));
  EXPECT_EQ(props[0]["title"].text(), "shared");
  EXPECT_EQ(props[1]["title"].text(), "own");
  EXPECT_EQ(props[2]["title"].text(), "shared");
  EXPECT_EQ(props[3].size(), 3u);
  EXPECT_EQ(props[4].size(), 3u);
}

TEST(Extraction, propertiesComeUnderTheirNamesAndTheEnginesOwnAreIgnored) {
  const auto props = extracted(document(
      R"("title":{"value":"T"},"n":{"value":null},"none":{"x":1},"flat":"text","list":[1],
         "qr":{"value":"Q"},"nextParam":{"value":{"id":"evil"}},"onLoadParam":{"value":{}},
         "textFields":{"value":[1]},"screenTemplateName":{"value":"Evil"},
         "connectionId":{"value":"evil"},"capabilityName":{"value":"evil"},
         "parameters":{"items":[{"propertyName":"user"}]},"screenComponentList":{"value":[]})"));
  EXPECT_THAT(names(props[0]),
              ElementsAre("capabilityName", "connectionId", "n", "screenComponentList",
                          "screenTemplateName", "textFields", "title"));
  EXPECT_EQ(props[0]["screenTemplateName"].text(), "ScreenTemplate1");
  EXPECT_EQ(props[0]["connectionId"].text(), "con");
  EXPECT_EQ(props[0]["textFields"][0]["propertyName"].text(), "user");
  EXPECT_TRUE(props[0]["screenComponentList"].isArray());
  const auto mistyped = extracted(document(
      R"("parameters":{"items":{}},"screenComponentList":{"value":{}},"textFields":{"value":[1]})"));
  EXPECT_EQ(mistyped[0].size(), 3u);
}

TEST(Extraction, eventsQualifyByConstructAndType) {
  const auto event = [](const char* name, const char* construct, const char* type) {
    return std::string("\"") + name + R"(":{"constructType":")" + construct + R"(","eventType":")" +
           type + R"("})";
  };
  const auto kept = [](const std::string& properties) {
    auto all = names(extracted(document(properties))[0]);
    std::erase_if(all, [](const std::string& name) {
      return name == "capabilityName" || name == "connectionId" || name == "screenTemplateName";
    });
    return all;
  };
  const auto post = event("nextEvent", "vtEvent", "post");
  const auto step = event("nextEvent", "vtEvent", "nextUserView");
  const auto onLoad = event("onLoadEvent", "vtEvent", "post");
  EXPECT_THAT(kept(post), ElementsAre("nextEvent", "nextParam"));
  EXPECT_THAT(kept(step), ElementsAre("nextEvent"));
  EXPECT_THAT(kept(onLoad), ElementsAre("nextParam", "onLoadEvent", "onLoadParam"));
  // Whatever the order of the keys, an on-load event leaves the next event its parameters.
  for (const auto& both : {step + "," + onLoad, onLoad + "," + step}) {
    EXPECT_THAT(kept(both), ElementsAre("nextEvent", "nextParam", "onLoadEvent", "onLoadParam"));
  }
  EXPECT_THAT(kept(event("nextEvent", "other", "post")), IsEmpty());
  EXPECT_THAT(kept(event("nextEvent", "vtEvent", "Post")), IsEmpty());
  EXPECT_THAT(kept(event("onLoadEvent", "vtEvent", "nextUserView")), IsEmpty());
  const JSON param = extracted(document(post))[0]["nextParam"];
  EXPECT_EQ(EventParams::from(param), (EventParams{"id-1", "co", "fl", "con", "cap", "in"}));
}

class Records : public ::testing::Test {
 protected:
  static std::shared_ptr<ScreensViewModel> model(const std::string& properties,
                                                 const char* templateName = "ScreenTemplate1") {
    return ScreenTemplatesConfig::addAdditionalField(
        extracted(document(properties, {view(templateName)})), 0);
  }
  /// "type key=value kind variant" of each row.
  static std::vector<std::string> rows(const ScreensViewModel& model) {
    std::vector<std::string> lines;
    for (const CellProperties& row : model.records) {
      std::string line(name(row.type));
      line += ' ' + row.key.value_or("-") + '=' + row.value.serialized().value();
      if (row.kind) line += ' ' + std::string(rawValue(*row.kind));
      if (row.props) line += ' ' + row.props->serialized().value();
      lines.push_back(line);
    }
    return lines;
  }

  FakePlatform platform;
};

TEST_F(Records, aDocumentThatUsesEverythingBecomesItsRowsInTheFixedOrder) {
  const std::string golden =
      R"("showPoweredBy":{"value":true},"nextButtonText":{"value":"Go"},
         "parameters":{"items":[{"propertyName":"user","value":"al","attributes":{"p":1}},
                                {"value":5},7]},
         "bodyText":{"value":"bt"},"message":{"value":"m"},"messageIcon":{"value":"mi"},
         "messageTitle":{"value":"mt"},"bodyIcon0LinkPng":{"value":"http"},
         "bodyHeaderText":{"value":"bh"},"mainHeaderText":{"value":"mh"},
         "subTitle":{"value":"st"},"title":{"value":"T"},"navTitle":{"value":"N"},
         "fullScreenMode":{"value":true},"enablePolling":{"value":1},
         "pollInterval":{"value":250.5},"pollRetries":{"value":4},"challenge":{"value":"ch"},
         "viewBackgroundColor":{"value":"#1"},"viewTextColor":{"value":"#2"},
         "navbarBackgroundColor":{"value":"#3"},"navbarTextColor":{"value":"#4"},
         "viewPaddingTop":{"value":1},"viewPaddingRight":{"value":2},
         "viewPaddingBottom":{"value":3.5},"viewPaddingLeft":{"value":4},
         "credId":{"value":"cred"},"screenComponentList":{"value":[)" +
      component("label", "ignored", "7.9", R"({"variant":"title"})") + "," +
      component("textField", "mail", "\"a@b\"") + "," + component("textField", "n", "true") + "," +
      component("image", "pic", "\"data\"") + "," + component("image", "pic", "5") + "," +
      component("toggleSwitch", "on", "1") + "," + component("toggleSwitch", "off", "\"true\"") +
      "," + component("dropdown", "pick", "2.0") + "," + component("button", "b", "\"x\"") + R"(,
      {"preferredControlType":"textField"},{"preferredControlType":"dropdown"},5]}, )" +
      kPostEvent;
  const auto made = model(golden);
  const auto center = [](const char* variant) {
    return std::string(R"( {"alignment":"center","variant":")") + variant + "\"}";
  };
  EXPECT_THAT(
      rows(*made),
      ElementsAre(R"(label -="7" {"variant":"title"})", R"(textField mail="a@b" {})",
                  R"(textField n="1" {})", R"(image -="data" {})", R"(image -="" {})",
                  "toggleSwitch on=true {}", "toggleSwitch off=false {}", R"(dropdown pick="2" {})",
                  R"(textField ="")", R"(dropdown -="")", R"(label -="st")" + center("subTitle"),
                  R"(label -="mh")" + center("title"), R"(label -="bh")" + center("subTitle"),
                  R"(image -="http" pngURLImage)", R"(label -="mt")" + center("title"),
                  R"(image -="mi" pngBase64Image)", R"(label -="m")" + center("subTitle"),
                  R"(label -="bt")", R"(textField user="al" {"p":1})", R"(textField -="")",
                  R"(textField -="")", R"(button -="Go")", R"(showPoweredBy -="")"));
  EXPECT_EQ(made->title, "T");
  EXPECT_EQ(made->navigationTitle, "N");
  EXPECT_TRUE(made->fullScreenMode && made->enablePolling);
  EXPECT_EQ(made->pollInterval, 250.5);
  EXPECT_EQ(made->pollRetries, 4);
  EXPECT_EQ(made->pollingChallenge, "ch");
  EXPECT_EQ(made->viewBackgroundColor + made->viewTextColor + made->navbarBackgroundColor +
                made->navbarTextColor,
            "#1#2#3#4");
  EXPECT_EQ(made->viewPaddingTop, 1);
  EXPECT_EQ(made->viewPaddingRight, 2);
  EXPECT_EQ(made->viewPaddingBottom, 3.5);
  EXPECT_EQ(made->viewPaddingLeft, 4);
  EXPECT_EQ(made->credId, "cred");
  EXPECT_EQ(made->userViewIndex, 0u);
  EXPECT_TRUE(platform.console->has("preferredControlType default case"));
}

TEST_F(Records, whatIsMissingOrMistypedAddsNothing) {
  const auto made = model(
      R"("subTitle":{"value":5},"nextButtonText":{"value":true},"showPoweredBy":{"value":false},
         "title":{"value":1},"pollInterval":{"value":true},"viewPaddingTop":{"value":"9"},
         "fullScreenMode":{"value":2},"enablePolling":{"value":"true"})");
  EXPECT_THAT(rows(*made), IsEmpty());
  EXPECT_EQ(made->title, std::nullopt);
  EXPECT_EQ(made->pollInterval, 0);
  EXPECT_EQ(made->viewPaddingTop, 0);
  EXPECT_FALSE(made->fullScreenMode || made->enablePolling);
  EXPECT_EQ(made->nextEvent, std::nullopt);
}

TEST_F(Records, theOnLoadEventsStepReplacesTheNextEvents) {
  const std::string next =
      R"("nextEvent":{"constructType":"vtEvent","eventType":"post","postProcess":{"a":1}})";
  EXPECT_EQ((*model(next)->postProcess)["a"].integer(), 1);
  const auto both =
      model(next + R"(,"onLoadEvent":{"constructType":"vtEvent","eventType":"post"})");
  EXPECT_TRUE(both->postProcess.value().isNull());
}

TEST_F(Records, aPhoneScreenHasItsRowsTwice) {
  EXPECT_EQ(rows(*model(kButton)).size(), 1u);
  EXPECT_EQ(rows(*model(kButton, "PhoneScreenTemplate")).size(), 2u);
  EXPECT_DEATH(ScreenTemplatesConfig::addAdditionalField({}, 0), "outside the list");
}

TEST_F(Records, configuratorsCopyTextsAndNothingElse) {
  const UserViewProps props = {Dictionary{{"token", "old"}}, Dictionary()};
  const JSON answer = parsed(R"({"qr":"Q","token":5,"credId":"C","webhookUrl":"W","apiKey":"K"})");
  EXPECT_EQ(OtpScreenTemplateConfig::addQRImage(answer, props, 1)[1]["qr"].text(), "Q");
  EXPECT_EQ(OtpScreenTemplateConfig::addQRImage(parsed(R"({"qr":5})"), props, 1), props);
  const auto onfido = OnFidoConfig::addOnFidoToken(answer, props, 0);
  EXPECT_EQ(onfido[0], (Dictionary{{"token", "old"}, {"credId", "C"}}));
  const auto jumio = JumioConfig::addJumioProps(answer, props, 1);
  EXPECT_EQ(jumio[1], (Dictionary{{"credId", "C"}, {"webhookUrl", "W"}, {"apiKey", "K"}}));
  EXPECT_EQ(jumio[0], props[0]);
  EXPECT_EQ(JumioConfig::addJumioProps(parsed("{}"), props, 0), props);
}

TEST_F(Records, eventBodiesHaveFiveKeysWhateverIsMissing) {
  const Dictionary parameters{{"a", 1}};
  const auto full = model(
      R"("nextEvent":{"constructType":"vtEvent","eventType":"post","eventName":"next",
                      "postProcess":{"eventName":"replaced"}},
         "onLoadEvent":{"constructType":"vtEvent","eventType":"post","eventName":"load",
                        "postProcess":{"eventName":"after"}})");
  const auto body = [](const char* event) {
    return std::string(R"({"capabilityName":"cap","connectionId":"con","eventName":")") + event +
           R"(","id":"id-1","parameters":{"a":1}})";
  };
  EXPECT_EQ(JSON(full->getNextEventProps(parameters)).serialized(), body("next"));
  EXPECT_EQ(JSON(full->getOnLoadEventProps(parameters)).serialized(), body("load"));
  EXPECT_EQ(JSON(full->getPostProcessEventProps(parameters)).serialized(), body("after"));
  EXPECT_EQ(JSON(model("")->getNextEventProps({})).serialized(),
            R"({"capabilityName":"","connectionId":"","eventName":"","id":"","parameters":{}})");
}

}  // namespace
}  // namespace veltrane::testing
