#pragma once

#include <string>
#include <vector>

namespace veltrane::tool {

/// One thing that a diagnosis has found out: one cause and one remedy, each a sentence.
struct Finding {
  enum class State {
    ok,       ///< As it should be; there is no remedy.
    missing,  ///< Not there, and passkeys work without.
    unsure,   ///< Nothing here tells whether it is right.
    wrong,    ///< Does not work as it is, though others may.
    fatal,    ///< Keeps passkeys from working.
  };

  State state = State::ok;
  std::string subject;
  std::string cause;
  std::string remedy;
};

using Findings = std::vector<Finding>;

/// "STATE SUBJECT: CAUSE REMEDY" on one line, whatever the texts hold.
std::string lineOf(const Finding& finding);

/// Whether passkeys can work in spite of all that was found.
bool allowPasskeys(const Findings& findings);
/// The same as the last line of a diagnosis.
Finding verdictOn(const Findings& findings);

}  // namespace veltrane::tool
