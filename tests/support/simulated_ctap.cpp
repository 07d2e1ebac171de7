#include "tests/support/simulated_ctap.h"

#include <cbor.h>

#include <algorithm>
#include <utility>

#include "tests/support/cbor_text.h"
#include "tests/support/simulated_crypto.h"

namespace veltrane::testing {
namespace {

using namespace cbor;

enum Status : std::uint8_t {
  ok = 0,
  invalidCommand = 0x01,
  invalidParameter = 0x02,
  excluded = 0x19,
  unsupportedAlgorithm = 0x26,
  storeFull = 0x28,
  unsupportedOption = 0x2B,
  noCredentials = 0x2E,
  notAllowed = 0x30,
  pinInvalid = 0x31,
  pinBlocked = 0x32,
  pinAuthInvalid = 0x33,
  pinAuthBlocked = 0x34,
  pinNotSet = 0x35,
  pinRequired = 0x36,
  pinPolicy = 0x37,
  readerInvalid = 0x3F,
};

std::string status(std::uint8_t code) {
  return {static_cast<char>(code)};
}
std::string bytesOf(const cbor_item_t* item) {
  if (item == nullptr) return {};
  if (cbor_isa_bytestring(item)) {
    return {reinterpret_cast<const char*>(cbor_bytestring_handle(item)),
            cbor_bytestring_length(item)};
  }
  if (!cbor_isa_string(item)) return {};
  return {reinterpret_cast<const char*>(cbor_string_handle(item)), cbor_string_length(item)};
}
int numberOf(const cbor_item_t* item) {
  if (item == nullptr || !cbor_is_int(item)) return 0;
  const int value = static_cast<int>(cbor_get_int(item));
  return cbor_isa_negint(item) ? -1 - value : value;
}
template <typename Matches>
const cbor_item_t* find(const cbor_item_t* map, Matches matches) {
  if (map == nullptr || !cbor_isa_map(map)) return nullptr;
  const cbor_pair* pairs = cbor_map_handle(map);
  const auto* end = pairs + cbor_map_size(map);
  const auto* found = std::find_if(pairs, end, [&](const auto& pair) { return matches(pair.key); });
  return found != end ? found->value : nullptr;
}
const cbor_item_t* member(const cbor_item_t* map, int key) {
  return find(map, [&](const cbor_item_t* k) { return cbor_is_int(k) && numberOf(k) == key; });
}
const cbor_item_t* member(const cbor_item_t* map, const char* key) {
  return find(map, [&](const cbor_item_t* k) { return bytesOf(k) == key; });
}
/// A member of each of a list's maps.
std::vector<const cbor_item_t*> each(const cbor_item_t* list, const char* key) {
  std::vector<const cbor_item_t*> found;
  const std::size_t size = list != nullptr && cbor_isa_array(list) ? cbor_array_size(list) : 0;
  for (std::size_t i = 0; i < size; ++i) found.push_back(member(cbor_array_handle(list)[i], key));
  return found;
}
std::vector<std::string> idsIn(const cbor_item_t* list) {
  std::vector<std::string> ids;
  for (const auto* id : each(list, "id")) ids.push_back(bytesOf(id));
  return ids;
}

}  // namespace

/// A request's CBOR.
struct SimulatedCtap::Message {
  explicit Message(std::string_view text) {
    cbor_load_result result{};
    root.reset(text.empty() ? nullptr
                            : cbor_load(reinterpret_cast<const unsigned char*>(text.data()),
                                        text.size(), &result),
               [](cbor_item_t* item) {
                 if (item != nullptr) cbor_decref(&item);
               });
  }
  const cbor_item_t* operator[](int key) const { return member(root.get(), key); }
  bool option(int key, const char* name, bool otherwise) const {
    const auto* value = member((*this)[key], name);
    return value != nullptr ? cbor_is_bool(value) && cbor_get_bool(value) : otherwise;
  }
  std::shared_ptr<cbor_item_t> root;
};

SimulatedCtap::SimulatedCtap(KeyBehaviour how)
    : behaviour(std::move(how)), agreement_(newKey(-7)), token_(randomBytes(32)) {}

SimulatedCtap::~SimulatedCtap() = default;

void SimulatedCtap::powerUp() {
  wrongInARow_ = 0;
  agreement_ = newKey(-7);
}

SimulatedCtap::Reply SimulatedCtap::answer(std::string_view request) {
  if (request.empty()) return {status(invalidCommand), {}};
  commands += request.front();
  const Message message(request.substr(1));
  switch (request.front()) {
    case 0x01:
      return make(message);
    case 0x02:
      return get(message);
    case 0x04:
      return {info(), {}};
    case 0x06:
      return pinCommand(message);
    case 0x08: {
      if (following_.empty()) return {status(notAllowed), {}};
      std::string next = std::move(following_.front());
      following_.erase(following_.begin());
      return {std::move(next), {}};
    }
    default:
      return {status(invalidCommand), {}};
  }
}

std::string SimulatedCtap::info() const {
  std::vector<std::string> algorithms;
  for (const int algorithm : behaviour.algorithms) {
    algorithms.push_back(
        map({{text("alg"), number(algorithm)}, {text("type"), text("public-key")}}));
  }
  const auto options =
      map({{text("rk"), boolean(behaviour.keepsResident)},
           {text("up"), boolean(true)},
           {text("uv"), behaviour.hasReader ? boolean(true) : ""},
           {text("clientPin"), behaviour.takesPIN ? boolean(!behaviour.pin.empty()) : ""}});
  return status(ok) +
         map({{number(1), list({text("FIDO_2_0")})},
              {number(3), bytes(std::string(16, 'S'))},
              {number(4), options},
              {number(5), number(1200)},
              {number(6), behaviour.takesPIN ? list({number(behaviour.pinProtocol)}) : ""},
              {number(7), number(static_cast<std::int64_t>(behaviour.mostIds))},
              {number(8), number(64)},
              {number(9), list({text("usb")})},
              {number(10), list(algorithms)},
              {number(13), number(6)}});
}

bool SimulatedCtap::holdsOneOf(const std::vector<std::string>& ids, const std::string& rpId) const {
  return std::ranges::any_of(credentials_, [&](const Credential& credential) {
    return credential.rpId == rpId && std::ranges::count(ids, credential.id) > 0;
  });
}

std::uint8_t SimulatedCtap::checkPerson(const Message& message, int authParam,
                                        const std::string& hash, bool isMaking,
                                        bool& verified) const {
  if (message[authParam] != nullptr) {
    if (behaviour.pin.empty()) return pinNotSet;
    verified =
        bytesOf(message[authParam]) == PINProtocol::proof(behaviour.pinProtocol, token_, hash);
    return verified ? ok : pinAuthInvalid;
  }
  if (message.option(isMaking ? 7 : 5, "uv", false)) {
    if (!behaviour.hasReader) return unsupportedOption;
    verified = behaviour.readerKnows;
    return verified ? ok : readerInvalid;
  }
  return isMaking && !behaviour.pin.empty() ? pinRequired : ok;
}

SimulatedCtap::Reply SimulatedCtap::make(const Message& message) {
  const std::string hash = bytesOf(message[1]);
  const std::string rpId = bytesOf(member(message[2], "id"));
  const auto always = [](std::uint8_t code) { return Reply{{}, [code] { return status(code); }}; };
  // An empty parameter asks for a touch alone: which of several keys is meant?
  if (message[8] != nullptr && bytesOf(message[8]).empty()) {
    return always(behaviour.pin.empty() ? pinNotSet : pinInvalid);
  }
  const auto ids = idsIn(message[5]);
  if (ids.size() > behaviour.mostIds) return {status(invalidParameter), {}};
  if (holdsOneOf(ids, rpId)) return always(excluded);
  const auto wanted = each(message[4], "alg");
  const auto chosen = std::ranges::find_if(wanted, [this](const cbor_item_t* algorithm) {
    return std::ranges::count(behaviour.algorithms, numberOf(algorithm)) > 0;
  });
  if (chosen == wanted.end()) return {status(unsupportedAlgorithm), {}};
  const bool isResident = message.option(7, "rk", false);
  if (isResident && !behaviour.keepsResident) return {status(unsupportedOption), {}};
  bool verified = false;
  if (const auto wrong = checkPerson(message, 8, hash, true, verified); wrong != ok) {
    return {status(wrong), {}};
  }
  if (behaviour.refusal != 0) return always(behaviour.refusal);
  if (isResident && behaviour.isFull) return always(storeFull);
  return {{}, [this, message, algorithm = numberOf(*chosen), isResident, verified] {
            return store(message, algorithm, isResident, verified);
          }};
}

std::string SimulatedCtap::store(const Message& message, int algorithm, bool isResident,
                                 bool verified) {
  const auto text = [&](int key, const char* name) { return bytesOf(member(message[key], name)); };
  const Credential made{.id = randomBytes(32),
                        .rpId = text(2, "id"),
                        .userId = text(3, "id"),
                        .userName = text(3, "name"),
                        .displayName = text(3, "displayName"),
                        .algorithm = algorithm,
                        .isResident = isResident,
                        .key = newKey(algorithm)};
  std::erase_if(credentials_, [&](const Credential& old) {
    return isResident && old.isResident && old.rpId == made.rpId && old.userId == made.userId;
  });
  credentials_.push_back(made);
  const std::string data = sha256(made.rpId) + (verified ? '\x45' : '\x41') + std::string(4, '\0') +
                           std::string(16, 'S') + '\0' + ' ' + made.id +
                           coseKey(made.key.get(), algorithm);
  const auto statement = map(
      {{cbor::text("alg"), number(algorithm)},
       {cbor::text("sig"), bytes(sign(made.key.get(), algorithm, data + bytesOf(message[1])))}});
  return status(ok) +
         map({{number(1), cbor::text("packed")}, {number(2), bytes(data)}, {number(3), statement}});
}

std::string SimulatedCtap::assertion(const Credential& credential, const std::string& hash,
                                     std::uint8_t flags, std::size_t count) {
  ++counter_;
  const std::string data = sha256(credential.rpId) + static_cast<char>(flags) +
                           std::string(2, '\0') + static_cast<char>(counter_ >> 8U) +
                           static_cast<char>(counter_ & 0xFFU);
  // Names are for a person who has been verified, and has to choose.
  const bool named = count > 1 && (flags & 0x04U) != 0;
  const auto user = map({{text("id"), bytes(credential.userId)},
                         {text("name"), named ? text(credential.userName) : ""},
                         {text("displayName"), named ? text(credential.displayName) : ""}});
  return status(ok) +
         map({{number(1),
               map({{text("id"), bytes(credential.id)}, {text("type"), text("public-key")}})},
              {number(2), bytes(data)},
              {number(3), bytes(sign(credential.key.get(), credential.algorithm, data + hash))},
              {number(4), credential.isResident ? user : ""},
              {number(5), count > 1 ? number(static_cast<std::int64_t>(count)) : ""}});
}

SimulatedCtap::Reply SimulatedCtap::get(const Message& message) {
  const std::string rpId = bytesOf(message[1]);
  const std::string hash = bytesOf(message[2]);
  const auto ids = idsIn(message[3]);
  if (ids.size() > behaviour.mostIds) return {status(invalidParameter), {}};
  bool verified = false;
  if (const auto wrong = checkPerson(message, 6, hash, false, verified); wrong != ok) {
    return {status(wrong), {}};
  }
  std::vector<Credential> fitting;
  std::ranges::copy_if(credentials_, std::back_inserter(fitting), [&](const Credential& one) {
    return one.rpId == rpId && (ids.empty() ? one.isResident : std::ranges::count(ids, one.id) > 0);
  });
  if (!ids.empty() && fitting.size() > 1) fitting.resize(1);
  const bool needsTouch = message.option(5, "up", true);
  const auto flags = static_cast<std::uint8_t>((needsTouch ? 1U : 0U) | (verified ? 4U : 0U));
  const auto give = [this, fitting, hash, flags] {
    following_.clear();
    if (fitting.empty()) return status(noCredentials);
    for (const auto& one : fitting) {
      following_.push_back(assertion(one, hash, flags, fitting.size()));
    }
    std::string first = std::move(following_.front());
    following_.erase(following_.begin());
    return first;
  };
  if (!needsTouch) return {give(), {}};
  if (behaviour.refusal != 0) return {{}, [code = behaviour.refusal] { return status(code); }};
  return {{}, give};
}

std::uint8_t SimulatedCtap::checkPIN(const std::string& encrypted, const PINProtocol& protocol) {
  if (behaviour.tries == 0) return pinBlocked;
  if (wrongInARow_ >= 3) return pinAuthBlocked;
  if (protocol.decrypt(encrypted) == sha256(behaviour.pin).substr(0, 16)) {
    behaviour.tries = 8;
    wrongInARow_ = 0;
    return ok;
  }
  agreement_ = newKey(-7);
  if (--behaviour.tries == 0) return pinBlocked;
  return ++wrongInARow_ >= 3 ? pinAuthBlocked : pinInvalid;
}

std::string SimulatedCtap::setPIN(const Message& message, const PINProtocol& protocol,
                                  bool isChange) {
  const std::string encrypted = bytesOf(message[5]);
  const std::string current = bytesOf(message[6]);
  const std::string proof = protocol.proofOf(encrypted + (isChange ? current : ""));
  if (isChange == behaviour.pin.empty() || bytesOf(message[4]) != proof) {
    return status(pinAuthInvalid);
  }
  if (isChange) {
    if (const auto wrong = checkPIN(current, protocol); wrong != ok) return status(wrong);
  }
  const std::string chosen = protocol.decrypt(encrypted).c_str();
  if (chosen.size() < 6 || chosen == behaviour.pin) return status(pinPolicy);
  behaviour.pin = chosen;
  behaviour.wantsNewPIN = false;
  return status(ok);
}

std::string SimulatedCtap::getToken(const Message& message, const PINProtocol& protocol) {
  if (behaviour.pin.empty()) return status(pinNotSet);
  if (const auto wrong = checkPIN(bytesOf(message[6]), protocol); wrong != ok) return status(wrong);
  if (behaviour.wantsNewPIN) return status(pinPolicy);
  token_ = randomBytes(32);
  return status(ok) + map({{number(2), bytes(protocol.encrypt(token_))}});
}

SimulatedCtap::Reply SimulatedCtap::pinCommand(const Message& message) {
  if (!behaviour.takesPIN) return {status(invalidCommand), {}};
  const auto* other = message[3];
  const PINProtocol protocol(behaviour.pinProtocol, agreement_.get(), bytesOf(member(other, -2)),
                             bytesOf(member(other, -3)));
  const int command = numberOf(message[2]);
  const bool isSpoken = numberOf(message[1]) == behaviour.pinProtocol;
  if ((command >= 2 && !isSpoken) || (command >= 3 && !protocol.isAgreed())) {
    return {status(invalidParameter), {}};
  }
  switch (command) {
    case 1:
      return {status(ok) + map({{number(3), number(behaviour.tries)}}), {}};
    case 2:
      return {status(ok) + map({{number(1), coseKey(agreement_.get(), -25)}}), {}};
    case 3:
    case 4:
      return {setPIN(message, protocol, command == 4), {}};
    case 5:
      return {getToken(message, protocol), {}};
    default:
      return {status(invalidParameter), {}};
  }
}

}  // namespace veltrane::testing
