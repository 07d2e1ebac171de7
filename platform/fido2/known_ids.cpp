#include "platform/fido2/known_ids.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "platform/fido2/attestation.h"

namespace veltrane::fido2 {
namespace {

/// Asks silently for one of the ids; FIDO_ERR_NO_CREDENTIALS when the key has none of them.
int askFor(KeyConnection& key, const std::string& rpId, const std::string* first,
           const std::string* last, std::string& held) {
  const Fido<fido_assert_t> question(fido_assert_new());
  // Nobody verifies what it signs here.
  const unsigned char hash[32] = {};
  if (!question || fido_assert_set_rp(question.get(), rpId.c_str()) != FIDO_OK ||
      fido_assert_set_clientdata_hash(question.get(), hash, sizeof(hash)) != FIDO_OK ||
      fido_assert_set_up(question.get(), FIDO_OPT_FALSE) != FIDO_OK) {
    return FIDO_ERR_INTERNAL;
  }
  for (const auto* id = first; id != last; ++id) {
    const auto* bytes = reinterpret_cast<const unsigned char*>(id->data());
    const int result = fido_assert_allow_cred(question.get(), bytes, id->size());
    if (result != FIDO_OK) return result;
  }
  const int result = fido_dev_get_assert(key.device(), question.get(), nullptr);
  if (result != FIDO_OK) return result;
  if (fido_assert_count(question.get()) == 0) return FIDO_ERR_NO_CREDENTIALS;
  held = bytesOf(fido_assert_id_ptr(question.get(), 0), fido_assert_id_len(question.get(), 0));
  if (held.empty()) held = *first;  // a key may leave out an id that it was given alone
  return FIDO_OK;
}

}  // namespace

int narrowToKey(KeyConnection& key, const std::string& rpId, const std::vector<std::string>& ids,
                std::vector<std::string>& known) {
  known.clear();
  const auto& abilities = key.abilities();
  std::ranges::copy_if(ids, std::back_inserter(known), [&](const std::string& id) {
    return !id.empty() && (abilities.longestId == 0 || id.size() <= abilities.longestId);
  });
  // One is what every key takes.
  const std::size_t portion = std::max<std::size_t>(abilities.mostIds, 1);
  if (known.size() <= portion || !fido_dev_is_fido2(key.device())) return FIDO_OK;
  const auto all = std::exchange(known, {});
  for (std::size_t i = 0; i < all.size(); i += portion) {
    std::string held;
    const std::size_t end = std::min(i + portion, all.size());
    const int result = askFor(key, rpId, &all[i], all.data() + end, held);
    if (result == FIDO_ERR_NO_CREDENTIALS) continue;
    if (key.isGone()) return result;
    // A key that tells nothing without a PIN is given all ids.
    known = result == FIDO_OK ? std::vector{std::move(held)} : all;
    return FIDO_OK;
  }
  return FIDO_OK;
}

}  // namespace veltrane::fido2
