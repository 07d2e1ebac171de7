#include <fcntl.h>
#include <stdlib.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>

#include "apps/vtflow/doctor/passkey_file.h"
#include "tests/driver/driver_test.h"

namespace veltrane::testing {
namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;

/// A terminal at which somebody has typed that.
class Typed {
 public:
  explicit Typed(const std::string& text) : person_(::posix_openpt(O_RDWR | O_NOCTTY)) {
    const bool opened = person_ >= 0 && ::grantpt(person_) == 0 && ::unlockpt(person_) == 0;
    if (opened) terminal_ = ::open(::ptsname(person_), O_RDWR | O_NOCTTY);
    if (::write(person_, text.data(), text.size()) < 0) terminal_ = -1;
  }
  ~Typed() {
    for (const int fd : {terminal_, person_}) ::close(fd);
  }
  Typed(const Typed&) = delete;
  Typed& operator=(const Typed&) = delete;
  int input() const { return terminal_; }

 private:
  int person_;
  int terminal_ = -1;
};

/// Passkeys as flows make them, all in one file.
class Passkeys : public DriverTest {
 protected:
  Passkeys() {
    const auto flows = sandbox::shippedFlowsFolder();
    for (const char* const flow : {"passkey-register", "passkey-login"}) {
      std::ifstream stream(flows / (std::string(flow) + ".json"));
      server().addFlow(flow, std::string(std::istreambuf_iterator<char>(stream), {}));
    }
  }

  /// The result of a flow with that user name, typed unless it is empty.
  json drive(const std::string& flow, const std::string& user, const std::string& verifies = "yes",
             const std::vector<std::string>& more = {}) {
    auto words = arguments(flow, {"--credentials", file(), "--user-verification", verifies});
    words.insert(words.end(), more.begin(), more.end());
    DriverProcess driver(words);
    if (!user.empty()) driver.send({{"do", "input"}, {"key", "username"}, {"text", user}});
    driver.send({{"do", "press"}});
    driver.closeInput();
    driver.wait();
    output_ = driver.output();
    return driver.events("result").at(0);
  }

  static ToolOutcome manage(std::vector<std::string> words, int input = -1) {
    words.insert(words.begin(), "passkeys");
    return runTool(words, input);
  }

  std::string list() const { return manage({"list", "--credentials", file()}).text; }
  std::string file() const { return folder_.path() / "passkeys.db"; }

  std::string output_;

