#include "apps/sandbox/certificates.h"

#include <fcntl.h>
#include <openssl/bio.h>
#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/rand.h>
#include <openssl/x509.h>
#include <openssl/x509v3.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <ctime>
#include <memory>
#include <stdexcept>
#include <string>

namespace veltrane::sandbox {
namespace {

namespace fs = std::filesystem;

constexpr long kDay = 24L * 60 * 60;
constexpr long kLifetime = 5 * 365 * kDay;
// A certificate that ends while somebody works with it is of no use.
constexpr long kMargin = 2 * kDay;

template <auto release>
struct Releaser {
  template <typename T>
  void operator()(T* object) const {
    release(object);
  }
};
using Key = std::unique_ptr<EVP_PKEY, Releaser<EVP_PKEY_free>>;
using Certificate = std::unique_ptr<X509, Releaser<X509_free>>;
using Extension = std::unique_ptr<X509_EXTENSION, Releaser<X509_EXTENSION_free>>;
using Bytes = std::unique_ptr<BIO, Releaser<BIO_free_all>>;

[[noreturn]] void failSystem(const std::string& what, const fs::path& path) {
  throw std::runtime_error(what + " " + path.string() + ": " + std::strerror(errno));
}

void must(bool done) {
  if (done) return;
  char text[256];
  ERR_error_string_n(ERR_get_error(), text, sizeof text);
  throw std::runtime_error(std::string("Cannot make a certificate: ") + text);
}

class Descriptor {
 public:
  explicit Descriptor(int number) : number_(number) {}
  ~Descriptor() {
    if (number_ >= 0) ::close(number_);
  }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  int number() const { return number_; }

