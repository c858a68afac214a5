// Ed25519 signatures by libsodium.
#pragma once

#include "Platform/NPUpdaterServices.h"

class NPSignaturesSodium final : public NPSignatureServices {
public:
    bool isValidSignature(const QXData& signature, const QXData& message, const QXData& publicKey) const override;
};
