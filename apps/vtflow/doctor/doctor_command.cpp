#include "apps/vtflow/doctor/doctor_command.h"

#include <CLI/CLI.hpp>
#include <cstdlib>
#include <ostream>

#include "apps/vtflow/doctor/clock.h"
#include "apps/vtflow/doctor/finding.h"
#include "apps/vtflow/doctor/machine.h"
#include "apps/vtflow/doctor/passkey_file.h"
#include "apps/vtflow/option_checks.h"
#include "platform/authenticator/passkey_list.h"
#include "platform/publicsuffix/public_suffix_list.h"

namespace veltrane::tool {

void addDoctorOptions(CLI::App& command, DoctorOptions& options) {
  command
      .add_option("--rp-id", options.rpId,
                  "The relying party's id, a domain; absent: the origin's, or localhost")
      ->check(checkedBy(checkNotEmpty))
      ->type_name("R");
  command
      .add_option("--origin", options.origin,
                  "The host's origin, https://DOMAIN[:PORT]; absent: the rpId's")
      ->check(checkedBy(checkNotEmpty))
      ->type_name("O");
  command.add_option("--base-url", options.baseURL, "Server whose clock to compare with")
      ->check(checkedBy(checkBaseURL))
      ->type_name("URL");
  command
      .add_option("--ca", options.authorityFile,
                  "PEM bundle of authorities to trust instead of the system's")
      ->check(checkedBy(checkAuthorityFile))
      ->type_name("FILE");
  command
      .add_option(
          "--credentials", options.credentials,
          "This machine's passkeys; absent: " + authenticator::defaultPasskeyFile().string())
      ->check(checkedBy(checkNotEmpty))
      ->type_name("FILE");
  command.footer("Exit status: 0 passkeys can work here, 1 they cannot, 2 wrong use");
}

int doctor(const DoctorOptions& options, std::ostream& out) {
  // What goes wrong in a TPM is a finding here; tpm2-tss would tell it as well.
  ::setenv("TSS2_LOG", "all+none", 0);
  Findings all;
  const auto tell = [&](const Findings& findings) {
    for (const Finding& finding : findings) out << lineOf(finding) << std::endl;
    all.insert(all.end(), findings.begin(), findings.end());
  };
  tell({judgeRelyingParty(options.rpId, options.origin, *publicsuffix::make())});
  tell({judge(options.baseURL ? readClock(*options.baseURL, options.authorityFile) : readClock())});
  tell(findSecurityKeys());
  tell(findKeyKeepers());
  tell({judgePasskeyFile(options.credentials.value_or(authenticator::defaultPasskeyFile()))});
  out << lineOf(verdictOn(all)) << std::endl;
  return allowPasskeys(all) ? 0 : 1;
}

}  // namespace veltrane::tool
