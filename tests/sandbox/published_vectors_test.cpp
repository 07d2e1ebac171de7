// The relying party against the test vectors that WebAuthn Level 3 publishes: attestation "none"
// and packed self with ES256, packed with a certificate for Ed25519.
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "apps/sandbox/passkeys/assertion_check.h"
#include "apps/sandbox/passkeys/base64url.h"
#include "apps/sandbox/passkeys/registration_check.h"
#include "apps/sandbox/request_check.h"

namespace veltrane::sandbox {
namespace {

using nlohmann::json;

/// Bytes in hexadecimal, but for the client data.
struct Vector {
  const char* name;
  std::string clientDataOfCreation;
  std::string attestationObject;
  std::string clientDataOfAssertion;
  std::string authenticatorData;
  std::string signature;
};

const Vector kVectors[] = {
    {.name = "none, ES256",
     .clientDataOfCreation =
         R"({"type":"webauthn.create","challenge":"AMMPt4UxxGTStncdq417YDwBFi8vpIa)"
         R"(-pw8oOuVW4TA","origin":"https://example.org","crossOrigin":false,"extr)"
         R"(aData":"clientDataJSON may be extended with additional fields in the f)"
         R"(uture, such as this: BkQeDjdcTBrXBiAwJTLE5Q=="})",
     .attestationObject =
         "a363666d74646e6f6e656761747453746d74a068617574684461746158a4bfabc37432958b063360d3ad6461"
         "c9c4735ae7f8edd46592a5e0f01452b2e4b559000000008446ccb9ab1db374750b2367ff6f3a1f0020f91f39"
         "1db4c9b2fde0ea70189cba3fb63f579ba6122b33ad94ff3ec330084be4a5010203262001215820afefa16f97"
         "ca9b2d23eb86ccb64098d20db90856062eb249c33a9b672f26df61225820930a56b87a2fca66334b03458abf"
         "879717c12cc68ed73290af2e2664796b9220",
     .clientDataOfAssertion =
         R"({"type":"webauthn.get","challenge":"OcDnUhQXulTUPo3JUXT0I97pvzzYBP9tZc)"
         R"(hXyav01Ag","origin":"https://example.org","crossOrigin":false})",
     .authenticatorData =
         "bfabc37432958b063360d3ad6461c9c4735ae7f8edd46592a5e0f01452b2e4b51900000000",
     .signature =
         "3046022100f50a4e2e4409249c4a853ba361282f09841df4dd4547a13a87780218deffcd380221008480ac0f"
         "0b93538174f575bf11a1dd5d78c6e486013f937295ea13653e331e87"},
    {.name = "packed self, ES256",
     .clientDataOfCreation =
         R"({"type":"webauthn.create","challenge":"eGnCt3LUtY66k3jPjynibPk1qnffDai)"
         R"(fqZwL3Ap29-U","origin":"https://example.org","crossOrigin":false,"extr)"
         R"(aData":"clientDataJSON may be extended with additional fields in the f)"
         R"(uture, such as this: U9hTXvKE2URkMnb_0xYHVg=="})",
     .attestationObject =
         "a363666d74667061636b65646761747453746d74a263616c67266373696758483046022100ae045923ded832"
         "b844cae4d5fc864277c0dc114ad713e271af0f0d371bd3ac540221009077a088ed51a673951ad3ba2673d502"
         "9bab65b64f4ea67b234321f86fcfac5d68617574684461746158a4bfabc37432958b063360d3ad6461c9c473"
         "5ae7f8edd46592a5e0f01452b2e4b55d00000000df850e09db6afbdfab51697791506cfc0020455ef34e2043"
         "a87db3d4afeb39bbcb6cc32df9347c789a865ecdca129cbef58ca5010203262001215820eb151c8176b225cc"
         "651559fecf07af450fd85802046656b34c18f6cf193843c5225820927b8aa427a2be1b8834d233a2d34f61f1"
         "3bfd44119c325d5896e183fee484f2",
     .clientDataOfAssertion =
         R"({"type":"webauthn.get","challenge":"RHihCxNSNI3RYME1Ow1Gm12xnrkcJ_ffpv)"
         R"(7Tn-Jq8gs","origin":"https://example.org","crossOrigin":false,"extraDa)"
         R"(ta":"clientDataJSON may be extended with additional fields in the futu)"
         R"(re, such as this: gTb53rz6EhSWomXGzimC1Q=="})",
     .authenticatorData =
         "bfabc37432958b063360d3ad6461c9c4735ae7f8edd46592a5e0f01452b2e4b50900000000",
     .signature =
         "3044022076691be76a8618976d9803c4cdc9b97d34a7af37e3bdc894a2bf54f040ffae850220448033a01529"
         "6ffb09a762efd0d719a55346941e17e91ebf64c60d439d0b9744"},
    {.name = "packed, Ed25519",
     .clientDataOfCreation =
         R"({"type":"webauthn.create","challenge":"VgxzoJznoVhtYcHW5B_vFJvlI-Ig_J84XTirI3Auvxs",)"
         R"("origin":"https://example.org","crossOrigin":false,"extraData":"clientDataJSON may be )"
         R"(extended with additional fields in the future, such as this: 23WH4kuRh-23eTN1QzHkQw=="})",
     .attestationObject =
         "a363666d74667061636b65646761747453746d74a363616c672663736967584730450220730a54d4f76cb1f2"
         "b7dd4a5a6eee3374e3c8a60fb3c4daa527c9277e365b64aa0221008b31a04a28cc4148b14c42a916548ee7f4"
         "30bc7629295b42ee93e5d1aaba8ee6637835638159022530820221308201c7a00302010202106e391f23f571"
         "50dc7a12dad18f2b43ad300a06082a8648ce3d0403023062311e301c06035504030c15576562417574686e20"
         "7465737420766563746f7273310c300a060355040a0c0357334331253023060355040b0c1c41757468656e74"
         "696361746f72204174746573746174696f6e204341310b30090603550406130241413020170d323430313031"
         "3030303030305a180f33303234303130313030303030305a305f311e301c06035504030c1557656241757468"
         "6e207465737420766563746f7273310c300a060355040a0c0357334331223020060355040b0c194175746865"
         "6e74696361746f72204174746573746174696f6e310b30090603550406130241413059301306072a8648ce3d"
         "020106082a8648ce3d03010703420004fb96a581a0b36742a8c45d6ffb5af1ef155524b50339445ec1109874"
         "045e0087db77edef91f3dc949927470d84b01627087b72c86b7c9d02e1389cba680ffc36a360305e300c0603"
         "551d130101ff04023000300e0603551d0f0101ff040403020780301d0603551d0e04160414ef2ce1a86caba8"
         "5121130a16e8ce82a75d5a6653301f0603551d2304183016801445aff715b0dd786741fee996ebc16547a393"
         "1b1e300a06082a8648ce3d0403020348003045022100ad4fa628cffba5a642a562cbfefe63efecce26d90c80"
         "114114d1745383e12f01022028af87ba3b0ff868a34b9458bc6973b27380a328dd87b7436651ffa823280bca"
         "6861757468446174615881bfabc37432958b063360d3ad6461c9c4735ae7f8edd46592a5e0f01452b2e4b549"
         "00000000164009ea09faae7c397bc3e2ad0e7ec00020c6cffa01b7fda368a7e0b29c1384a719820246bca894"
         "dd12914708743af0cecda401010327200621582089f81eba4a1f510cb243ff7fb9e9cf899bf627e49ce1ac3c"
         "3eae8adb2a8d7d7b",
     .clientDataOfAssertion =
         R"({"type":"webauthn.get","challenge":"N5Daiyty7ozhl2F4etOMv6ppfrPKAToTQp)"
         R"(iHVrmHhas","origin":"https://example.org","crossOrigin":false})",
     .authenticatorData =
         "bfabc37432958b063360d3ad6461c9c4735ae7f8edd46592a5e0f01452b2e4b51900000000",
     .signature =
         "4c873571377ac019f257d6bf07249f63ac2487483c51bc511ce0f0e3266c840cb07a09cdc445a2f963d8603a"
         "9f0f6cf9ce709d7fc6a96c7c51ea08d33776010c"},
};

