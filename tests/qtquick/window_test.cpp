#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QStringList>
#include <QTemporaryDir>
#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "apps/sandbox/server.h"

namespace veltrane {
namespace {

constexpr int kPatience = 60'000;

class WindowProgram : public ::testing::Test {
 protected:
  QJsonObject flowFile(const QString& name) {
    QFile file(QStringLiteral(FLOWS_FOLDER "/") + name + QStringLiteral(".json"));
    EXPECT_TRUE(file.open(QIODevice::ReadOnly));
    return QJsonDocument::fromJson(file.readAll()).object();
  }
  QString path(const char* name) { return folder.filePath(QString::fromLatin1(name)); }
  QString write(const char* name, const QByteArray& bytes) {
    QFile file(path(name));
    EXPECT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(bytes);
    return path(name);
  }
  /// The exit status; what was printed is in `output` and `errors`.
  int run(const QStringList& arguments) {
    QProcess process;
    auto environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
    environment.insert(QStringLiteral("XDG_RUNTIME_DIR"), folder.path());
    // No key goes into a keyring or TPM of whoever runs the tests.
    environment.insert(QStringLiteral("DBUS_SESSION_BUS_ADDRESS"), QStringLiteral("unix:path=/no"));
    environment.insert(QStringLiteral("VELTRANE_TPM_TCTI"), QStringLiteral("device:/no"));
    process.setProcessEnvironment(environment);
    process.start(QStringLiteral(WINDOW_PROGRAM), arguments);
    EXPECT_TRUE(process.waitForFinished(kPatience)) << "the program hangs";
    output = QString::fromUtf8(process.readAllStandardOutput());
    errors = QString::fromUtf8(process.readAllStandardError());
    EXPECT_EQ(process.exitStatus(), QProcess::NormalExit);
    return process.exitCode();
  }
  QStringList serverArguments(const QString& flow) {
    return {"--company",  "acme",
            "--flow",     flow,
            "--base-url", QString::fromStdString(server.baseURL()),
            "--ca",       QString::fromStdString(server.authorityFile().string())};
  }

  /// What needs a camera, or is done on an identity vendor's page, has tests of its own.
  bool isPlayedElsewhere(const std::string& id) {
    const auto file = flowFile(QString::fromStdString(id));
    const auto demo = file["demo"].toArray();
    return file.contains("needs") || std::any_of(demo.begin(), demo.end(), [](const auto& step) {
             return step.toObject()["do"] == "sdk";
           });
  }
  /// What another one builds upon comes before it.
  std::vector<std::string> flowsInOrder() {
    auto ids = server.flowIds();
    std::erase_if(ids, [this](const std::string& id) { return isPlayedElsewhere(id); });
    std::stable_partition(ids.begin(), ids.end(), [&](const std::string& id) {
      return !flowFile(QString::fromStdString(id)).contains("after");
    });
    return ids;
  }

  QTemporaryDir folder;
  sandbox::Server server{{.stateFolder = folder.filePath("state").toStdString(),
                          .flowFiles = {},
                          .flowsFolder = FLOWS_FOLDER}};
  QString output;
  QString errors;
};

TEST_F(WindowProgram, PlaysEveryShippedFlowToItsEnd) {
  for (const auto& id : flowsInOrder()) {
    const auto name = QString::fromStdString(id);
    const auto file = flowFile(name);
    const auto script = write("script.json", QJsonDocument(file["demo"].toArray()).toJson());
    const auto pictures = folder.filePath(name);
    const int status =
        run(serverArguments(name) + QStringList{"--script", script, "--pictures", pictures,
                                                "--credentials", path("passkeys.db")});
    EXPECT_EQ(status, file["expect"].toObject()["exit"].toInt()) << id << '\n'
                                                                 << output.toStdString();
    for (const auto& line : errors.split('\n', Qt::SkipEmptyParts)) {
      // Why a picture has not come is nothing that a flow would end for.
      EXPECT_TRUE(line.startsWith("vtflow run: no response from ")) << line.toStdString();
      EXPECT_EQ(id, "broken-picture");
    }
    EXPECT_TRUE(output.contains("result")) << id;
    const bool hasScreen = output.contains("pressed");
    EXPECT_EQ(QDir(pictures).entryList({"*.png"}).isEmpty(), !hasScreen) << id;
    EXPECT_FALSE(output.contains("correct horse")) << "a secret was printed";
    const auto seen = QDir(pictures).entryList({"*passkey-pin-typed.png"});
    EXPECT_EQ(seen.size(), id.starts_with("passkey-") ? 1 : 0) << output.toStdString();
  }
}

TEST_F(WindowProgram, AQRCodeCanBeScannedFromItsScreen) {
  const auto file = flowFile("qr-code");
  const auto script = write("script.json", QJsonDocument(file["demo"].toArray()).toJson());
  const auto text = file["qrCodes"].toObject()["enrol"].toString();
  for (const char* look : {"--rtl", "--dark"}) {
    const auto pictures = folder.filePath(look);
    run(serverArguments("qr-code") +
        QStringList{"--script", script, "--pictures", pictures, look, "--text-scale", "1.5"});
    QStringList read;
    const QDir taken(pictures);
    for (const auto& name : taken.entryList({"*.png"})) {
      QProcess scanner;
      scanner.start("zbarimg", {"--quiet", "--raw", taken.filePath(name)});
      ASSERT_TRUE(scanner.waitForFinished(kPatience)) << "zbarimg (Debian: zbar-tools) is needed";
      read << QString::fromUtf8(scanner.readAllStandardOutput()).trimmed();
    }
    EXPECT_TRUE(read.contains(text)) << look << read.join('|').toStdString();
  }
}

TEST_F(WindowProgram, SaysWhatAScriptCannotDo) {
  const auto arguments = serverArguments("two-step-sign-in");
  const auto with = [&](const QByteArray& script) {
    return arguments + QStringList{"--script", write("script.json", script)};
  };
  EXPECT_EQ(run(with(R"([{"do":"input","key":"nothing","text":"x"}])")), 4);
  EXPECT_TRUE(output.contains("refused")) << output.toStdString();
  EXPECT_TRUE(output.contains("result   none")) << output.toStdString();
  EXPECT_EQ(run(with(R"([{"do":"select","row":0}])")), 4) << "there is no method list";
  EXPECT_EQ(run(with(R"([{"do":"select","key":"push"}])")), 2);
  EXPECT_EQ(run(with(R"([{"do":"cancel"}])")), 3);
  EXPECT_EQ(run(with("[]")), 4);
  EXPECT_EQ(run(with(R"([{"do":"dance"}])")), 2);
  EXPECT_TRUE(errors.contains("dance"));
  EXPECT_EQ(run(with("{")), 2);
  EXPECT_EQ(errors.count('\n'), 1);
}

}  // namespace
}  // namespace veltrane
