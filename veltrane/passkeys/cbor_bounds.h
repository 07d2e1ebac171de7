#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

namespace veltrane {

/// How many bytes the CBOR item at their start takes. Nothing when it is cut off, is nested deeper
/// than 16 levels, or says somewhere that it has more elements than the bytes behind could hold: a
/// decoder that goes by what a head says would ask for memory without bounds.
std::optional<std::size_t> boundedCborSize(std::string_view bytes);

/// Whether the bytes are one such item and nothing else.
inline bool isBoundedCbor(std::string_view bytes) {
  return boundedCborSize(bytes) == bytes.size();
}

/// The bytes behind a number in a map that is bounded. Empty where there are none, or where the map
/// or they are open-ended.
std::string_view bytesInCborMap(std::string_view map, std::uint64_t key);

/// Whether what an authenticator signs holds no other items than such: the key of its credential
/// and its extensions stand in there, which have no length of their own.
bool isBoundedAuthenticatorData(std::string_view data);

}  // namespace veltrane
