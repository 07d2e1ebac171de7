#include "apps/vtflow/drive/hand_over/sdk_outcome.h"

#include <utility>
#include <vector>

#include "apps/vtflow/drive/command_fields.h"

namespace veltrane::tool {
namespace {

[[noreturn]] void unknown(std::string_view kind, std::string_view known) {
  throw FieldError("\"" + std::string(kind) + "\" must be " + std::string(known));
}

std::optional<std::string> optionalText(const JSON& fields, std::string_view name) {
  if (fields[name].isNull()) return std::nullopt;
  return requiredText(fields, name);
}

std::optional<double> optionalNumber(const JSON& fields, std::string_view name) {
  const JSON value = fields[name];
  if (value.isNull()) return std::nullopt;
  if (!value.number()) unknown(name, "a number");
  return value.number();
}

std::optional<std::int64_t> optionalInteger(const JSON& fields, std::string_view name) {
  if (!optionalNumber(fields, name)) return std::nullopt;
  const auto integer = fields[name].integer();
  if (!integer) unknown(name, "a whole number");
  return integer;
}

SDKOutcome netverify(const JSON& outcome) {
  const auto kind = requiredText(outcome, "netverify");
  auto scanReference = optionalText(outcome, "scanReference");
  if (kind == "finish") return sdk_outcome::NetverifyFinish{scanReference.value_or("")};
  if (kind != "cancel") unknown("netverify", "\"finish\" or \"cancel\"");
  const auto message = optionalText(outcome, "error");
  return sdk_outcome::NetverifyCancel{
      .error = message ? std::optional(JumioError{.code = "", .message = *message}) : std::nullopt,
      .scanReference = std::move(scanReference)};
}

SDKOutcome authentication(const JSON& outcome) {
  const auto kind = requiredText(outcome, "authentication");
  if (kind == "ready") return sdk_outcome::AuthenticationReady{};
  if (kind == "finish") {
    return sdk_outcome::AuthenticationFinish{requiredText(outcome, "transactionReference")};
  }
  if (kind != "error") unknown("authentication", "\"ready\", \"finish\" or \"error\"");
  return sdk_outcome::AuthenticationFailure{
      .error = {.code = "", .message = optionalText(outcome, "error").value_or("")},
      .transactionReference = optionalText(outcome, "transactionReference")};
}

OnfidoResult documentResult(const JSON& fields) {
  return DocumentResult{.href = optionalText(fields, "href"),
                        .id = optionalText(fields, "id"),
                        .type = optionalText(fields, "type"),
                        .side = optionalText(fields, "side"),
                        .createdAt = optionalNumber(fields, "createdAt")};
}

OnfidoResult faceResult(const JSON& fields) {
  return FaceResult{.id = optionalText(fields, "id"),
                    .href = optionalText(fields, "href"),
                    .createdAt = optionalNumber(fields, "createdAt"),
                    .fileName = optionalText(fields, "fileName"),
                    .fileType = optionalText(fields, "fileType"),
                    .fileSize = optionalInteger(fields, "fileSize")};
}

OnfidoResult result(const JSON& item) {
  if (item["document"].isObject()) return documentResult(item["document"]);
  if (item["face"].isObject()) return faceResult(item["face"]);
  if (!item.nonEmptyObject() || item.contains("document") || item.contains("face")) {
    unknown("results", R"(a list of {"document":{...}} and {"face":{...}})");
  }
  return OtherResult{};
}

OnfidoResponse success(const JSON& outcome) {
  const JSON items = outcome["results"];
  if (!items.isArray() && !items.isNull()) unknown("results", "a list");
  onfido_response::Success success;
  for (std::size_t i = 0; i < items.size(); ++i) success.results.push_back(result(items[i]));
  return success;
}

OnfidoResponse cancel(const JSON& outcome) {
  const auto reason = requiredText(outcome, "reason");
  if (reason == "userExit") return onfido_response::Cancel{OnfidoCancelReason::userExit};
  if (reason != "other") unknown("reason", "\"userExit\" or \"other\"");
  return onfido_response::Cancel{OnfidoCancelReason::other};
}

OnfidoResponse onfido(const JSON& outcome) {
  const auto kind = requiredText(outcome, "onfido");
  if (kind == "success") return success(outcome);
  if (kind == "cancel") return cancel(outcome);
  if (kind != "error") unknown("onfido", "\"success\", \"error\" or \"cancel\"");
  const auto message = optionalText(outcome, "error").value_or("");
  return onfido_response::Error{{.type = "", .message = message}};
}

}  // namespace

SDKOutcome readOutcome(const JSON& outcome) {
  if (!outcome.isObject()) throw FieldError("\"outcome\" must be an object");
  const bool isNetverify = outcome.contains("netverify");
  const bool isAuthentication = outcome.contains("authentication");
  const bool isOnfido = outcome.contains("onfido");
  if (isNetverify + isAuthentication + isOnfido != 1) {
    throw FieldError(
        "\"outcome\" must hold exactly one of \"netverify\", \"authentication\" and \"onfido\"");
  }
  if (isNetverify) return netverify(outcome);
  if (isAuthentication) return authentication(outcome);
  return onfido(outcome);
}

}  // namespace veltrane::tool
