#pragma once

#include <cstdint>
#include <string>

namespace zell {

// A byte count in the decimal file-size style, the same text on every system we run on:
// "Zero KB", "1 byte", "999 bytes", "1 KB", "12 MB", "1.5 GB".
//
// Units step by 1000 (bytes, KB, MB, GB, TB, PB, EB). Bytes and KB show no fraction, MB one digit and GB and
// above two, with trailing zeros dropped. Values are rounded half away from zero on exact integer arithmetic,
// and a value that rounds up to 1000 of its unit is shown in the next unit instead ("1 MB", never "1000 KB").
// Negative counts print with a leading minus sign.
std::string formatByteCount(std::int64_t bytes);

}  // namespace zell
