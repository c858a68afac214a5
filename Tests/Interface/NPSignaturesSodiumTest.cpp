#include "Interface/NPSignaturesSodium.h"

#include <gtest/gtest.h>

namespace {

QXData bytes(std::string_view hexadecimal)
{
    QXData data;
    for (std::size_t index = 0; index + 1 < hexadecimal.size(); index += 2) {
        data.push_back(
            static_cast<std::uint8_t>(std::stoi(std::string(hexadecimal.substr(index, 2)), nullptr, 16)));
    }
    return data;
}

// The second test of RFC 8032, 7.1: a message of one byte.
const QXData publicKey = bytes("3d4017c3e843895a92b70aa74d1b7ebc9c982ccf2ec4968cc0cd55f12af4660c");
const QXData message = bytes("72");
const QXData signature = bytes("92a009a9f0d4cab8720e820b5f642540a2b27b5416503f8fb3762223ebdb69da"
                               "085ac1e43e15996e458f3613d0f11d8c387b2eaeb4302aeeb00d291612bb0c00");

} // namespace

TEST(NPSignaturesSodium, AcceptsAGoodSignature)
{
    EXPECT_TRUE(NPSignaturesSodium().isValidSignature(signature, message, publicKey));
}

TEST(NPSignaturesSodium, RefusesAnotherMessage)
{
    EXPECT_FALSE(NPSignaturesSodium().isValidSignature(signature, bytes("73"), publicKey));
}

TEST(NPSignaturesSodium, RefusesAChangedSignature)
{
    QXData changed = signature;
    changed[5] ^= 1U;
    EXPECT_FALSE(NPSignaturesSodium().isValidSignature(changed, message, publicKey));
}

TEST(NPSignaturesSodium, RefusesAnotherKey)
{
    QXData other = publicKey;
    other[0] ^= 1U;
    EXPECT_FALSE(NPSignaturesSodium().isValidSignature(signature, message, other));
}

TEST(NPSignaturesSodium, RefusesWrongLengths)
{
    EXPECT_FALSE(NPSignaturesSodium().isValidSignature({}, message, publicKey));
    EXPECT_FALSE(NPSignaturesSodium().isValidSignature(signature, message, {}));
    QXData longer = signature;
    longer.push_back(0);
    EXPECT_FALSE(NPSignaturesSodium().isValidSignature(longer, message, publicKey));
}
