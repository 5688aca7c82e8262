// The television's use of the renderer library, and nothing but what it allows: an operation that
// the library answers by aborting, because it makes no sense for the current media, is refused
// here with a reason. Middleware thread.
//
// What the library's delivery thread writes is read, and commands are sent, while delivery is held
// back; shutting down and renaming wait for reports and therefore run without that.
#pragma once

#include <string>
#include <vector>

#include "tv/events.h"
#include "tv/permission.h"
#include "tv/seek_target.h"
#include "tv/status_line.h"

namespace tv {

/// What became of a request, and why it was refused.
struct Outcome {
    bool ok = true;
    std::string text;
};

class Renderer {
public:
    /// Starts the library and with it the companion processes. False: it did not start, and must
    /// not be shut down either: the library takes that for a programming error.
    bool start();
    /// Ends playback and the companions and destroys the service. May wait for long.
    void shutDown();
    bool isRunning() const { return running_; }

    /// Decodes an event and remembers what it says about the current media.
    Event receive(unsigned long type, unsigned long code, unsigned long parameter);
    Status status();

    Outcome pause();
    Outcome resume();
    Outcome pauseOrResume();
    Outcome seekTo(long seconds);
    Outcome seekBy(long seconds);
    /// A factor of 0 asks for the next step.
    Outcome forward(long factor);
    Outcome backward(long factor);
    Outcome slow(long divisor);
    Outcome stop();

    // The picture and the sound of what is on, in renderer_picture.cpp.

    /// Steps from -3 to 3, each doubles.
    Outcome zoomTo(long steps);
    Outcome zoomBy(long steps);
    Outcome rotateTo(long quarterTurns);
    Outcome rotateBy(long quarterTurns);
    /// Neither zoomed nor turned.
    Outcome plainPicture();
    /// "up", "down", "left", "right"; in pixels of the screen.
    Outcome move(const std::string& direction, long pixels);
    /// "a", "ab", "none"; "": the next of these.
    Outcome repeat(const std::string& what);
    Outcome audioTrack(long index);
    Outcome nextAudioTrack();
    Outcome ratio(long number);
    Outcome nextRatio();
    /// X, y, width and height, or nothing for all of it.
    Outcome crop(const std::vector<long>& rectangle);
    Outcome place(const std::vector<long>& rectangle);
    Outcome blank(bool on);
    Outcome stretch(bool on);

    Outcome volumeUp();
    Outcome volumeDown();
    Outcome mute(bool on);

    /// Answers exactly this question: refused when the service has meanwhile taken a newer one.
    Outcome answer(const Question& question, bool allow);
    /// Who is asked about at all.
    Outcome setPolicy(AnswerMode mode);
    Outcome setVisible(bool visible);
    /// May wait for long: the renderer daemon is started anew.
    Outcome rename(const std::string& name);
    /// The TV no longer shows the renderer.
    void leave();

private:
    void remember(const Event& event);
    std::vector<Detail> metadata(MediaKind kind);
    Outcome changeSpeed(MM_TRICK_MODE mode, const char* refusal);
    /// Refusal when nothing is on whose speed or position could change.
    bool isMovieOrMusic() const;
    bool isMovieOrPhoto() const;
    /// Every media begins with the whole picture, upright, and from its start to its end; the shape
    /// stays.
    void forgetAdjustments();
    Outcome applyRectangles();
    /// Seconds; none while it is not known, also below. Read the service: delivery has to be held
    /// back.
    std::optional<std::uint32_t> reportedPosition() const;
    std::optional<std::uint32_t> duration() const;

    bool running_ = false;
    MediaKind media_ = MediaKind::kNone; ///< what is on, by its events
    std::string title_;
    SeekTarget target_;
    // What was asked of the player, which nobody can be asked about.
    EN_MM_INTERFACE_REPEAT_AB repeat_ = E_MM_INTERFACE_REPEAT_AB_NONE;
    Adjustments set_;
    ST_MM_INTERFACE_RECT crop_{};
    ST_MM_INTERFACE_RECT place_{};
    bool blank_ = false;
    bool stretch_ = false;
    const DMRMediaInfo* info_ = nullptr;      ///< the service's own, of what is on
    const DMRAuthRequest* request_ = nullptr; ///< the service's own, from its last event
};

} // namespace tv
