// The sandbox's hand-overs through the window program: its script presses keys on the vendors'
// pages as a user does.
#include <gtest/gtest.h>
#include <unistd.h>

#include <QDir>
#include <QProcess>
#include <QTemporaryDir>

#include "apps/sandbox/server.h"

namespace veltrane {
namespace {

constexpr int kPatience = 120'000;

class HandOverFlows : public ::testing::TestWithParam<const char*> {
 protected:
  HandOverFlows() { trustTheSandbox(); }

  /// The browser takes the word of what its user's store trusts: a user of this test alone.
  void trustTheSandbox() {
    const QString store = QStringLiteral("sql:") + folder.filePath(".pki/nssdb");
    QDir(folder.path()).mkpath(".pki/nssdb");
    ASSERT_EQ(QProcess::execute("certutil", {"-d", store, "-N", "--empty-password"}), 0)
        << "certutil (Debian: libnss3-tools) is needed";
    ASSERT_EQ(
        QProcess::execute("certutil", {"-d", store, "-A", "-n", "sandbox", "-t", "C,,", "-i",
                                       QString::fromStdString(server.authorityFile().string())}),
        0);
  }
  /// The exit status.
  int run(const QString& vendors) {
    QProcess process;
    auto environment = QProcessEnvironment::systemEnvironment();
    environment.insert("HOME", folder.path());
    environment.insert("XDG_RUNTIME_DIR", folder.path());
    if (geteuid() == 0) environment.insert("QTWEBENGINE_DISABLE_SANDBOX", "1");
    process.setProcessEnvironment(environment);
    process.start(WINDOW_PROGRAM,
                  {"--company", "acme", "--flow", GetParam(), "--base-url",
                   QString::fromStdString(server.baseURL()), "--ca",
                   QString::fromStdString(server.authorityFile().string()), "--script",
                   QStringLiteral(FLOWS_FOLDER "/%1.json").arg(GetParam()), "--pictures",
                   folder.filePath("pictures"), "--identity-vendors", vendors});
    EXPECT_TRUE(process.waitForFinished(kPatience)) << "the program hangs";
    output = process.readAllStandardOutput().toStdString();
    errors = process.readAllStandardError().toStdString();
    EXPECT_EQ(process.exitStatus(), QProcess::NormalExit);
    return process.exitCode();
  }

  QTemporaryDir folder;
  sandbox::Server server{{.stateFolder = folder.filePath("state").toStdString(),
                          .flowFiles = {},
                          .flowsFolder = FLOWS_FOLDER}};
  std::string output;
  std::string errors;
};

TEST_P(HandOverFlows, GoThroughTheVendorsPageToTheEnd) {
  const auto base = QString::fromStdString(server.baseURL());
  EXPECT_EQ(run(base.chopped(static_cast<qsizetype>(sizeof "/v1") - 1)), 0) << output << errors;
  EXPECT_NE(output.find("result   response"), std::string::npos) << output;
  for (const char* secret : {"sandbox-secret", "sandbox-token", "sandbox-onfido-token"}) {
    EXPECT_EQ((output + errors).find(secret), std::string::npos) << secret;
  }
}

TEST_P(HandOverFlows, SayWhenTheVendorIsOutOfReach) {
  // Nothing listens there.
  EXPECT_EQ(run("https://localhost:9"), 4) << output;
  EXPECT_NE(output.find("refused  the page has not come: The identity service cannot be reached."),
            std::string::npos)
      << output << errors;
}

INSTANTIATE_TEST_SUITE_P(, HandOverFlows,
                         ::testing::Values("jumio-register", "jumio-login", "onfido"),
                         [](const auto& info) {
                           std::string name = info.param;
                           std::erase(name, '-');
                           return name;
                         });

}  // namespace
}  // namespace veltrane
