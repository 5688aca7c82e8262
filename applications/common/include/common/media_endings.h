// What the endings of files' names say of their content, for those who can't look into it. Pure.
#pragma once

#include <string>
#include <string_view>

namespace media_endings {

/// In small letters, without its dot; empty when the last part of the path has none.
std::string endingOf(std::string_view path);

/// The MIME type of files with that ending (small letters, no dot); empty for unknown ones.
std::string_view mimeTypeOf(std::string_view ending);

} // namespace media_endings
