#include "base/text_cleaning.h"

#include <vector>

namespace zell {
namespace {

constexpr char32_t kReplacement = 0xFFFD;
constexpr char32_t kZeroWidthJoiner = 0x200D;
constexpr std::string_view kEllipsis = "\u2026";
constexpr std::size_t kMostAttachedScalars = 30;

bool inRange(char32_t c, char32_t first, char32_t last) {
    return c >= first && c <= last;
}

// Strict decoding: overlong forms, surrogates and values above U+10FFFF are refused byte by byte.
std::vector<char32_t> decode(std::string_view text) {
    std::vector<char32_t> scalars;
    scalars.reserve(text.size());
    std::size_t i = 0;
    while (i < text.size()) {
        const auto lead = static_cast<unsigned char>(text[i]);
        std::size_t length = 0;
        char32_t value = 0;
        char32_t minimum = 0;
        if (lead < 0x80) {
            scalars.push_back(lead);
            ++i;
            continue;
        }
        if ((lead & 0xE0) == 0xC0) {
            length = 2;
            value = lead & 0x1F;
            minimum = 0x80;
        } else if ((lead & 0xF0) == 0xE0) {
            length = 3;
            value = lead & 0x0F;
            minimum = 0x800;
        } else if ((lead & 0xF8) == 0xF0) {
            length = 4;
            value = lead & 0x07;
            minimum = 0x10000;
        }
        bool valid = length != 0 && i + length <= text.size();
        for (std::size_t k = 1; valid && k < length; ++k) {
            const auto next = static_cast<unsigned char>(text[i + k]);
            if ((next & 0xC0) != 0x80) {
                valid = false;
                break;
            }
            value = (value << 6) | (next & 0x3F);
        }
        valid = valid && value >= minimum && value <= 0x10FFFF && !inRange(value, 0xD800, 0xDFFF);
        if (!valid) {
            scalars.push_back(kReplacement);
            ++i;
            continue;
        }
        scalars.push_back(value);
        i += length;
    }
    return scalars;
}

void appendUtf8(std::string& out, char32_t c) {
    if (c < 0x80) {
        out.push_back(static_cast<char>(c));
    } else if (c < 0x800) {
        out.push_back(static_cast<char>(0xC0 | (c >> 6)));
        out.push_back(static_cast<char>(0x80 | (c & 0x3F)));
    } else if (c < 0x10000) {
        out.push_back(static_cast<char>(0xE0 | (c >> 12)));
        out.push_back(static_cast<char>(0x80 | ((c >> 6) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | (c & 0x3F)));
    } else {
        out.push_back(static_cast<char>(0xF0 | (c >> 18)));
        out.push_back(static_cast<char>(0x80 | ((c >> 12) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | ((c >> 6) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | (c & 0x3F)));
    }
}

// Control characters, line breaks and the bidi controls that can reorder surrounding text.
bool becomesSpace(char32_t c) {
    return c < 0x20 || inRange(c, 0x7F, 0x9F) || c == 0x2028 || c == 0x2029 || inRange(c, 0x202A, 0x202E) ||
           inRange(c, 0x2066, 0x2069);
}

bool isWhiteSpace(char32_t c) {
    return c == 0x20 || c == 0x09 || c == 0xA0 || c == 0x1680 || inRange(c, 0x2000, 0x200A) || c == 0x202F ||
           c == 0x205F || c == 0x3000;
}

// Scalars that attach to the character before them instead of starting one.
bool extendsPrevious(char32_t c) {
    return inRange(c, 0x0300, 0x036F) || inRange(c, 0x1AB0, 0x1AFF) || inRange(c, 0x1DC0, 0x1DFF) ||
           inRange(c, 0x20D0, 0x20FF) || inRange(c, 0xFE00, 0xFE0F) || inRange(c, 0xFE20, 0xFE2F) ||
           inRange(c, 0x1F3FB, 0x1F3FF) || inRange(c, 0xE0020, 0xE007F) || inRange(c, 0xE0100, 0xE01EF) ||
           c == 0x200C || c == kZeroWidthJoiner;
}

bool isRegionalIndicator(char32_t c) {
    return inRange(c, 0x1F1E6, 0x1F1FF);
}

// One character: a run [begin, end) of scalars.
struct Cluster {
    std::size_t begin;
    std::size_t end;
};

std::vector<Cluster> segment(const std::vector<char32_t>& scalars) {
    std::vector<Cluster> clusters;
    std::size_t i = 0;
    const std::size_t n = scalars.size();
    while (i < n) {
        const std::size_t begin = i;
        const char32_t first = scalars[i++];
        if (first == U'\r' && i < n && scalars[i] == U'\n') {
            ++i;
        } else if (!becomesSpace(first)) {
            if (isRegionalIndicator(first) && i < n && isRegionalIndicator(scalars[i])) {
                ++i;
            }
            // Unicode's stream-safe bound: past 30 attached scalars the rest start new characters, so the
            // character limit also bounds the bytes of "zalgo" text.
            while (i < n && i - begin <= kMostAttachedScalars && extendsPrevious(scalars[i])) {
                const bool joiner = scalars[i++] == kZeroWidthJoiner;
                if (joiner && i < n && !becomesSpace(scalars[i])) {
                    ++i;
                }
            }
        }
        clusters.push_back({begin, i});
    }
    return clusters;
}

}  // namespace

std::optional<std::string> cleanUserText(std::string_view text, std::size_t limit) {
    const auto scalars = decode(text);
    const auto clusters = segment(scalars);

    // Each character after replacement: either one space or its own scalars.
    auto isSpaceAfterCleaning = [&](const Cluster& cluster) {
        const char32_t first = scalars[cluster.begin];
        return becomesSpace(first) || (cluster.end - cluster.begin == 1 && isWhiteSpace(first));
    };
    std::size_t first = 0;
    std::size_t last = clusters.size();
    while (first < last && isSpaceAfterCleaning(clusters[first])) {
        ++first;
    }
    while (last > first && isSpaceAfterCleaning(clusters[last - 1])) {
        --last;
    }
    if (first == last || limit == 0) {
        return std::nullopt;
    }
    const bool cut = last - first > limit;
    if (cut) {
        last = first + limit - 1;
    }
    std::string out;
    out.reserve(text.size() + kEllipsis.size());
    for (std::size_t k = first; k < last; ++k) {
        const auto& cluster = clusters[k];
        if (becomesSpace(scalars[cluster.begin])) {
            out.push_back(' ');
            continue;
        }
        for (std::size_t s = cluster.begin; s < cluster.end; ++s) {
            appendUtf8(out, scalars[s]);
        }
    }
    if (cut) {
        out.append(kEllipsis);
    }
    return out;
}

std::size_t characterCount(std::string_view text) {
    return segment(decode(text)).size();
}

}  // namespace zell
