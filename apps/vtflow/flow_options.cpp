#include "apps/vtflow/flow_options.h"

#include <CLI/CLI.hpp>
#include <string_view>
#include <utility>

#include "apps/vtflow/option_checks.h"
#include "veltrane/network/network_api_request.h"

namespace veltrane::tool {
namespace {

using Pair = std::pair<std::string, std::string>;

/// Nothing when there is no key before a "=".
std::optional<Pair> keyAndValue(const std::string& text) {
  const auto equals = text.find('=');
  if (equals == 0 || equals == std::string::npos) return std::nullopt;
  return Pair(text.substr(0, equals), text.substr(equals + 1));
}

std::string checkProp(const std::string& text) {
  return keyAndValue(text) ? std::string() : "must be KEY=JSON, not \"" + text + '"';
}

std::string withoutSlashAtEnd(std::string url) {
  while (url.ends_with('/')) url.pop_back();
  return url;
}

CLI::Option* addRepeatable(CLI::App& command, const char* name, std::vector<std::string>& values,
                           const char* help) {
  // One value each time, however many follow.
  return command.add_option(name, values, help)->allow_extra_args(false);
}

void addURL(CLI::App& command, const char* name, std::optional<std::string>& url,
            const char* help) {
  command.add_option(name, url, help)->check(checkedBy(checkBaseURL))->type_name("URL");
}

void addServerOptions(CLI::App& command, FlowOptions& options) {
  command.add_flag("--sandbox", options.sandbox, "Ask the sandbox instead of production");
  addURL(command, "--base-url", options.baseURL,
         "Base URL of the API, with its path, for production and sandbox");
  addURL(command, "--production-url", options.productionURL, "Base URL of production alone");
  addURL(command, "--sandbox-url", options.sandboxURL, "Base URL of the sandbox alone");
  command
      .add_option("--ca", options.authorityFile,
                  "PEM bundle of authorities to trust instead of the system's")
      ->check(checkedBy(checkAuthorityFile))
      ->type_name("FILE");
  command.add_option("--access-token", options.accessToken, "Bearer token to start with")
      ->type_name("T");
}

}  // namespace

void addFlowOptions(CLI::App& command, FlowOptions& options) {
  command.add_option("--company", options.companyId, "Company")
      ->required()
      ->check(checkedBy(checkNotEmpty))
      ->type_name("ID");
  command.add_option("--flow", options.flowId, "Flow to run")->type_name("ID");
  command.add_option("--policy", options.policyId, "Policy to run, unless a flow is named")
      ->type_name("ID");
  command.add_option("--api-key", options.apiKey, "API key")->capture_default_str()->type_name("K");
  command.add_option("--rp-id", options.rpId, "Relying party")
      ->capture_default_str()
      ->type_name("R");
  command.add_option("--origin", options.origin, "Origin of passkeys")
      ->capture_default_str()
      ->type_name("O");
  command.add_option("--timeout", options.timeout, "Seconds that a request may take")
      ->check(checkedBy(checkSeconds))
      ->capture_default_str()
      ->type_name("S");
  addServerOptions(command, options);
  addRepeatable(command, "--prop", options.rawProps,
                "Entry of the first request's body, repeatable; what is not JSON is a text")
      ->check(checkedBy(checkProp))
      ->type_name("KEY=JSON");
  addRepeatable(command, "--theme", options.rawTheme, "Colour of the theme, repeatable")
      ->check(checkedBy(checkThemeEntry))
      ->type_name("KEY=COLOUR");
  command.add_option("--store", options.store, "Settings file; absent: a temporary one")
      ->check(checkedBy(checkStoreFile))
      ->type_name("FILE");
}

std::string* themeColour(VTTheme& theme, std::string_view name) {
  if (name == "backgroundColor") return &theme.backgroundColor;
  if (name == "labelTextColor") return &theme.labelTextColor;
  if (name == "buttonTextColor") return &theme.buttonTextColor;
  if (name == "buttonBackgroundColor") return &theme.buttonBackgroundColor;
  return nullptr;
}

std::optional<Dictionary> FlowOptions::props() const {
  if (rawProps.empty()) return std::nullopt;
  Dictionary props;
  for (const auto& raw : rawProps) {
    const auto [key, text] = keyAndValue(raw).value_or(Pair());
    const auto parsed = JSON::parse(text);
    props.set(key, parsed.ok() ? parsed.value : JSON(text));
  }
  return props;
}

std::optional<VTTheme> FlowOptions::theme() const {
  if (rawTheme.empty()) return std::nullopt;
  VTTheme theme;
  for (const auto& raw : rawTheme) {
    const auto [key, value] = keyAndValue(raw).value_or(Pair());
    if (auto* const field = themeColour(theme, key)) *field = value;
  }
  return theme;
}

VTFlow::Arguments FlowOptions::arguments() const {
  return {.vtApiKey = apiKey,
          .rpId = rpId,
          .origin = origin,
          .companyId = companyId,
          .responseTimeOut = timeout,
          .theme = theme(),
          .isSandbox = sandbox};
}

void applyServerURLs(const FlowOptions& options) {
  const auto production = options.productionURL ? options.productionURL : options.baseURL;
  const auto sandbox = options.sandboxURL ? options.sandboxURL : options.baseURL;
  if (production) APIBaseURL::setProduction(withoutSlashAtEnd(*production));
  if (sandbox) APIBaseURL::setSandbox(withoutSlashAtEnd(*sandbox));
}

void runFlow(VTFlow& flow, const FlowOptions& options,
             const std::shared_ptr<ViewController>& fromViewController) {
  if (options.flowId || !options.policyId) {
    flow.runFlow(VTFlow::ByFlowId{.flowId = options.flowId,
                                  .fromViewController = fromViewController,
                                  .accessToken = options.accessToken,
                                  .props = options.props()});
  } else {
    flow.runFlow(VTFlow::ByPolicyId{.policyId = options.policyId,
                                    .fromViewController = fromViewController,
                                    .accessToken = options.accessToken,
                                    .props = options.props()});
  }
}

}  // namespace veltrane::tool
