// Which items of a media's metadata the TV shows. The interface answers some items for some kinds
// of media only; the others are not asked for.
#pragma once

#include <vector>

#include "tv/media.h"

namespace tv {

struct MetadataItem {
    EN_MM_INTERFACE_META_DATA item;
    const char* name;
};

/// Empty for MediaKind::kNone.
std::vector<MetadataItem> metadataItems(MediaKind kind);

} // namespace tv
