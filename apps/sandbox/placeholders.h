#pragma once

#include <map>
#include <string>
#include <vector>

namespace veltrane::sandbox {

/// What the placeholders of an answer stand for, by their names: "${interactionId}",
/// "${companyId}", "${flowId}", "${serverURL}", and "${challenge:NAME}" for each challenge that the
/// answer opens.
struct PlaceholderValues {
  std::string interactionId;
  std::string companyId;
  std::string flowId;
  std::string serverURL;
  std::map<std::string, std::string> challenges;  ///< Their ids by name.
};

/// What a flow file names for its own placeholders.
struct PlaceholderNames {
  std::vector<std::string> challenges;
  std::map<std::string, std::string> qrCodes;  ///< The texts by name.
};

/// JSON text with "${picture:FILE}" and "${qr:NAME}" replaced by Base64 of what they show. Throws
/// std::invalid_argument for every placeholder that is not known.
std::string withPictures(const std::string& jsonText, const PlaceholderNames& names);

/// The names of the challenges whose placeholders stand in the text, each once.
std::vector<std::string> challengesIn(const std::string& text);

/// JSON text with its placeholders replaced, escaped as JSON asks.
std::string filled(const std::string& jsonText, const PlaceholderValues& values);

/// The same for a text that is no JSON.
std::string filledPlain(const std::string& text, const PlaceholderValues& values);

}  // namespace veltrane::sandbox
