#include "tests/core/host.h"
#include "veltrane/ui/cells/image_table_view_cell.h"
#include "veltrane/ui/cells/label_table_view_cell.h"

namespace veltrane::testing {
namespace {

struct Listener final : TextFieldTableViewCellDelegate,
                        ToggleSwitchTableViewCellDelegate,
                        DropdownTableViewCellDelegate {
  void textChange(const std::string& text, IndexPath path) override { note("text " + text, path); }
  void switchValueChanged(bool on, IndexPath path) override { note(on ? "on" : "off", path); }
  void optionSelected(const std::string& text, IndexPath path) override {
    note("option " + text, path);
  }
  void note(const std::string& what, IndexPath path) {
    heard.push_back(what + " at " + std::to_string(path.row));
  }
  std::vector<std::string> heard;
};

class Cells : public ::testing::Test {
 protected:
  static void useTheme() {
    UserDefaultsManager::saveUITheme({{"labelTextColor", "#111"},
                                      {"buttonTextColor", "#222"},
                                      {"buttonBackgroundColor", "#333"}});
  }
  template <typename Cell, typename... Arguments>
  std::shared_ptr<Cell> configured(Arguments&&... arguments) {
    auto cell = std::make_shared<Cell>();
    if constexpr (requires { cell->delegate = listener; }) cell->delegate = listener;
    if constexpr (requires { cell->indexPath; }) cell->indexPath = IndexPath{4};
    cell->configure(std::forward<Arguments>(arguments)...);
    return cell;
  }
  std::shared_ptr<LabelTableViewCell> label(const char* props) {
    return configured<LabelTableViewCell>("text", parsed(props));
  }
  std::shared_ptr<DropdownTableViewCell> dropdown(const char* value, const char* props) {
    return configured<DropdownTableViewCell>(value, parsed(props));
  }
  std::shared_ptr<TextFieldTableViewCell> field(const char* props) {
    return configured<TextFieldTableViewCell>(IndexPath{4}, "v", parsed(props));
  }

