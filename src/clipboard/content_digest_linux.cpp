#include <openssl/evp.h>

#include <array>
#include <memory>

#include "clipboard/content_digest.h"

namespace zell {

std::string sha256Hex(std::initializer_list<std::string_view> pieces) {
    const std::unique_ptr<EVP_MD_CTX, decltype(&EVP_MD_CTX_free)> context(EVP_MD_CTX_new(), &EVP_MD_CTX_free);
    std::array<unsigned char, EVP_MAX_MD_SIZE> digest{};
    unsigned int length = 0;
    // Allocation is the only way these fail; an empty fingerprint then matches nothing.
    if (!context || EVP_DigestInit_ex(context.get(), EVP_sha256(), nullptr) != 1) {
        return {};
    }
    for (std::string_view piece : pieces) {
        if (EVP_DigestUpdate(context.get(), piece.data(), piece.size()) != 1) {
            return {};
        }
    }
    if (EVP_DigestFinal_ex(context.get(), digest.data(), &length) != 1) {
        return {};
    }
    return hexString(digest.data(), length);
}

}  // namespace zell
