#include "Interface/NPSignaturesSodium.h"

#include <sodium.h>

bool NPSignaturesSodium::isValidSignature(const QXData& signature, const QXData& message,
                                          const QXData& publicKey) const
{
    return signature.size() == crypto_sign_BYTES && publicKey.size() == crypto_sign_PUBLICKEYBYTES
           && sodium_init() >= 0
           && crypto_sign_verify_detached(signature.data(), message.data(), message.size(), publicKey.data()) == 0;
}
