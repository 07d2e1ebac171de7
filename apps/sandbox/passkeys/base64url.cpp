#include "apps/sandbox/passkeys/base64url.h"

#include <openssl/evp.h>

#include <algorithm>

namespace veltrane::sandbox {
namespace {

constexpr std::string_view kAlphabet =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_";

const unsigned char* unsignedData(std::string_view bytes) {
  return reinterpret_cast<const unsigned char*>(bytes.data());
}

unsigned char* unsignedData(std::string& bytes) {
  return reinterpret_cast<unsigned char*>(bytes.data());
}

}  // namespace

std::string base64urlEncoded(std::string_view bytes) {
  std::string text((bytes.size() + 2) / 3 * 4 + 1, '\0');
  text.resize(static_cast<std::size_t>(
      EVP_EncodeBlock(unsignedData(text), unsignedData(bytes), static_cast<int>(bytes.size()))));
  text.erase(std::find(text.begin(), text.end(), '='), text.end());
  std::replace(text.begin(), text.end(), '+', '-');
  std::replace(text.begin(), text.end(), '/', '_');
  return text;
}

std::optional<std::string> base64urlDecoded(std::string_view text) {
  if (text.find_first_not_of(kAlphabet) != text.npos || text.size() % 4 == 1) return std::nullopt;
  std::string padded(text);
  std::replace(padded.begin(), padded.end(), '-', '+');
  std::replace(padded.begin(), padded.end(), '_', '/');
  const std::size_t padding = (4 - padded.size() % 4) % 4;
  padded.append(padding, '=');
  std::string bytes(padded.size() / 4 * 3, '\0');
  const int size =
      EVP_DecodeBlock(unsignedData(bytes), unsignedData(padded), static_cast<int>(padded.size()));
  if (size < 0) return std::nullopt;
  // Padding counts as bytes there.
  bytes.resize(static_cast<std::size_t>(size) - padding);
  return bytes;
}

}  // namespace veltrane::sandbox
