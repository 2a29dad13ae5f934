#pragma once

#include <korvel/platform/foundation/Data.h>

#include <array>
#include <cstdint>
#include <optional>

namespace korvel::platform {

/// The X25519 key to which secrets for the holder of a DER X.509 certificate are sealed: the
/// subject's key itself, or, if that is an Ed25519 one, its counterpart. Nothing for other kinds of
/// keys and for bytes that are no certificate. Signature and validity are not looked at: the
/// certificate comes with the application, and a kiosk's clock may be wrong.
std::optional<std::array<std::uint8_t, 32>> sealingKeyOfCertificate(const Data& certificate);

}  // namespace korvel::platform
