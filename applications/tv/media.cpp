#include "tv/media.h"

namespace tv {

namespace {

struct KindRow {
    MediaKind kind;
    unsigned long word;
    const char* name;
    EN_MM_INTERFACE_MEDIA_TYPE interfaceType;
    MM_MEDIATYPE serviceType;
};
constexpr KindRow kKinds[] = {
    {MediaKind::kNone, MM_MEDIA_WORD_NONE, "none", E_MM_INTERFACE_MEDIA_MOVIE, MM_MEDIATYPE_MOVIE},
    {MediaKind::kMovie, MM_MEDIA_WORD_MOVIE, "movie", E_MM_INTERFACE_MEDIA_MOVIE,
     MM_MEDIATYPE_MOVIE},
    {MediaKind::kMusic, MM_MEDIA_WORD_MUSIC, "music", E_MM_INTERFACE_MEDIA_MUSIC,
     MM_MEDIATYPE_MUSIC},
    {MediaKind::kPhoto, MM_MEDIA_WORD_PHOTO, "photo", E_MM_INTERFACE_MEDIA_PHOTO,
     MM_MEDIATYPE_PHOTO},
};

const KindRow& rowOf(MediaKind kind) {
    for (const KindRow& row : kKinds)
        if (row.kind == kind)
            return row;
    return kKinds[0];
}

/// Indexed by the mode.
constexpr const char* kSpeeds[] = {
    "1x",   "2x",   "4x",   "8x",   "16x",  "32x",   "-2x",   "-4x",   "-8x",
    "-16x", "-32x", "1/2x", "1/4x", "1/8x", "1/16x", "1/32x", "pause",
};
static_assert(sizeof kSpeeds / sizeof *kSpeeds == MM_TRICK_NUM, "one text a mode");

/// 2, 4, 8, 16 and 32 lie next to each other in each direction.
constexpr long kFactors[] = {2, 4, 8, 16, 32};
constexpr int kSteps = sizeof kFactors / sizeof *kFactors;

MM_TRICK_MODE modeOf(long factor, MM_TRICK_MODE first) {
    for (int step = 0; step < kSteps; ++step)
        if (kFactors[step] == factor)
            return static_cast<MM_TRICK_MODE>(first + step);
    return MM_TRICK_NUM;
}

MM_TRICK_MODE nextOf(MM_TRICK_MODE current, MM_TRICK_MODE first) {
    if (current < first || current >= first + kSteps)
        return first;
    const int next = current + 1;
    return next < first + kSteps ? static_cast<MM_TRICK_MODE>(next) : MM_TRICK_NORMAL;
}

} // namespace

MediaKind kindOfWord(unsigned long word) {
    for (const KindRow& row : kKinds)
        if (row.word == word)
            return row.kind;
    return MediaKind::kNone;
}

const char* nameOf(MediaKind kind) {
    return rowOf(kind).name;
}

EN_MM_INTERFACE_MEDIA_TYPE interfaceType(MediaKind kind) {
    return rowOf(kind).interfaceType;
}

MM_MEDIATYPE serviceType(MediaKind kind) {
    return rowOf(kind).serviceType;
}

const char* speedText(MM_TRICK_MODE mode) {
    return mode >= 0 && mode < MM_TRICK_NUM ? kSpeeds[mode] : "?";
}

MM_TRICK_MODE forwardMode(long factor) {
    return modeOf(factor, MM_TRICK_FF_2X);
}

MM_TRICK_MODE backwardMode(long factor) {
    return modeOf(factor, MM_TRICK_FB_2X);
}

MM_TRICK_MODE slowMode(long divisor) {
    return modeOf(divisor, MM_TRICK_SF_2X);
}

MM_TRICK_MODE nextForward(MM_TRICK_MODE current) {
    return nextOf(current, MM_TRICK_FF_2X);
}

MM_TRICK_MODE nextBackward(MM_TRICK_MODE current) {
    return nextOf(current, MM_TRICK_FB_2X);
}

MM_TRICK_MODE nextSlow(MM_TRICK_MODE current) {
    return nextOf(current, MM_TRICK_SF_2X);
}

const char* stateText(MM_STATE state) {
    constexpr const char* kStates[] = {"idle",   "loading", "playing",
                                       "paused", "stopped", "finished"};
    static_assert(sizeof kStates / sizeof *kStates == MM_STATE_FINISHED + 1, "one word a state");
    return state >= MM_STATE_IDLE && state <= MM_STATE_FINISHED ? kStates[state] : "?";
}

} // namespace tv
