// The media-info text of a player record: what is known about a media, item by item, in the form
// that the TV's side cuts its answers out of.
//
// Items are a key and a value, separated by the character U+E08A. Readers take the first occurrence
// of a key anywhere in the text, so a value never contains a key that could be taken for an item.
#pragma once

#include <string>

#include "metadata/media_facts.h"

namespace player {

/// The separator between items, in UTF-8.
constexpr char kItemSeparator[] = "\xEE\x82\x8A";

/// "MetadataStr=" and the items that are known.
std::string mediaInfoText(const MediaFacts& facts);

} // namespace player
