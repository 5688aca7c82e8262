#include "mode_tables.h"

#include <cstddef>
#include <cstring>

namespace modes {
namespace {

// Every table is read by its index, the number of the value.

constexpr Speed kSpeeds[] = {
    {MM_TRICK_NORMAL, "1", 1.0},       {MM_TRICK_FF_2X, "2", 2.0},
    {MM_TRICK_FF_4X, "4", 4.0},        {MM_TRICK_FF_8X, "8", 8.0},
    {MM_TRICK_FF_16X, "16", 16.0},     {MM_TRICK_FF_32X, "32", 32.0},
    {MM_TRICK_FB_2X, "-2", -2.0},      {MM_TRICK_FB_4X, "-4", -4.0},
    {MM_TRICK_FB_8X, "-8", -8.0},      {MM_TRICK_FB_16X, "-16", -16.0},
    {MM_TRICK_FB_32X, "-32", -32.0},   {MM_TRICK_SF_2X, "1/2", 0.5},
    {MM_TRICK_SF_4X, "1/4", 0.25},     {MM_TRICK_SF_8X, "1/8", 0.125},
    {MM_TRICK_SF_16X, "1/16", 0.0625}, {MM_TRICK_SF_32X, "1/32", 0.03125},
};

constexpr MM_MEDIATYPE kMediaTypes[] = {MM_MEDIATYPE_PHOTO, MM_MEDIATYPE_MUSIC, MM_MEDIATYPE_MOVIE};

constexpr const char* kZooms[] = {"Zoom/8", "Zoom/4", "Zoom/2", "Zoomx1",
                                  "Zoomx2", "Zoomx4", "Zoomx8"};
constexpr const char* kRotations[] = {"000", "090", "180", "270"};
constexpr const char* kDirections[] = {"UP", "DOWN", "LEFT", "RIGHT"};
constexpr const char* kRepeats[] = {"NONE", "A", "AB"};

template <typename Row, std::size_t Size> constexpr std::size_t rows(const Row (&)[Size]) {
    return Size;
}

static_assert(rows(kSpeeds) == MM_TRICK_PAUSE);
static_assert(rows(kMediaTypes) == E_MM_INTERFACE_MEDIA_MOVIE + 1);
static_assert(rows(kZooms) == MM_ZOOM_NUM);
static_assert(rows(kRotations) == MM_ROTATION_NUM);
static_assert(rows(kDirections) == MM_MOVE_RIGHT + 1);
static_assert(rows(kRepeats) == MM_REPEATAB_AB + 1);

/// The row with the number `aValue`, null when there is none.
template <typename Row, std::size_t Size>
const Row* rowOf(const Row (&aTable)[Size], std::int32_t aValue) {
    return aValue >= 0 && static_cast<std::size_t>(aValue) < Size ? &aTable[aValue] : nullptr;
}

template <std::size_t Size>
const char* textOf(const char* const (&aTable)[Size], std::int32_t aValue) {
    const char* const* row = rowOf(aTable, aValue);
    return row != nullptr ? *row : nullptr;
}

} // namespace

const Speed* speedOf(MM_TRICK_MODE aMode) {
    return rowOf(kSpeeds, aMode);
}

const Speed* speedWritten(const char* aText) {
    for (const Speed& speed : kSpeeds) {
        if (std::strcmp(speed.text, aText) == 0) {
            return &speed;
        }
    }
    return nullptr;
}

bool toMediaType(EN_MM_INTERFACE_MEDIA_TYPE aMediaType, MM_MEDIATYPE& aType) {
    const MM_MEDIATYPE* row = rowOf(kMediaTypes, aMediaType);
    if (row == nullptr) {
        return false;
    }
    aType = *row;
    return true;
}

bool toPictureType(EN_MM_INTERFACE_MEDIA_TYPE aMediaType, MM_MEDIATYPE& aType) {
    return aMediaType != E_MM_INTERFACE_MEDIA_MUSIC && toMediaType(aMediaType, aType);
}

const char* zoomText(MM_ZOOM aZoom) {
    return textOf(kZooms, aZoom);
}

const char* rotationText(MM_ROTATION aRotation) {
    return textOf(kRotations, aRotation);
}

const char* directionText(MM_MOVE_DIRECTION aDirection) {
    return textOf(kDirections, aDirection);
}

const char* repeatText(MM_REPEATAB_STATUS aStatus) {
    return textOf(kRepeats, aStatus);
}

} // namespace modes