 private:
  const ScratchFolder folder_;
};

/// A name that no other test's users have: the server keeps them all.
std::string userOf(const char* name) {
  return std::string(name) + "@" + ::testing::UnitTest::GetInstance()->current_test_info()->name();
}

TEST_F(Passkeys, AreMadeAndSignedInWithByNameAndWithout) {
  const auto alice = userOf("alice");
  EXPECT_EQ(drive("passkey-login", alice)["error"]["code"], "noPasskey");
  const json made = drive("passkey-register", alice);
  EXPECT_EQ(made["response"]["success"], 1) << output_;
  EXPECT_EQ(drive("passkey-login", alice)["response"]["method"], "passkey") << output_;
  EXPECT_EQ(drive("passkey-login", "")["response"]["method"], "passkey") << output_;
  EXPECT_EQ(drive("passkey-register", alice)["error"]["code"], "excluded") << output_;
}

TEST_F(Passkeys, ComeToNothingWhenThePersonSaysNoOrTheOriginIsAnother) {
  const auto bob = userOf("bob");
  EXPECT_THAT(drive("passkey-register", bob, "no")["error"].dump(), HasSubstr("cancelled"));
  EXPECT_THAT(
      drive("passkey-register", bob, "yes", {"--origin", "https://example.com"})["error"].dump(),
      HasSubstr("do not match"));
  const json elsewhere =
      drive("passkey-register", bob, "yes", {"--origin", "https://app.localhost"});
  EXPECT_THAT(elsewhere["error"].dump(), HasSubstr("wrongOrigin")) << output_;
  EXPECT_EQ(drive("passkey-register", bob)["response"]["success"], 1) << output_;
  EXPECT_THAT(drive("passkey-login", bob, "no")["error"].dump(), HasSubstr("cancelled"));
}

TEST_F(Passkeys, AreListedAndDeletedOnceSomebodyAgrees) {
  EXPECT_THAT(list(), StartsWith("There is no passkey: " + file()));
  const auto carol = userOf("carol");
  const auto dave = userOf("dave");
  drive("passkey-register", carol);
  drive("passkey-register", dave);
  const auto both = list();
  EXPECT_THAT(both, AllOf(HasSubstr(carol + " at localhost  passphrase  0 signatures  "),
                          HasSubstr(dave + " at localhost")));
  const auto line = both.substr(both.find(dave));
  const auto end = line.find('\n');
  const auto start = line.rfind(' ', end) + 1;
  const auto daves = line.substr(start, end - start);

  const auto remove = [&](const std::string& which, std::vector<std::string> more, int input) {
    more.insert(more.begin(), {"delete", which, "--credentials", file()});
    return manage(more, input);
  };
  EXPECT_EQ(remove(daves, {}, -1).status, 2);
  EXPECT_EQ(remove("zz", {"--yes"}, -1).status, 1);
  for (const char* const no : {"n\n", "\n", "\4"}) {
    const Typed typed(no);
    EXPECT_EQ(remove(daves, {}, typed.input()).status, 1);
  }
  EXPECT_EQ(list(), both);
  const Typed typed("y\n");
  const auto done = remove(daves.substr(0, 12), {}, typed.input());
  EXPECT_EQ(done.status, 0) << done.errors;
  EXPECT_THAT(done.text, AllOf(HasSubstr("Delete the passkey of " + dave + " at localhost?"),
                               HasSubstr("Deleted the passkey of " + dave)));
  EXPECT_THAT(list(), AllOf(HasSubstr(carol), Not(HasSubstr(dave))));
  const auto reset = manage({"reset", "--yes", "--credentials", file()});
  EXPECT_THAT(reset.text, StartsWith("Deleted 1 passkey, the PIN"));
  EXPECT_THAT(list(), StartsWith("There is no passkey in "));
  EXPECT_EQ(manage({"delete", "00", "--yes", "--credentials", file()}).status, 1);
}

TEST_F(Passkeys, AreNotDeletedWhereThereIsNoFile) {
  for (std::vector<std::string> words :
       {std::vector<std::string>{"reset", "--yes"}, {"delete", "00", "--yes"}}) {
    words.insert(words.end(), {"--credentials", file()});
    const auto outcome = manage(words);
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.text, "");
    EXPECT_EQ(outcome.errors, "vtflow passkeys: there is no passkey file " + file() + '\n');
  }
}

TEST_F(Passkeys, InADamagedFileAreToldOfOnceAndLeftToWhoDeletesThem) {
  namespace fs = std::filesystem;
  drive("passkey-register", userOf("erin"));
  const auto judged = [this](const char* cause) {
    const auto finding = tool::judgePasskeyFile(file());
    EXPECT_THAT(finding.cause, HasSubstr(cause));
    return finding.state;
  };
  EXPECT_EQ(judged("it holds 1 passkey."), tool::Finding::State::ok);
  fs::permissions(file(), fs::perms(0644));
  EXPECT_EQ(judged("Others than its owner may use"), tool::Finding::State::wrong);
  fs::resize_file(file(), 5000);
  EXPECT_EQ(judged("damaged"), tool::Finding::State::wrong);
  const auto told = [this](std::vector<std::string> words) {
    words.insert(words.end(), {"--credentials", file()});
    DriverProcess program(words);
    EXPECT_EQ(program.waitForEnd(), 1);
    const auto errors = program.errors();
    EXPECT_THAT(errors, AllOf(HasSubstr(file()), HasSubstr("damaged")));
    EXPECT_EQ(std::count(errors.begin(), errors.end(), '\n'), 1) << errors;
  };
  told({"passkeys", "list"});
  EXPECT_EQ(fs::file_size(file()), 5000);
  told({"passkeys", "reset", "--yes"});
  EXPECT_FALSE(fs::exists(file()));
}

TEST(PasskeysHelp, TellsOfEveryCommandTheFileItTakes) {
  for (const char* const command : {"list", "delete", "reset"}) {
    const auto help = runTool({"passkeys", command, "--help"}).text;
    EXPECT_THAT(help, AllOf(HasSubstr("--credentials FILE"), HasSubstr("passkeys.db")));
  }
}

}  // namespace
}  // namespace veltrane::testing
