#include "apps/vtflow/doctor/clock.h"
#include "apps/vtflow/doctor/machine.h"
#include "apps/vtflow/doctor/passkey_file.h"
#include "platform/publicsuffix/public_suffix_list.h"
#include "tests/driver/driver_test.h"

namespace veltrane::testing {
namespace {

using ::testing::AllOf;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using namespace std::chrono_literals;
using tool::Finding;
using State = Finding::State;

constexpr std::chrono::sys_seconds kDay = std::chrono::sys_days(std::chrono::year(2026) / 3 / 14);

TEST(Doctor, JudgesTheClockByTheServerThenByTheProgramThenByTheSystem) {
  struct Case {
    tool::ClockReading reading;
    State state;
    const char* cause;
  };
  const Case cases[] = {
      {{.now = kDay, .built = kDay, .server = kDay + 5min}, State::ok, "agrees"},
      {{.now = kDay, .built = kDay, .server = kDay + 6min}, State::fatal, "6 minutes behind"},
      {{.now = kDay + 30h, .built = kDay, .server = kDay}, State::fatal, "30 hours ahead of"},
      {{.now = kDay - 900h, .built = kDay}, State::fatal, "37 days behind"},
      {{.now = kDay - 900h, .built = kDay, .serverFailure = "No answer.", .isSynchronised = true},
       State::fatal,
       "37 days behind"},
      {{.now = kDay, .built = kDay, .serverFailure = "No answer."}, State::wrong, "No answer."},
      {{.now = kDay, .built = kDay}, State::unsure, "Nothing tells"},
      {{.now = kDay, .built = kDay, .isSynchronised = true}, State::ok, "keeps it"},
  };
  for (const auto& [reading, state, cause] : cases) {
    const Finding finding = tool::judge(reading);
    EXPECT_EQ(finding.state, state) << finding.cause;
    EXPECT_THAT(finding.cause, HasSubstr(cause));
    EXPECT_EQ(finding.remedy.empty(), state == State::ok) << finding.cause;
  }
}

TEST(Doctor, ReadsTheDateOfAServerAndNothingElse) {
  EXPECT_EQ(tool::parseHTTPDate("Sat, 14 Mar 2026 00:00:00 GMT"), kDay);
  for (const char* const text : {"", "now", "Sat, 14 Mar 2026 00:00:00 CET and more"}) {
    EXPECT_FALSE(tool::parseHTTPDate(text)) << text;
  }
}

TEST(Doctor, TellsWhyAnRpIdDoesNotFitAndWhatWould) {
  struct Case {
    std::optional<std::string> rpId;
    std::optional<std::string> origin;
    const char* remedy;
  };
  const Case cases[] = {
      {"localhost", "https://localhost", ""},
      {"example.com", "https://login.example.com:8443", ""},
      {"example.org", "https://login.example.com", "\"login.example.com\""},
      {"co.uk", "https://example.co.uk", "\"example.co.uk\""},
      {"co.uk", "https://co.uk", "a domain of your own below it"},
      {"example.com", "http://example.com", "https://DOMAIN"},
      {"192.0.2.1", "https://192.0.2.1", "Give the domain alone"},
      {"https://example.com", {}, "Give the domain alone"},
      // What is not given is taken from what is.
      {{}, {}, ""},
      {"example.com", {}, ""},
      {{}, "https://login.example.com:8443", ""},
      {"co.uk", {}, "a domain of your own below it"},
      {{}, "https://192.0.2.1", "https://DOMAIN"},
      {{}, "localhost", "https://DOMAIN"},
  };
  const auto suffixes = publicsuffix::make();
  for (const auto& [rpId, origin, remedy] : cases) {
    const Finding finding = tool::judgeRelyingParty(rpId, origin, *suffixes);
    EXPECT_EQ(finding.state, *remedy ? State::fatal : State::ok) << finding.cause;
    EXPECT_EQ(finding.remedy.empty(), *remedy == '\0');
    EXPECT_THAT(finding.remedy, HasSubstr(remedy));
  }
}

TEST(Doctor, NamesFromOutsideStayOnTheirLine) {
  EXPECT_EQ(
      tool::lineOf({State::wrong, "security key", "A\nB\x1b[1m\u009b2J \u202e fails", "Do so."}),
      "wrong    security key: A B [1m2J  fails. Do so.");
}

TEST(Doctor, LooksAtThePasskeyFileAndLeavesItAsItIs) {
  const ScratchFolder folder;
  const auto file = folder.path() / "passkeys.db";
  const auto finding = [&](State state, const char* cause) {
    const Finding found = tool::judgePasskeyFile(file);
    EXPECT_EQ(found.state, state) << found.cause;
    EXPECT_THAT(found.cause, HasSubstr(cause));
    EXPECT_EQ(found.remedy.empty(), state == State::ok) << found.cause;
  };
  finding(State::missing, "is not there yet");
  EXPECT_TRUE(std::filesystem::is_empty(folder.path()));

  std::filesystem::copy_file("/bin/true", file);
  std::filesystem::permissions(file, std::filesystem::perms(0644));
  finding(State::wrong, "it is something else");
  EXPECT_EQ(std::filesystem::file_size(file), std::filesystem::file_size("/bin/true"));

  std::filesystem::remove(file);
  std::filesystem::create_directory(file);
  finding(State::wrong, "no regular file");
}

/// The program on a machine without anything that keeps keys.
class DoctorProgram : public DriverTest {
 protected:
  static int run(std::vector<std::string> more, std::string& output) {
    more.insert(more.begin(), "doctor");
    DriverProcess program(more, {"VELTRANE_TPM_TCTI=device:/nowhere/tpm",
                                 "DBUS_SESSION_BUS_ADDRESS=unix:path=/nowhere/bus"});
    const int status = program.waitForEnd();
    output = program.output();
    return status;
  }
};

TEST_F(DoctorProgram, TellsALineAFindingAndWhetherPasskeysCanWork) {
  std::string output;
  EXPECT_EQ(run({"--base-url", server().baseURL(), "--ca", server().authorityFile()}, output), 0);
  EXPECT_THAT(output, AllOf(HasSubstr("ok       rpId: "), HasSubstr("ok       clock: "),
                            HasSubstr("security key: "), HasSubstr("missing  TPM: "),
                            HasSubstr("missing  secret service: "),
                            HasSubstr("ok       this device: It makes passkeys"),
                            HasSubstr("a passphrase that it asks for"),
                            EndsWith("ok       passkeys: They can work here.\n")));
  EXPECT_EQ(run({"--rp-id", "com", "--origin", "https://example.com"}, output), 1);
  EXPECT_THAT(output, AllOf(HasSubstr("FATAL    rpId: "),
                            HasSubstr("\nFATAL    passkeys: They cannot work here.")));
  // A server whose certificate is not known is asked for nothing.
  run({"--base-url", server().baseURL()}, output);
  EXPECT_THAT(output, HasSubstr("wrong    clock: The certificate of https://localhost:"));
}

}  // namespace
}  // namespace veltrane::testing
