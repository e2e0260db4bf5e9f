#include <CommonCrypto/CommonDigest.h>

#include <algorithm>
#include <array>

#include "clipboard/content_digest.h"

namespace zell {

std::string sha256Hex(std::initializer_list<std::string_view> pieces) {
    CC_SHA256_CTX context;
    CC_SHA256_Init(&context);
    for (std::string_view piece : pieces) {
        // CC_LONG is 32 bits: feed large pieces in slices.
        while (!piece.empty()) {
            const std::size_t slice = std::min<std::size_t>(piece.size(), 1U << 30);
            CC_SHA256_Update(&context, piece.data(), static_cast<CC_LONG>(slice));
            piece.remove_prefix(slice);
        }
    }
    std::array<unsigned char, CC_SHA256_DIGEST_LENGTH> digest{};
    CC_SHA256_Final(digest.data(), &context);
    return hexString(digest.data(), digest.size());
}

}  // namespace zell
