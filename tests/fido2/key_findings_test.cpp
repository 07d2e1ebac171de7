#include "platform/fido2/key_findings.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <fstream>

namespace veltrane::fido2 {
namespace {

namespace fs = std::filesystem;

class KeyFindings : public ::testing::Test {
 protected:
  KeyFindings() {
    std::string name = ::testing::TempDir() + "keys-XXXXXX";
    root_ = mkdtemp(name.data());
    fs::create_directories(places().devices);
    fs::create_directories(places().descriptions);
  }
  ~KeyFindings() override { fs::remove_all(root_); }

  KeyPlaces places() const { return {.devices = root_ / "dev", .descriptions = root_ / "class"}; }
  void describe(const std::string& name, const std::string& descriptor, const std::string& event) {
    const fs::path about = places().descriptions / name / "device";
    fs::create_directories(about);
    std::ofstream(about / "report_descriptor") << descriptor;
    std::ofstream(about / "uevent") << event;
  }

  fs::path root_;
};

const std::string kKey = "\x06\xD0\xF1\x09\x01\xA1\x01";
const std::string kMouse = "\x05\x01\x09\x02\xA1\x01";

TEST_F(KeyFindings, ATellOfEachKeyAndOfNothingElse) {
  describe("hidraw0", kMouse, "HID_NAME=Mouse\n");
  EXPECT_EQ(findKeys(places()).at(0).cause, "No security key is plugged in.");

  describe("hidraw1", kMouse + kKey, "DRIVER=x\nHID_NAME=Acme Key\nHID_ID=1\n");
  describe("hidraw2", kKey, "");
  describe("hidraw3", "\xFE", "");
  std::ofstream(places().devices / "hidraw1");
  const auto found = findKeys(places());
  ASSERT_EQ(found.size(), 2U);
  EXPECT_TRUE(found[0].usable && found[0].cause.empty());
  EXPECT_EQ(found[0].product, "Acme Key");
  EXPECT_FALSE(found[1].usable);
  EXPECT_NE(found[1].cause.find("hidraw2 is missing"), std::string::npos);
  EXPECT_FALSE(found[1].remedy.empty());
}

TEST_F(KeyFindings, AKeyThatMayNotBeReadNeedsUdev) {
  describe("hidraw0", kKey, "");
  std::ofstream(places().devices / "hidraw0");
  fs::permissions(places().devices / "hidraw0", fs::perms::none);
  // The superuser may do anything: be nobody for once.
  fs::permissions(root_, fs::perms::all);
  const uid_t self = geteuid();
  ASSERT_EQ(seteuid(self == 0 ? 65534 : self), 0);
  const auto found = findKeys(places());
  ASSERT_EQ(seteuid(self), 0);
  EXPECT_FALSE(found.at(0).usable);
  EXPECT_NE(found.at(0).remedy.find("udev"), std::string::npos);
}

}  // namespace
}  // namespace veltrane::fido2
