#include "apps/sandbox/decider.h"

#include <nlohmann/json.hpp>
#include <stdexcept>
#include <utility>
#include <variant>

#include "apps/sandbox/documents.h"
#include "apps/sandbox/pictures/picture_route.h"
#include "apps/sandbox/random_id.h"

namespace veltrane::sandbox {
namespace {

using nlohmann::json;

/// JSON's null when the body has no such parameter.
const json& parameterOf(const json& body, const char* name) {
  static const json none;
  const auto parameters = body.find("parameters");
  if (parameters == body.end() || !parameters->is_object()) return none;
  const auto parameter = parameters->find(name);
  return parameter == parameters->end() ? none : *parameter;
}

std::string userNameIn(const json& body) {
  const json& name = parameterOf(body, "username");
  return name.is_string() ? name.get<std::string>() : std::string();
}

Refusal unknownChallenge() {
  return {"unknownChallenge", "There is no challenge of this id.", 404};
}

}  // namespace

std::string serverURL(int port) {
  return "https://localhost:" + std::to_string(port);
}

void Decider::addFlow(std::string id, const std::string& jsonText) {
  if (id.empty()) throw std::invalid_argument("a flow needs an id");
  auto flow = readFlow(jsonText);
  const std::lock_guard lock(mutex_);
  flows_[std::move(id)] = std::move(flow);
}

std::vector<std::string> Decider::flowIds() const {
  const std::lock_guard lock(mutex_);
  std::vector<std::string> ids;
  for (const auto& [id, flow] : flows_) ids.push_back(id);
  return ids;
}

std::shared_ptr<const Flow> Decider::flowOf(const std::string& id) const {
  const std::lock_guard lock(mutex_);
  const auto entry = flows_.find(id);
  return entry == flows_.end() ? nullptr : entry->second;
}

Decision Decider::decide(const RecordedRequest& request, int port) {
  const auto checked = checkedRequest(request);
  if (const auto* start = std::get_if<StartRequest>(&checked)) return decideStart(*start, port);
  if (const auto* status = std::get_if<StatusRequest>(&checked)) return decideStatus(*status);
  if (const auto* event = std::get_if<EventRequest>(&checked)) return decideEvent(*event, port);
  const auto& segments = std::get<PictureRequest>(checked).segments;
  return {.flow = nullptr,
          .reply = std::make_shared<const Reply>(pictureReply(segments, port)),
          .values = {}};
}

Decision Decider::decideStart(const StartRequest& start, int port) {
  auto flow = flowOf(start.flowId);
  if (!flow) throw Refusal("unknownFlow", "There is no flow \"" + start.flowId + "\".", 404);
  return byRules(flow, flow->start, *start.body,
                 {.interactionId = randomId(),
                  .companyId = start.companyId,
                  .flowId = start.flowId,
                  .serverURL = serverURL(port),
                  .challenges = {}});
}

Decision Decider::decideEvent(const EventRequest& event, int port) {
  const auto run = runs_.find(event.interactionId);
  if (!run) throw Refusal("unknownInteraction", "There is no interaction of this id.");
  checkIds(event, *run);
  const auto rules = run->flow->events.find(event.eventName);
  if (rules == run->flow->events.end()) {
    throw Refusal("unknownEvent", "This flow has no event \"" + event.eventName + "\".");
  }
  return byRules(run->flow, rules->second, *event.body,
                 {.interactionId = event.interactionId,
                  .companyId = event.companyId,
                  .flowId = run->flowId,
                  .serverURL = serverURL(port),
                  .challenges = {}});
}

Decision Decider::decideStatus(const StatusRequest& request) {
  const auto challenge = challenges_.find(request.challengeId);
  if (!challenge) throw unknownChallenge();
  checkIds(request, *challenge);
  auto answer = challenges_.nextStatus(request.challengeId);
  // Others may have opened so many in between that this one is forgotten.
  if (!answer) throw unknownChallenge();
  return {.flow = std::move(answer->flow),
          .reply = std::move(answer->reply),
          .values = std::move(answer->values)};
}

Decision Decider::byRules(std::shared_ptr<const Flow> flow, const Rules& rules,
                          const nlohmann::json& body, PlaceholderValues values) {
  std::string userName = userNameIn(body);
  const auto stateOf = [&](const std::string& name) {
    return challenges_.stateOf(values.interactionId, name);
  };
  const Rule* rule = firstMatch(
      rules, body, stateOf, [&] { return relyingParty_.knows(flow->relyingParty.id, userName); });
  if (!rule) throw Refusal("noMatchingRule", "No rule of the flow fits this body.");
  Decision decision{.flow = flow,
                    .reply = std::shared_ptr<const Reply>(flow, &rule->reply),
                    .values = std::move(values),
                    .passkey = rule->passkey,
                    .userName = std::move(userName)};
  check(decision, body);
  if (rule->facePicture) lastFace_.show(checkedFacePicture(parameterOf(body, "imageData")));
  return decision;
}

void Decider::check(const Decision& decision, const json& body) {
  const std::string& interactionId = decision.values.interactionId;
  const json& response = parameterOf(body, "webAuthnResponse");
  if (decision.passkey == PasskeyStep::registration) {
    relyingParty_.checkRegistration(interactionId, response);
  } else if (decision.passkey == PasskeyStep::assertion) {
    relyingParty_.checkAssertion(interactionId, response);
  }
}

std::string Decider::withOptions(const Decision& decision, const std::string& text) {
  const bool creates = decision.passkey == PasskeyStep::creationOptions;
  if (!creates && decision.passkey != PasskeyStep::requestOptions) return text;
  RelyingParty::Ceremony ceremony{.party = decision.flow->relyingParty,
                                  .interactionId = decision.values.interactionId,
                                  .userName = decision.userName};
  for (auto& origin : ceremony.party.origins) origin = filledPlain(origin, decision.values);
  json answer = json::parse(text);
  if (creates) {
    relyingParty_.addCreationOptions(ceremony, answer);
  } else {
    relyingParty_.addRequestOptions(ceremony, answer);
  }
  return answer.dump();
}

std::string Decider::issue(Decision decision) {
  const Reply& reply = *decision.reply;
  PlaceholderValues& values = decision.values;
  for (const std::string& name : reply.opens) {
    values.challenges[name] = challenges_.open(decision.flow, name, values);
  }
  for (const DocumentIds& document : reply.documents) {
    runs_.add(values.flowId, decision.flow, filled(document, values));
  }
  if (reply.verbatim) return reply.text;
  return withOptions(decision, filled(reply.text, values));
}

}  // namespace veltrane::sandbox
