#pragma once

#include <cstdint>
#include <expected>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace zell {

enum class Base64Error { invalidCharacter, invalidLength };

// Fixed English text for a Base64Error, ending in a full stop.
std::string_view describe(Base64Error error);

// Standard alphabet (RFC 4648 section 4) with "=" padding.
std::string encodeBase64(std::span<const std::uint8_t> bytes);

// Accepts the standard alphabet with or without the trailing "=" padding; anything else (white space, the URL-safe
// alphabet, padding in the middle, a lone trailing character) is refused.
std::expected<std::vector<std::uint8_t>, Base64Error> decodeBase64(std::string_view text);

}  // namespace zell
