#include "tests/support/test_authority.h"

#include <openssl/pem.h>
#include <openssl/ssl.h>
#include <openssl/x509v3.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>

namespace veltrane::testing {
namespace {

template <auto Free>
struct Freer {
  template <typename T>
  void operator()(T* object) const {
    Free(object);
  }
};
using Key = std::unique_ptr<EVP_PKEY, Freer<EVP_PKEY_free>>;
using Certificate = std::unique_ptr<X509, Freer<X509_free>>;

Certificate blankCertificate(EVP_PKEY* key, const std::string& name) {
  static std::atomic<long> serial = 0;
  Certificate made(X509_new());
  X509_set_version(made.get(), 2);
  ASN1_INTEGER_set(X509_get_serialNumber(made.get()), ++serial);
  X509_gmtime_adj(X509_getm_notBefore(made.get()), -3600);
  X509_gmtime_adj(X509_getm_notAfter(made.get()), 24L * 3600);
  X509_set_pubkey(made.get(), key);
  X509_NAME_add_entry_by_txt(X509_get_subject_name(made.get()), "CN", MBSTRING_ASC,
                             reinterpret_cast<const unsigned char*>(name.c_str()), -1, -1, 0);
  return made;
}

void extend(X509* certificate, int kind, const std::string& value) {
  using Extension = std::unique_ptr<X509_EXTENSION, Freer<X509_EXTENSION_free>>;
  const Extension extension(X509V3_EXT_conf_nid(nullptr, nullptr, kind, value.c_str()));
  if (!extension) throw std::runtime_error("bad certificate extension: " + value);
  X509_add_ext(certificate, extension.get(), -1);
}

}  // namespace

struct TestAuthority::Keys {
  Key key;
  Certificate certificate;
};

TestAuthority::TestAuthority() : keys_(std::make_unique<Keys>()) {
  keys_->key.reset(EVP_EC_gen("P-256"));
  keys_->certificate = blankCertificate(keys_->key.get(), "Test authority");
  X509* certificate = keys_->certificate.get();
  X509_set_issuer_name(certificate, X509_get_subject_name(certificate));
  extend(certificate, NID_basic_constraints, "critical,CA:TRUE");
  extend(certificate, NID_key_usage, "critical,keyCertSign");
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

void TestAuthority::certify(ssl_ctx_st* context, const std::string& names) const {
  const Key key(EVP_EC_gen("P-256"));
  const Certificate certificate = blankCertificate(key.get(), "Test server");
  X509_set_issuer_name(certificate.get(), X509_get_subject_name(keys_->certificate.get()));
  extend(certificate.get(), NID_subject_alt_name, names);
  X509_sign(certificate.get(), keys_->key.get(), EVP_sha256());
  SSL_CTX_use_certificate(context, certificate.get());
  SSL_CTX_use_PrivateKey(context, key.get());
}

std::shared_ptr<TestAuthority> TestAuthority::shared() {
  static const auto authority = std::make_shared<TestAuthority>();
  return authority;
}

}  // namespace veltrane::testing
