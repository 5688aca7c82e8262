// Which of the renderers that answered a person means. Pure.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace push {

struct RendererName {
    std::string friendlyName;
    std::string udn; ///< "uuid:..."
};

struct Choice {
    enum class Kind { kNone, kUnknown, kAmbiguous, kOne };
    Kind kind = Kind::kNone;
    std::vector<std::size_t> candidates; ///< kOne: the one; kAmbiguous: all that could be meant
    bool isCertain = false; ///< kOne: no further answer can change it (the whole uuid was given)
};

/// `wanted` is a name, a part of one (letters of either case) or a uuid; empty means the only
/// renderer there is. A name that fits entirely goes before one that contains `wanted`.
Choice chooseRenderer(const std::vector<RendererName>& found, const std::string& wanted);

} // namespace push
