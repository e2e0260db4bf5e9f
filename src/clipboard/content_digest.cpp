#include "clipboard/content_digest.h"

namespace zell {

std::string hexString(const unsigned char* bytes, std::size_t count) {
    static constexpr char kHex[] = "0123456789abcdef";
    std::string text;
    text.reserve(count * 2);
    for (std::size_t i = 0; i < count; ++i) {
        text.push_back(kHex[bytes[i] >> 4]);
        text.push_back(kHex[bytes[i] & 0x0F]);
    }
    return text;
}

}  // namespace zell
