#pragma once

#include <filesystem>
#include <memory>
#include <string>

struct ssl_ctx_st;

namespace veltrane::testing {

/// A certificate that vouches for itself, made in memory; it lies in a temporary file for clients
/// that are to trust it.
class TestAuthority {
 public:
  explicit TestAuthority(const std::string& names = "IP:127.0.0.1,DNS:localhost");
  ~TestAuthority();
  TestAuthority(const TestAuthority&) = delete;
  TestAuthority& operator=(const TestAuthority&) = delete;

  const std::filesystem::path& file() const { return file_; }
  /// Makes it the certificate of a server.
  void certify(ssl_ctx_st* context) const;

  /// The one that servers use unless told otherwise.
  static std::shared_ptr<TestAuthority> shared();

 private:
  struct Keys;
  std::unique_ptr<Keys> keys_;
  std::filesystem::path file_;
};

}  // namespace veltrane::testing
