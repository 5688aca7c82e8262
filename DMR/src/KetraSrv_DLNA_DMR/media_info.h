// Reading the texts that the player sends about a media: the media-info string and the protocol
// info. Pure functions, any thread; one pass over the text, and nothing is allocated but an answer.
//
// A media-info string is a row of items, each a key, a colon and a value, separated by the private
// character U+E08A in UTF-8. Values are bytes and are not trimmed.
#pragma once

#include <string>

#include "KetraSrv_DLNADMR.h"

namespace mediainfo {

/// Writes the answer to `aItem` in every case: the formatted value, "---" when the text does not
/// hold the item, "Unknown" when there is no such item. True for a value, and for E_INFO_ITEM_14.
bool answer(const std::string& aInfo, EN_INFO_METADATA aItem, std::string& aAnswer);

/// The number behind `aKey`, which ends in a colon; all bits set when the key is absent.
U32 number(const std::string& aInfo, const char* aKey);

/// What a server can do, from the operations parameter of a protocol info.
struct SeekFlags {
    bool byBytes;
    bool byTime;
};
SeekFlags seekFlags(const char* aProtocolInfo);

} // namespace mediainfo
