// Questions of permission: which request is open, and who answers it. Main thread.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <set>
#include <string>

#include "tv/events.h"
#include "tv/options.h"

namespace tv {

/// A controller that waits for an answer.
struct Question {
    std::uint32_t request = 0;
    std::string title;
    std::string mime;
    std::string controller;

    /// One sentence for a person, texts from the network made harmless.
    std::string text() const;
};

enum class Answer { kNone, kAllow, kDeny };

class Permission {
public:
    explicit Permission(AnswerMode mode) : mode_(mode) {}

    void setMode(AnswerMode mode) { mode_ = mode; }

    /// A request came; kNone: a person has to be asked.
    Answer onRequest(const Event& request);
    /// The question that waits for a person.
    const std::optional<Question>& open() const { return open_; }
    /// It was answered.
    void answered() { open_.reset(); }
    /// The requests that the daemon still holds, and the newest that it has told of. True when the
    /// open question is not among them any more, that is when nobody answered in time; it is then
    /// closed.
    bool onPending(const std::set<std::uint32_t>& requests, std::uint32_t newest);

private:
    AnswerMode mode_;
    std::optional<Question> open_;
};

/// Whether the TV shows the renderer. While it does, the service lets further controllers in
/// without a question; so the renderer is left as soon as playback has ended, or when the one who
/// was let in begins nothing.
class RendererScreen {
public:
    using Time = std::chrono::steady_clock::time_point;

    void onAllowed(Time now);
    /// True when the renderer is to be left.
    bool onEvent(const Event& event);
    bool onTime(Time now);
    bool onHidden();
    /// When `onTime` should be asked.
    std::optional<Time> deadline() const { return beginBefore_; }

private:
    bool shown_ = false;
    std::optional<Time> beginBefore_;
};

} // namespace tv
