#include "Md5Fingerprint.h"

#include <openssl/evp.h>

#include <memory>

namespace {

struct ContextFree
{
    void operator()(EVP_MD_CTX *context) const { EVP_MD_CTX_free(context); }
};

} // namespace

namespace Md5Fingerprint {

std::string Of(const ByteVector &bytes)
{
    const std::unique_ptr<EVP_MD_CTX, ContextFree> context(EVP_MD_CTX_new());
    unsigned char digest[EVP_MAX_MD_SIZE];
    unsigned int length = 0;
    if (!context || EVP_DigestInit_ex2(context.get(), EVP_md5(), nullptr) != 1 ||
        EVP_DigestUpdate(context.get(), bytes.data(), bytes.size()) != 1 ||
        EVP_DigestFinal_ex(context.get(), digest, &length) != 1)
        return std::string();
    static constexpr char kDigits[] = "0123456789ABCDEF";
    std::string text;
    for (unsigned int i = 0; i < length; ++i) {
        text.push_back(kDigits[digest[i] >> 4]);
        text.push_back(kDigits[digest[i] & 0x0F]);
    }
    return text;
}

} // namespace Md5Fingerprint
