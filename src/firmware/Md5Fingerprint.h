#pragma once

#include "comm/ByteVector.h"

#include <string>

namespace Md5Fingerprint {

// The MD5 digest of bytes as 32 upper-case hexadecimal digits; empty if the crypto library
// cannot compute it.
std::string Of(const ByteVector &bytes);

} // namespace Md5Fingerprint
