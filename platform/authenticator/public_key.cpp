#include "platform/authenticator/public_key.h"

#include "veltrane/passkeys/authenticator.h"

namespace veltrane::authenticator {
namespace {

using namespace std::string_view_literals;

/// DER has one form for everything: what stands before the key is always the same (RFC 5480,
/// RFC 8410). OpenSSL's general encoder takes longer than it takes to make a key.
struct Form {
  int algorithm;
  std::string_view head;
  std::size_t size;
};

constexpr Form kForms[] = {
    {cose::kES256,
     "\x30\x59\x30\x13\x06\x07\x2a\x86\x48\xce\x3d\x02\x01\x06\x08\x2a\x86\x48\xce\x3d\x03\x01\x07"
     "\x03\x42\x00"sv,
     65},
    {cose::kEdDSA, "\x30\x2a\x30\x05\x06\x03\x2b\x65\x70\x03\x21\x00"sv, 32},
};

const Form* formOf(int algorithm) {
  for (const Form& form : kForms) {
    if (form.algorithm == algorithm) return &form;
  }
  return nullptr;
}

}  // namespace

std::string toSPKI(BareKey key) {
  const Form* form = formOf(key.algorithm);
  if (form == nullptr || key.bytes.size() != form->size) return {};
  return std::string(form->head).append(key.bytes);
}

std::optional<BareKey> fromSPKI(int algorithm, std::string_view spki) {
  const Form* form = formOf(algorithm);
  if (form == nullptr || !spki.starts_with(form->head)) return std::nullopt;
  spki.remove_prefix(form->head.size());
  if (spki.size() != form->size) return std::nullopt;
  if (algorithm == cose::kES256 && spki[0] != '\x04') return std::nullopt;
  return BareKey{algorithm, spki};
}

}  // namespace veltrane::authenticator
