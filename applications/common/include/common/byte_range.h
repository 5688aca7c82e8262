// What a Range header asks of a file (RFC 9110, section 14). Pure; used by whoever
// serves files or documents.
#pragma once

#include <cstdint>
#include <string_view>

namespace http {

struct ByteRange {
    enum class Kind {
        kWhole,         ///< no range, or one that a server may ignore: send everything
        kPart,          ///< first to last, both included, both inside the file
        kUnsatisfiable, ///< well formed, but nothing of it lies inside the file
    };
    Kind kind = Kind::kWhole;
    std::uint64_t first = 0;
    std::uint64_t last = 0;
};

/// `header` is the value of the Range header, `size` the length of the file in bytes. Several
/// ranges at once and units other than bytes are answered with the whole file.
ByteRange parseByteRange(std::string_view header, std::uint64_t size);

} // namespace http