  FakePlatform platform;
  std::shared_ptr<Listener> listener = std::make_shared<Listener>();
};

TEST_F(Cells, aLabelTakesFontAlignmentAndColourFromItsWords) {
  const std::tuple<const char*, Font, std::optional<TextAlignment>> cases[] = {
      {R"({"variant":"title","alignment":"left"})", {20.0, true}, TextAlignment::left},
      {R"({"variant":"subTitle","alignment":"right"})", {17.0, false}, TextAlignment::right},
      {R"({"variant":"Title","alignment":"center"})", {14.0, false}, TextAlignment::center},
      {R"({"variant":5,"alignment":"justify"})", {14.0, false}, std::nullopt},
  };
  for (const auto& [props, font, alignment] : cases) {
    EXPECT_EQ(label(props)->label.font, font) << props;
    EXPECT_EQ(label(props)->label.alignment, alignment) << props;
  }
  EXPECT_EQ(label("{}")->label.textColor, std::nullopt);
  useTheme();
  EXPECT_EQ(label("{}")->label.textColor, Color::fromHex("#111"));
  EXPECT_EQ(label(R"({"color":"#f00"})")->label.textColor, Color::fromHex("#f00"));
  EXPECT_EQ(configured<LabelTableViewCell>(JSON(7.9), std::nullopt)->label.text, "7");
}

TEST_F(Cells, captionsFollowTheThemeAndTheirOwnColour) {
  useTheme();
  const auto caption = [&](const char* props) {
    const auto toggle = configured<ToggleSwitchTableViewCell>(true, parsed(props));
    EXPECT_EQ(toggle->toggleSwitch.onTintColor, Color::fromHex("#333"));
    EXPECT_EQ(dropdown("", props)->dropdownLabel.textColor, toggle->label.textColor);
    EXPECT_EQ(field(props)->displayNameLabel.textColor, toggle->label.textColor);
    return toggle->label;
  };
  EXPECT_EQ(caption(R"({"displayName":"D"})").text, "D");
  EXPECT_EQ(caption("{}").textColor, Color::fromHex("#111"));
  EXPECT_EQ(caption(R"({"color":"#f00"})").textColor, Color::fromHex("#f00"));
  const auto button = configured<ButtonTableViewCell>("Go");
  EXPECT_EQ(button->button.titleColor, Color::fromHex("#222"));
  EXPECT_EQ(button->button.backgroundColor, Color::fromHex("#333"));
  EXPECT_EQ(button->button.cornerRadius, 8.0);
  UserDefaultsManager::deleteUITheme();
  EXPECT_EQ(configured<ButtonTableViewCell>("Go")->button.backgroundColor, std::nullopt);
}

TEST_F(Cells, aTextFieldShowsReportsAndMasks) {
  const auto plain = field(R"({"placeholder":"P","keyboardType":"phonePad"})");
  EXPECT_EQ(plain->valueTextField.text, "v");
  EXPECT_EQ(plain->valueTextField.placeholder, "P");
  EXPECT_EQ(plain->valueTextField.keyboardType, KeyboardType::phonePad);
  EXPECT_FALSE(plain->valueTextField.isSecureTextEntry);
  plain->textFieldDidChange("typed");
  EXPECT_THAT(listener->heard, ElementsAre("text typed at 4"));
  EXPECT_TRUE(platform.console->has("textFieldDidChange .... "));
  EXPECT_TRUE(platform.console->has("value:   typed"));
  field(R"({"hashedVisibility":true})")->textFieldDidChange("hidden");
  EXPECT_FALSE(platform.console->mentions("hidden"));
  EXPECT_FALSE(field(R"({"hashedVisibility":"true"})")->valueTextField.isSecureTextEntry);
  EXPECT_EQ(field(R"({"keyboardType":"URL"})")->valueTextField.keyboardType, std::nullopt);
  EXPECT_TRUE(platform.console->has("URL -- this inputType is not supported."));
}

TEST_F(Cells, aSwitchReportsItsFirstStateAndEachLaterOne) {
  const auto toggle = configured<ToggleSwitchTableViewCell>(JSON(1), std::nullopt);
  EXPECT_TRUE(toggle->toggleSwitch.isOn);
  toggle->switchValueChanged(false);
  EXPECT_THAT(listener->heard, ElementsAre("on at 4", "off at 4"));
}

TEST_F(Cells, aDropdownOffersTextsNumbersAndBooleans) {
  const auto* props =
      R"({"displayName":"D","options":["a",5,2.5,2.0,true,false,null,[1],{"x":1},""]})";
  const auto cell = dropdown("other", props);
  EXPECT_EQ(cell->dropdownValueButton.title, "Select D");
  EXPECT_FALSE(cell->hasChoice);
  EXPECT_THAT(cell->options, ElementsAre("a", "5", "2.5", "2", "true", "false", ""));
  EXPECT_EQ(cell->dropdownValueButton.borderColor, Color::fromHex("#cccccc"));
  EXPECT_THAT(listener->heard, IsEmpty());
  EXPECT_EQ(dropdown("5", props)->dropdownValueButton.title, "5");
  EXPECT_THAT(listener->heard, ElementsAre("option 5 at 4"));
  EXPECT_EQ(dropdown("", props)->dropdownValueButton.title, "Select D");
  EXPECT_EQ(dropdown("x", R"({"options":{"x":"x"}})")->dropdownValueButton.title, "Select ");
  cell->dropdownButtonPressed();

  const auto screen = std::make_shared<HostViewController>();
  cell->fromViewConroller = screen;
  cell->dropdownButtonPressed();
  const auto sheet = std::dynamic_pointer_cast<AlertController>(screen->presentedViewController());
  ASSERT_EQ(sheet->style(), AlertStyle::actionSheet);
  EXPECT_EQ(sheet->actions().back().title, "Dismiss");
  sheet->select(2);
  EXPECT_EQ(cell->dropdownValueButton.title, "2.5");
  EXPECT_EQ(listener->heard.back(), "option 2.5 at 4");
}

TEST_F(Cells, anImageKeepsWhatItsPropsDoNotSay) {
  const auto image = [&](const char* props) {
    return configured<ImageTableViewCell>("", std::nullopt, parsed(props),
                                          std::weak_ptr<ViewController>());
  };
  EXPECT_EQ(image(R"({"imageContentMode":"center"})")->icon.contentMode, ContentMode::center);
  EXPECT_EQ(image(R"({"imageContentMode":"Center"})")->icon.contentMode, std::nullopt);
  EXPECT_EQ(image(R"({"height":80.5})")->imageHeightConstraint, 80.5);
  EXPECT_EQ(image(R"({"height":true})")->imageHeightConstraint, std::nullopt);
}

}  // namespace
}  // namespace veltrane::testing