 private:
  int number_;
};

/// Only one process at a time looks and makes.
Descriptor lockFolder(const fs::path& folder) {
  const fs::path path = folder / "lock";
  const int number = ::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
  if (number < 0) failSystem("Cannot write", path);
  while (::flock(number, LOCK_EX) != 0) {
    if (errno != EINTR) failSystem("Cannot lock", path);
  }
  return Descriptor(number);
}

// ---- reading and judging what is there

Bytes openFile(const fs::path& path) {
  Bytes file(BIO_new_file(path.c_str(), "r"));
  ERR_clear_error();
  return file;
}

Certificate readCertificate(const fs::path& path) {
  const Bytes file = openFile(path);
  return Certificate(file ? PEM_read_bio_X509(file.get(), nullptr, nullptr, nullptr) : nullptr);
}

Key readKey(const fs::path& path) {
  const Bytes file = openFile(path);
  // A key that asks for a password is none of ours, and nobody is there to be asked.
  const auto noPassword = [](char*, int, int, void*) { return -1; };
  return Key(file ? PEM_read_bio_PrivateKey(file.get(), nullptr, noPassword, nullptr) : nullptr);
}

bool isCurrent(const X509* certificate) {
  const std::time_t now = std::time(nullptr);
  std::time_t later = now + kMargin;
  return X509_cmp_current_time(X509_get0_notBefore(certificate)) < 0 &&
         X509_cmp_time(X509_get0_notAfter(certificate), &later) > 0;
}

bool namesLoopback(X509* certificate) {
  return X509_check_host(certificate, "localhost", 0, 0, nullptr) == 1 &&
         X509_check_ip_asc(certificate, "127.0.0.1", 0) == 1 &&
         X509_check_ip_asc(certificate, "::1", 0) == 1;
}

bool areUsable(const Certificates& files) {
  const Certificate authority = readCertificate(files.authority);
  const Certificate certificate = readCertificate(files.certificate);
  const Key key = readKey(files.key);
  const bool usable = authority && certificate && key && isCurrent(authority.get()) &&
                      isCurrent(certificate.get()) && namesLoopback(certificate.get()) &&
                      X509_check_private_key(certificate.get(), key.get()) == 1 &&
                      X509_verify(certificate.get(), X509_get0_pubkey(authority.get())) == 1;
  ERR_clear_error();
  return usable;
}

// ---- making new ones

void setSerialNumber(X509* certificate) {
  unsigned char bytes[16];
  must(RAND_bytes(bytes, sizeof bytes) == 1);
  bytes[0] = static_cast<unsigned char>((bytes[0] & 0x7F) | 0x40);  // positive, of full length
  const std::unique_ptr<BIGNUM, Releaser<BN_free>> number(BN_bin2bn(bytes, sizeof bytes, nullptr));
  must(number && BN_to_ASN1_INTEGER(number.get(), X509_get_serialNumber(certificate)) != nullptr);
}

void setCommonName(X509_NAME* name, const char* text) {
  must(X509_NAME_add_entry_by_txt(name, "CN", MBSTRING_UTF8,
                                  reinterpret_cast<const unsigned char*>(text), -1, -1, 0) == 1);
}

void addExtension(X509* certificate, X509* issuer, int kind, const char* value) {
  X509V3_CTX context;
  X509V3_set_ctx_nodb(&context);
  X509V3_set_ctx(&context, issuer, certificate, nullptr, nullptr, 0);
  const Extension extension(X509V3_EXT_conf_nid(nullptr, &context, kind, value));
  must(extension && X509_add_ext(certificate, extension.get(), -1) == 1);
}

Certificate newCertificate(EVP_PKEY* key, const char* name) {
  Certificate certificate(X509_new());
  must(certificate && X509_set_version(certificate.get(), X509_VERSION_3) == 1);
  setSerialNumber(certificate.get());
  // An hour in the past, for machines whose clocks differ a little.
  must(X509_gmtime_adj(X509_getm_notBefore(certificate.get()), -60L * 60) != nullptr);
  must(X509_gmtime_adj(X509_getm_notAfter(certificate.get()), kLifetime) != nullptr);
  must(X509_set_pubkey(certificate.get(), key) == 1);
  setCommonName(X509_get_subject_name(certificate.get()), name);
  return certificate;
}

Certificate makeAuthority(EVP_PKEY* key) {
  Certificate authority = newCertificate(key, "Veltrane sandbox authority");
  X509* const own = authority.get();
  must(X509_set_issuer_name(own, X509_get_subject_name(own)) == 1);
  addExtension(own, own, NID_basic_constraints, "critical,CA:TRUE,pathlen:0");
  addExtension(own, own, NID_key_usage, "critical,keyCertSign");
  addExtension(own, own, NID_subject_key_identifier, "hash");
  // Even someone who trusts it for good trusts it for this machine alone.
  addExtension(own, own, NID_name_constraints,
               "critical,permitted;DNS:localhost,permitted;IP:127.0.0.0/255.0.0.0,"
               "permitted;IP:::1/FFFF:FFFF:FFFF:FFFF:FFFF:FFFF:FFFF:FFFF");
  must(X509_sign(own, key, EVP_sha256()) > 0);
  return authority;
}

Certificate makeServerCertificate(EVP_PKEY* key, X509* authority, EVP_PKEY* authorityKey) {
  Certificate certificate = newCertificate(key, "localhost");
  X509* const own = certificate.get();
  must(X509_set_issuer_name(own, X509_get_subject_name(authority)) == 1);
  addExtension(own, authority, NID_basic_constraints, "critical,CA:FALSE");
  addExtension(own, authority, NID_key_usage, "critical,digitalSignature");
  addExtension(own, authority, NID_ext_key_usage, "serverAuth");
  addExtension(own, authority, NID_subject_alt_name, "DNS:localhost,IP:127.0.0.1,IP:::1");
  addExtension(own, authority, NID_subject_key_identifier, "hash");
  addExtension(own, authority, NID_authority_key_identifier, "keyid:always");
  must(X509_sign(own, authorityKey, EVP_sha256()) > 0);
  return certificate;
}

std::string textOf(const Bytes& pem) {
  char* data = nullptr;
  const long size = BIO_get_mem_data(pem.get(), &data);
  return {data, static_cast<std::size_t>(size)};
}

std::string pemOf(X509* certificate) {
  const Bytes pem(BIO_new(BIO_s_mem()));
  must(pem && PEM_write_bio_X509(pem.get(), certificate) == 1);
  return textOf(pem);
}

std::string pemOf(EVP_PKEY* key) {
  const Bytes pem(BIO_new(BIO_s_secmem()));
  must(pem &&
       PEM_write_bio_PKCS8PrivateKey(pem.get(), key, nullptr, nullptr, 0, nullptr, nullptr) == 1);
  return textOf(pem);
}

/// Nobody ever sees a half-written file under its real name, or a key with open permissions.
void writeFile(const fs::path& path, const std::string& text, mode_t mode) {
  const fs::path fresh = path.string() + ".new";
  ::unlink(fresh.c_str());
  const Descriptor file(::open(fresh.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode));
  if (file.number() < 0) failSystem("Cannot write", fresh);
  std::size_t written = 0;
  while (written < text.size()) {
    const ssize_t part = ::write(file.number(), text.data() + written, text.size() - written);
    if (part < 0 && errno != EINTR) failSystem("Cannot write", fresh);
    if (part > 0) written += static_cast<std::size_t>(part);
  }
  if (::fsync(file.number()) != 0) failSystem("Cannot write", fresh);
  if (::rename(fresh.c_str(), path.c_str()) != 0) failSystem("Cannot write", path);
}

void makeAll(const Certificates& files) {
  const Key authorityKey(EVP_EC_gen("P-256"));
  const Key serverKey(EVP_EC_gen("P-256"));
  must(authorityKey && serverKey);
  const Certificate authority = makeAuthority(authorityKey.get());
  const Certificate server =
      makeServerCertificate(serverKey.get(), authority.get(), authorityKey.get());
  writeFile(files.key, pemOf(serverKey.get()), 0600);
  writeFile(files.certificate, pemOf(server.get()), 0644);
  writeFile(files.authority, pemOf(authority.get()), 0644);
}

}  // namespace

Certificates certificatesIn(const fs::path& stateFolder) {
  if (stateFolder.empty()) throw std::runtime_error("The sandbox needs a state folder.");
  std::error_code error;
  fs::create_directories(stateFolder, error);
  if (error) {
    throw std::runtime_error("Cannot make the folder " + stateFolder.string() + ": " +
                             error.message());
  }
  const Certificates files{.authority = stateFolder / "authority.pem",
                           .certificate = stateFolder / "server.pem",
                           .key = stateFolder / "server.key"};
  const Descriptor lock = lockFolder(stateFolder);
  if (!areUsable(files)) makeAll(files);
  // A copied folder may have lost its permissions.
  if (::chmod(files.key.c_str(), 0600) != 0) failSystem("Cannot protect", files.key);
  return files;
}

}  // namespace veltrane::sandbox
