#include "apps/sandbox/flow.h"

#include <algorithm>
#include <nlohmann/json.hpp>

namespace veltrane::sandbox {
namespace {

const nlohmann::json* find(const nlohmann::json& body, const std::vector<std::string>& path) {
  const nlohmann::json* node = &body;
  for (const std::string& key : path) {
    if (!node->is_object()) return nullptr;
    const auto entry = node->find(key);
    if (entry == node->end()) return nullptr;
    node = &*entry;
  }
  return node;
}

bool startsWith(const nlohmann::json& node, const nlohmann::json& start) {
  return node.is_string() &&
         node.get_ref<const std::string&>().starts_with(start.get_ref<const std::string&>());
}

}  // namespace

bool Condition::holds(const nlohmann::json& body) const {
  const nlohmann::json* node = find(body, path);
  switch (test) {
    case Test::equals:
      return node && *node == *value;
    case Test::differs:
      return !node || *node != *value;
    case Test::missing:
      return !node;
    case Test::present:
      return node;
    case Test::startsWith:
      return node && startsWith(*node, *value);
  }
  return false;
}

const Rule* firstMatch(const Rules& rules, const nlohmann::json& body,
                       const ChallengeStates& states, const HasPasskey& hasPasskey) {
  const auto matches = [&](const Rule& rule) {
    return std::all_of(rule.when.begin(), rule.when.end(),
                       [&](const Condition& condition) { return condition.holds(body); }) &&
           std::all_of(rule.challenges.begin(), rule.challenges.end(),
                       [&](const auto& wanted) { return states(wanted.first) == wanted.second; }) &&
           (!rule.hasPasskey || *rule.hasPasskey == hasPasskey());
  };
  const auto rule = std::find_if(rules.begin(), rules.end(), matches);
  return rule == rules.end() ? nullptr : &*rule;
}

}  // namespace veltrane::sandbox
