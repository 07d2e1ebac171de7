#include "veltrane/engine/screen_template_config.h"

#include <array>
#include <initializer_list>
#include <string_view>
#include <utility>

#include "veltrane/base/console.h"
#include "veltrane/base/fatal.h"
#include "veltrane/engine/screens_view_model.h"
#include "veltrane/engine/supported_screens.h"

namespace veltrane {
namespace {

constexpr std::array<std::pair<std::string_view, std::string_view>, 10> kLines = {{
    {"OtpScreenTemplate", "add required param for otpScreenTemplateVC ...."},
    {"PhoneScreenTemplate", "add required param for phoneScreenTemplate ...."},
    {"ScreenTemplate1", "add required param for screenTemplate1 ...."},
    {"ScreenTemplate2", "add required param for screenTemplate2 ...."},
    {"TwoFieldScreenTemplate", "add required param for twoFieldScreenTemplate ...."},
    {"UsernameScreenTemplate", "add required param for usernameScreenTemplate ...."},
    {"UsernameLoginScreenTemplate", "add required param for usernameLoginScreenTemplate ...."},
    {"ThirdPartyTemplate", "add required param for thirdPartyTemplate ...."},
    {"ThirdPartyiFrameTemplate", "add required param for thirdPartyiFrameTemplate ...."},
    {"UnsupportedScreen", "unsupportedScreen ???"},
}};

std::string_view lineFor(std::string_view templateName) {
  for (const auto& [name, line] : kLines) {
    if (name == templateName) return line;
  }
  return "NO matching screen tempalte found to add required extra fields ....";
}

void checkIndex(const UserViewProps& props, std::size_t index) {
  if (index >= props.size()) fatal("The user view index is outside the list of user views.");
}

UserViewProps copyTexts(std::initializer_list<std::string_view> keys, const JSON& response,
                        UserViewProps props, std::size_t index) {
  checkIndex(props, index);
  for (const auto key : keys) {
    JSON value = response[key];
    if (value.text()) props[index].set(key, std::move(value));
  }
  return props;
}

}  // namespace

UserViewProps OtpScreenTemplateConfig::addQRImage(const JSON& response, UserViewProps props,
                                                  std::size_t index) {
  return copyTexts({"qr"}, response, std::move(props), index);
}

UserViewProps OnFidoConfig::addOnFidoToken(const JSON& response, UserViewProps props,
                                           std::size_t index) {
  return copyTexts({"token", "credId"}, response, std::move(props), index);
}

UserViewProps JumioConfig::addJumioProps(const JSON& response, UserViewProps props,
                                         std::size_t index) {
  return copyTexts({"token", "credId", "transactionReference", "customerInternalReference", "event",
                    "apiKey", "clientSecret", "webhookUrl"},
                   response, std::move(props), index);
}

std::shared_ptr<ScreensViewModel> ScreenTemplatesConfig::addAdditionalField(
    const UserViewProps& userViewProps, std::size_t userViewIndex) {
  checkIndex(userViewProps, userViewIndex);
  const Dictionary& props = userViewProps[userViewIndex];
  auto model = ScreensViewModel::make(props, userViewIndex);
  const auto& templateName = model->screenTemplateName;
  if (!templateName || !SupportedScreens::check(*templateName)) return model;
  console::print(lineFor(*templateName));
  if (templateName == "PhoneScreenTemplate") model->setRecord(props);
  return model;
}

}  // namespace veltrane
