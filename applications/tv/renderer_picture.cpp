// The viewer's adjustments of the picture and the choice of what is heard.
#include <algorithm>
#include <cstdlib>

#include "statebus/quiet_reading.h"
#include "tv/renderer.h"

namespace tv {

namespace {

using statebus::QuietReading;

constexpr long kMostZoom = 3;
constexpr long kQuarterTurns = 4;
constexpr long kRatios = 9;

const char kNoPicture[] = "no movie or photo is on";
const char kNoMovie[] = "no movie is on";

KetraSrv_DLNADMR& service() {
    return *KetraSrv_DLNADMR::GetInstance();
}

Outcome refused(const char* why) {
    return {false, why};
}

struct Direction {
    const char* word;
    EN_MM_INTERFACE_MOVE_DIRECTION direction;
};
constexpr Direction kDirections[] = {
    {"up", E_MM_INTERFACE_MOVE_UP},
    {"down", E_MM_INTERFACE_MOVE_DOWN},
    {"left", E_MM_INTERFACE_MOVE_LEFT},
    {"right", E_MM_INTERFACE_MOVE_RIGHT},
};

struct RepeatWord {
    const char* word;
    EN_MM_INTERFACE_REPEAT_AB what;
};
constexpr RepeatWord kRepeats[] = {
    {"none", E_MM_INTERFACE_REPEAT_AB_NONE},
    {"a", E_MM_INTERFACE_REPEAT_AB_A},
    {"ab", E_MM_INTERFACE_REPEAT_AB_AB},
};

ST_MM_INTERFACE_RECT rectangleOf(const std::vector<long>& numbers) {
    ST_MM_INTERFACE_RECT rectangle{};
    if (numbers.size() == 4) {
        rectangle.s32X = static_cast<std::int32_t>(numbers[0]);
        rectangle.s32Y = static_cast<std::int32_t>(numbers[1]);
        rectangle.u16Width = static_cast<std::uint16_t>(numbers[2]);
        rectangle.u16Height = static_cast<std::uint16_t>(numbers[3]);
    }
    return rectangle;
}

} // namespace

bool Renderer::isMovieOrPhoto() const {
    return media_ == MediaKind::kMovie || media_ == MediaKind::kPhoto;
}

void Renderer::forgetAdjustments() {
    repeat_ = E_MM_INTERFACE_REPEAT_AB_NONE;
    const long ratio = set_.ratio;
    set_ = {};
    set_.ratio = ratio;
}

Outcome Renderer::zoomTo(long steps) {
    if (!isMovieOrPhoto())
        return refused(kNoPicture);
    const QuietReading quiet;
    const auto scale =
        static_cast<EN_MM_INTERFACE_ZOOM_SCALE>(E_MM_INTERFACE_ZOOM_SCALE_X1 + steps);
    service().MM_Interface_Zoom(interfaceType(media_), scale);
    set_.zoom = steps;
    if (steps <= 0)
        set_.moved = false;
    return {};
}

Outcome Renderer::zoomBy(long steps) {
    if (!isMovieOrPhoto())
        return refused(kNoPicture);
    const long then = std::clamp(set_.zoom + steps, -kMostZoom, kMostZoom);
    return then == set_.zoom ? refused("it cannot be zoomed further") : zoomTo(then);
}

Outcome Renderer::rotateTo(long quarterTurns) {
    if (!isMovieOrPhoto())
        return refused(kNoPicture);
    const QuietReading quiet;
    service().MM_Interface_Rotate(interfaceType(media_),
                                  static_cast<EN_MM_INTERFACE_DEGREE>(quarterTurns));
    set_.turn = quarterTurns;
    return {};
}

Outcome Renderer::rotateBy(long quarterTurns) {
    if (!isMovieOrPhoto())
        return refused(kNoPicture);
    return rotateTo((set_.turn + quarterTurns) % kQuarterTurns);
}

Outcome Renderer::plainPicture() {
    const Outcome zoomed = zoomTo(0);
    return zoomed.ok ? rotateTo(0) : zoomed;
}

Outcome Renderer::move(const std::string& direction, long pixels) {
    if (!isMovieOrPhoto())
        return refused(kNoPicture);
    const QuietReading quiet;
    for (const Direction& known : kDirections) {
        if (direction == known.word) {
            service().MM_Interface_MoveView(interfaceType(media_), known.direction,
                                            static_cast<U32>(pixels));
            set_.moved = set_.zoom > 0; // of the whole picture nothing can be moved
            return {};
        }
    }
    return refused("there is no such direction");
}

Outcome Renderer::repeat(const std::string& what) {
    if (media_ != MediaKind::kMovie)
        return refused(kNoMovie);
    const QuietReading quiet;
    const long next = (repeat_ + 1) % 3;
    for (const RepeatWord& known : kRepeats) {
        if (what.empty() ? known.what == next : what == known.word) {
            repeat_ = known.what;
            set_.repeat = known.word;
            service().MM_Interface_SetRepeatAB(interfaceType(media_), repeat_);
            return {true, known.word};
        }
    }
    return refused("there is no such part");
}

Outcome Renderer::audioTrack(long index) {
    if (media_ != MediaKind::kMovie)
        return refused(kNoMovie);
    const QuietReading quiet;
    if (service().MM_Interface_ChangeAudioTrack(interfaceType(media_), static_cast<U32>(index)) ==
        FALSE)
        return refused("there is no such sound track");
    return {true, std::to_string(index)};
}

Outcome Renderer::nextAudioTrack() {
    if (media_ != MediaKind::kMovie)
        return refused(kNoMovie);
    const QuietReading quiet;
    std::string count;
    if (service().MM_Interface_GetMetaData(interfaceType(media_),
                                           E_MM_INTERFACE_META_NB_AUDIO_TRACK, count) == FALSE)
        return refused("how many sound tracks there are is not known");
    const long tracks = std::atol(count.c_str());
    if (tracks < 2)
        return refused("there is no other sound track");
    const U32 now = service().MM_Interface_GetAudioTrackIndex(interfaceType(media_));
    return audioTrack((static_cast<long>(now) + 1) % tracks);
}

Outcome Renderer::ratio(long number) {
    if (!isMovieOrPhoto())
        return refused(kNoPicture);
    const QuietReading quiet;
    // The interface takes a shape for movies only; the player shapes whatever picture is on.
    if (service().MM_Interface_SetDisplayAspectRatio(
            E_MM_INTERFACE_MEDIA_MOVIE, static_cast<EN_MM_INTERFACE_ASPECT_RATIO>(number)) == FALSE)
        return refused("there is no such shape");
    set_.ratio = number;
    return {true, std::to_string(number)};
}

Outcome Renderer::nextRatio() {
    return ratio((set_.ratio + 1) % kRatios);
}

Outcome Renderer::applyRectangles() {
    const QuietReading quiet;
    if (service().MM_Interface_SetCropDisplayRectangle(interfaceType(media_), crop_, place_,
                                                       blank_ ? 1 : 0, stretch_ ? 0 : 1) == FALSE)
        return refused("the player is not there");
    return {};
}

Outcome Renderer::crop(const std::vector<long>& rectangle) {
    crop_ = rectangleOf(rectangle);
    return applyRectangles();
}

Outcome Renderer::place(const std::vector<long>& rectangle) {
    place_ = rectangleOf(rectangle);
    return applyRectangles();
}

Outcome Renderer::blank(bool on) {
    blank_ = on;
    return applyRectangles();
}

Outcome Renderer::stretch(bool on) {
    stretch_ = on;
    return applyRectangles();
}

} // namespace tv