std::string fromHex(std::string_view hex) {
  std::string bytes;
  for (std::size_t i = 0; i < hex.size(); i += 2) {
    bytes += static_cast<char>(std::stoi(std::string(hex.substr(i, 2)), nullptr, 16));
  }
  return bytes;
}

std::string flipped(std::string bytes, std::size_t fromEnd) {
  bytes.at(bytes.size() - 1 - fromEnd) ^= 1;
  return bytes;
}

Expectation expectationOf(const std::string& clientData) {
  const auto data = json::parse(clientData);
  return {.type = data["type"],
          .challenge = data["challenge"],
          .origins = {"https://example.org"},
          .rpId = "example.org"};
}

/// The credential's id stands in the object behind its length, which all of these write alike.
std::string idIn(const std::string& attestationObject) {
  const auto start = attestationObject.find(sha256("example.org")) + 55;
  return attestationObject.substr(start, 32);
}

json response(const std::string& id, json members) {
  return {{"id", base64urlEncoded(id)},
          {"rawId", base64urlEncoded(id)},
          {"type", "public-key"},
          {"response", std::move(members)}};
}

Registration registered(const Vector& vector, const std::string& object) {
  const json members{{"clientDataJSON", base64urlEncoded(vector.clientDataOfCreation)},
                     {"attestationObject", base64urlEncoded(object)}};
  return checkedRegistration(response(idIn(object), members),
                             expectationOf(vector.clientDataOfCreation), {-7, -8});
}

TEST(PublishedVectors, AreTakenAndSpoiltOnesAreNot) {
  for (const auto& vector : kVectors) {
    SCOPED_TRACE(vector.name);
    const auto object = fromHex(vector.attestationObject);
    const auto made = registered(vector, object);
    EXPECT_EQ(made.counter, 0U);
    // Of the id, which the statement signs; without one it only has to be that of the response.
    const bool isSigned = std::string_view(vector.name).starts_with("packed");
    auto spoilt = vector;
    spoilt.clientDataOfCreation += " ";
    if (isSigned) {
      EXPECT_THROW(registered(spoilt, object), Refusal);
    }

    const auto signsIn = [&](const std::string& data, const std::string& signature) {
      const json members{{"clientDataJSON", base64urlEncoded(vector.clientDataOfAssertion)},
                         {"authenticatorData", base64urlEncoded(data)},
                         {"signature", base64urlEncoded(signature)}};
      return checkedAssertion(response(made.id, members),
                              expectationOf(vector.clientDataOfAssertion), made.key);
    };
    const auto data = fromHex(vector.authenticatorData);
    const auto signature = fromHex(vector.signature);
    EXPECT_EQ(signsIn(data, signature), 0U);
    EXPECT_THROW(signsIn(flipped(data, 0), signature), Refusal);
    EXPECT_THROW(signsIn(data, flipped(signature, 0)), Refusal);
  }
}

}  // namespace
}  // namespace veltrane::sandbox
