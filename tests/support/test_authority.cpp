#include "tests/support/test_authority.h"

#include <openssl/pem.h>
#include <openssl/ssl.h>
#include <openssl/x509v3.h>

#include <cstdio>
#include <cstdlib>
#include <stdexcept>

namespace veltrane::testing {

template <auto Free>
struct Freer {
  template <typename T>
  void operator()(T* object) const {
    Free(object);
  }
};

struct TestAuthority::Keys {
  std::unique_ptr<EVP_PKEY, Freer<EVP_PKEY_free>> key{EVP_EC_gen("P-256")};
  std::unique_ptr<X509, Freer<X509_free>> certificate{X509_new()};
};

TestAuthority::TestAuthority(const std::string& names) : keys_(std::make_unique<Keys>()) {
  X509* certificate = keys_->certificate.get();
  X509_set_version(certificate, 2);
  X509_gmtime_adj(X509_getm_notBefore(certificate), -3600);
  X509_gmtime_adj(X509_getm_notAfter(certificate), 24L * 3600);
  X509_set_pubkey(certificate, keys_->key.get());
  X509_NAME* subject = X509_get_subject_name(certificate);
  X509_NAME_add_entry_by_txt(subject, "CN", MBSTRING_ASC,
                             reinterpret_cast<const unsigned char*>("Test server"), -1, -1, 0);
  X509_set_issuer_name(certificate, subject);
  const std::unique_ptr<X509_EXTENSION, Freer<X509_EXTENSION_free>> extension(
      X509V3_EXT_conf_nid(nullptr, nullptr, NID_subject_alt_name, names.c_str()));
  if (!extension) throw std::runtime_error("bad names: " + names);
  X509_add_ext(certificate, extension.get(), -1);
  X509_sign(certificate, keys_->key.get(), EVP_sha256());

  auto name = (std::filesystem::temp_directory_path() / "authority-XXXXXX.pem").string();
  const int descriptor = mkstemps(name.data(), 4);
  std::FILE* file = descriptor < 0 ? nullptr : fdopen(descriptor, "w");
  if (!file) throw std::runtime_error("cannot write " + name);
  PEM_write_X509(file, certificate);
  std::fclose(file);
  file_ = name;
}

TestAuthority::~TestAuthority() {
  std::error_code ignored;
  std::filesystem::remove(file_, ignored);
}

void TestAuthority::certify(ssl_ctx_st* context) const {
  SSL_CTX_use_certificate(context, keys_->certificate.get());
  SSL_CTX_use_PrivateKey(context, keys_->key.get());
}

std::shared_ptr<TestAuthority> TestAuthority::shared() {
  static const auto authority = std::make_shared<TestAuthority>();
  return authority;
}

}  // namespace veltrane::testing
