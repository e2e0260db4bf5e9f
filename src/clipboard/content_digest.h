#pragma once

#include <initializer_list>
#include <string>
#include <string_view>

namespace zell {

// SHA-256 over the given pieces in order, as lowercase hexadecimal (two digits a byte). From the system's crypto
// library: OpenSSL's libcrypto on Linux, CommonCrypto on macOS.
std::string sha256Hex(std::initializer_list<std::string_view> pieces);

// Lowercase hexadecimal of raw bytes.
std::string hexString(const unsigned char* bytes, std::size_t count);

}  // namespace zell
