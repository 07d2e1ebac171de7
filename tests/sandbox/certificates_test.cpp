#include <fstream>
#include <iterator>
#include <thread>
#include <vector>

#include "apps/sandbox/certificates.h"
#include "tests/sandbox/sandbox_fixture.h"

namespace veltrane::sandbox::test {
namespace {

namespace fs = std::filesystem;

std::string contentOf(const fs::path& path) {
  std::ifstream file(path);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

class CertificatesTest : public SandboxTest {
 protected:
  Certificates make() const { return certificatesIn(folder_.path() / "own"); }

  /// Makes certificates, damages them, and expects whole new ones in their place.
  template <typename Damage>
  void expectRemade(const Damage& damage) const {
    const Certificates files = make();
    const std::string authority = contentOf(files.authority);
    damage(files);
    make();
    EXPECT_NE(contentOf(files.authority), authority);
    const std::string remade = contentOf(files.authority);
    make();
    EXPECT_EQ(contentOf(files.authority), remade) << "they were to be good now";
  }
};

TEST_F(CertificatesTest, areMadeOnceAndKeptPrivate) {
  const Certificates files = make();
  const std::string before = contentOf(files.authority) + contentOf(files.key);
  fs::permissions(files.key, fs::perms(0644));
  make();
  EXPECT_EQ(contentOf(files.authority) + contentOf(files.key), before);
  EXPECT_EQ(fs::status(files.key).permissions(), fs::perms(0600));
}

TEST_F(CertificatesTest, areRemadeWhenTheyCannotServe) {
  expectRemade([](const Certificates& files) { fs::remove(files.key); });
  expectRemade([](const Certificates& files) { std::ofstream(files.certificate) << "no PEM"; });
  expectRemade([](const Certificates& files) { fs::resize_file(files.authority, 100); });
  expectRemade([this](const Certificates& files) {
    const auto others = certificatesIn(folder_.path() / "others");
    fs::copy_file(others.key, files.key, fs::copy_options::overwrite_existing);
  });
  expectRemade([this](const Certificates& files) {
    const auto others = certificatesIn(folder_.path() / "others");
    fs::copy_file(others.authority, files.authority, fs::copy_options::overwrite_existing);
  });
}

TEST_F(CertificatesTest, fitTogetherWhenManyStartAtOnce) {
  std::vector<std::thread> threads;
  for (int i = 0; i < 8; ++i) threads.emplace_back([this] { make(); });
  for (auto& thread : threads) thread.join();
  const std::string authority = contentOf(make().authority);
  EXPECT_EQ(contentOf(make().authority), authority);
}

TEST_F(CertificatesTest, areTrustedByNameAndAddressAndByNobodyElse) {
  for (const char* host : {"localhost", "127.0.0.1"}) {
    httplib::SSLClient client(host, server->port());
    client.set_ca_cert_path(server->authorityFile().c_str());
    client.enable_server_certificate_verification(true);
    EXPECT_TRUE(client.Post("/v1/x")) << host;
  }
  httplib::SSLClient stranger("localhost", server->port());
  stranger.set_ca_cert_path(certificatesIn(folder_.path() / "others").authority.c_str());
  stranger.enable_server_certificate_verification(true);
  EXPECT_EQ(stranger.Post("/v1/x").error(), httplib::Error::SSLServerVerification);
}

TEST_F(CertificatesTest, startFailsWithReasons) {
  const auto complaint = [](ServerOptions options) -> std::string {
    try {
      const Server other(std::move(options));
    } catch (const std::runtime_error& error) {
      return error.what();
    }
    return "";
  };
  const fs::path state = folder_.path() / "state";
  EXPECT_THAT(complaint({.stateFolder = state, .port = server->port()}),
              testing::HasSubstr("Cannot listen on 127.0.0.1:" + std::to_string(server->port())));
  EXPECT_THAT(complaint({.stateFolder = state / "authority.pem" / "below"}),
              testing::HasSubstr("Cannot make the folder"));
}

}  // namespace
}  // namespace veltrane::sandbox::test
