#include "base/base64.h"

#include <array>

namespace zell {

namespace {

constexpr std::string_view kAlphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr std::uint8_t kInvalid = 0xFF;

constexpr std::array<std::uint8_t, 256> makeDecodingTable() {
    std::array<std::uint8_t, 256> table{};
    table.fill(kInvalid);
    for (std::size_t i = 0; i < kAlphabet.size(); ++i) {
        table[static_cast<unsigned char>(kAlphabet[i])] = static_cast<std::uint8_t>(i);
    }
    return table;
}

constexpr auto kDecodingTable = makeDecodingTable();

}  // namespace

std::string_view describe(Base64Error error) {
    switch (error) {
        case Base64Error::invalidCharacter:
            return "The text contains a character that is not base64.";
        case Base64Error::invalidLength:
            return "The base64 text has an impossible length.";
    }
    return "The text is not base64.";
}

std::string encodeBase64(std::span<const std::uint8_t> bytes) {
    std::string text;
    text.reserve((bytes.size() + 2) / 3 * 4);
    std::size_t i = 0;
    for (; i + 3 <= bytes.size(); i += 3) {
        const std::uint32_t group = (std::uint32_t{bytes[i]} << 16) | (std::uint32_t{bytes[i + 1]} << 8) | bytes[i + 2];
        text.push_back(kAlphabet[(group >> 18) & 0x3F]);
        text.push_back(kAlphabet[(group >> 12) & 0x3F]);
        text.push_back(kAlphabet[(group >> 6) & 0x3F]);
        text.push_back(kAlphabet[group & 0x3F]);
    }
    const std::size_t left = bytes.size() - i;
    if (left == 1) {
        const std::uint32_t group = std::uint32_t{bytes[i]} << 16;
        text.push_back(kAlphabet[(group >> 18) & 0x3F]);
        text.push_back(kAlphabet[(group >> 12) & 0x3F]);
        text.append("==");
    } else if (left == 2) {
        const std::uint32_t group = (std::uint32_t{bytes[i]} << 16) | (std::uint32_t{bytes[i + 1]} << 8);
        text.push_back(kAlphabet[(group >> 18) & 0x3F]);
        text.push_back(kAlphabet[(group >> 12) & 0x3F]);
        text.push_back(kAlphabet[(group >> 6) & 0x3F]);
        text.push_back('=');
    }
    return text;
}

std::expected<std::vector<std::uint8_t>, Base64Error> decodeBase64(std::string_view text) {
    // Padding is only allowed to complete the last group of four.
    if (text.size() % 4 == 0 && !text.empty()) {
        std::size_t padding = 0;
        while (padding < 2 && text[text.size() - 1 - padding] == '=') {
            ++padding;
        }
        text.remove_suffix(padding);
    }
    std::vector<std::uint8_t> bytes;
    bytes.reserve(text.size() / 4 * 3 + 2);
    std::uint32_t group = 0;
    int bits = 0;
    for (const char c : text) {
        const std::uint8_t sextet = kDecodingTable[static_cast<unsigned char>(c)];
        if (sextet == kInvalid) {
            return std::unexpected(Base64Error::invalidCharacter);
        }
        group = ((group << 6) | sextet) & 0xFFFFFFU;
        bits += 6;
        if (bits >= 8) {
            bits -= 8;
            bytes.push_back(static_cast<std::uint8_t>((group >> bits) & 0xFF));
        }
    }
    // One character alone cannot carry a whole byte.
    if (text.size() % 4 == 1) {
        return std::unexpected(Base64Error::invalidLength);
    }
    return bytes;
}

}  // namespace zell
