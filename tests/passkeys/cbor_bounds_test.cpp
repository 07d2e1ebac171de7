#include "veltrane/passkeys/cbor_bounds.h"

#include <gtest/gtest.h>

#include "tests/support/cbor_text.h"

namespace veltrane {
namespace {

using namespace testing::cbor;

std::string operator""_s(const char* text, std::size_t size) {
  return {text, size};
}

const std::string kKey = map({{number(1), number(2)}, {number(-2), bytes(std::string(32, 'x'))}});

std::string dataWith(char flags, const std::string& rest) {
  return std::string(32, 'h') + flags + std::string(4, '\0') + rest;
}
std::string attested(const std::string& key, std::size_t idSize = 20) {
  return std::string(16, 'a') + static_cast<char>(idSize >> 8) + static_cast<char>(idSize) +
         std::string(20, 'i') + key;
}

TEST(CborBounds, WhatClaimsNoMoreThanThereIsPasses) {
  const std::string sound[] = {number(5),
                               number(-7000),
                               text("text"),
                               boolean(true),
                               "\xF6",
                               "\xFB\1\2\3\4\5\6\7\x8",
                               "\xC1\x05",
                               list({number(1), list({}), map({})}),
                               map({{text("a"), kKey}, {text("b"), list({bytes("b")})}}),
                               "\x9F\x01\x02\xFF"_s,
                               "\x7F\x61\x61\x61\x62\xFF",
                               std::string(16, '\x81') + "\x01"};
  for (const auto& item : sound) {
    EXPECT_TRUE(isBoundedCbor(item)) << ::testing::PrintToString(item);
    EXPECT_EQ(boundedCborSize(item + "behind"), item.size());
    for (std::size_t size = 0; size < item.size(); ++size) {
      EXPECT_FALSE(isBoundedCbor(item.substr(0, size))) << size;
    }
  }
}

TEST(CborBounds, WhatClaimsMoreIsRefusedWhereverItDoes) {
  const std::string claims[] = {"\x9B\0\0\1\0\0\0\0\0\1"_s,
                                "\xBB\0\0\1\0\0\0\0\0\1\1"_s,
                                "\xBB\x80\0\0\0\0\0\0\0\1\1"_s,  // twice of it is none
                                "\xBA\x7F\xFF\xFF\xFF"_s,
                                "\x5B\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF",
                                "\x82\x01",
                                "\xA1\x01",
                                "\x9F\x01",
                                "\x5F\x9B\0\0\1\0\0\0\0\0\xFF"_s,
                                "\x1C",
                                "\x1F",
                                std::string(17, '\x81') + "\x01"};
  for (const auto& claim : claims) {
    EXPECT_FALSE(boundedCborSize(claim)) << ::testing::PrintToString(claim);
    EXPECT_FALSE(boundedCborSize(map({{number(1), claim}})));
    EXPECT_FALSE(boundedCborSize(list({number(1), claim})));
    EXPECT_FALSE(isBoundedAuthenticatorData(dataWith('\x41', attested(claim))));
    EXPECT_FALSE(isBoundedAuthenticatorData(dataWith('\xC1', attested(kKey) + claim)));
    EXPECT_FALSE(isBoundedAuthenticatorData(dataWith('\x81', claim)));
  }
}

TEST(CborBounds, AuthenticatorDataIsReadToTheItemsWithin) {
  EXPECT_TRUE(isBoundedAuthenticatorData(dataWith('\x01', "")));
  EXPECT_TRUE(isBoundedAuthenticatorData(dataWith('\xC1', attested(kKey) + map({}))));
  EXPECT_FALSE(isBoundedAuthenticatorData(dataWith('\x41', attested(kKey, 2000))));
  EXPECT_FALSE(isBoundedAuthenticatorData(dataWith('\x41', "short")));
  EXPECT_FALSE(isBoundedAuthenticatorData(std::string(36, '\0')));
  const auto reply = map({{number(1), kKey}, {number(2), bytes("data")}, {number(3), list({})}});
  EXPECT_EQ(bytesInCborMap(reply, 2), "data");
  EXPECT_EQ(bytesInCborMap(reply, 3), "");
  EXPECT_EQ(bytesInCborMap(list({number(2), bytes("data")}), 2), "");
}

}  // namespace
}  // namespace veltrane
