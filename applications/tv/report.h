// Everything that the TV tells: one line an event, in the order in which the middleware received
// them, written at once. Plain text for people, or one JSON object a line for programs; and on a
// terminal a status line below. Middleware thread, except `problem` and `notice`: any thread.
#pragma once

#include <mutex>
#include <string>

#include "tv/events.h"
#include "tv/status_line.h"

namespace tv {

enum class Format { kPlain, kJson };

// The lines, with their line end. Texts from the network are made harmless: escaped in plain text,
// by JSON's own rules in JSON (bytes that are not UTF-8 become U+FFFD there).

/// "event 5 MM_START_PLAY movie", then name=value for each detail, texts quoted. In plain text the
/// marked end of the player is a notice.
std::string eventLine(const Event& event, Format format);
/// Something that a person should know.
std::string noticeLine(const std::string& text, Format format);
/// Something that went wrong.
std::string problemLine(const std::string& text, Format format);
/// What became of a command.
std::string replyLine(const std::string& command, bool ok, const std::string& text, Format format);
std::string statusReport(const Status& status, Format format);
/// The renderer is on the network and can be used.
std::string readyLine(const std::string& name, Format format);

class Report {
public:
    /// Writes to a descriptor that stays the caller's.
    Report(int descriptor, Format format);

    void event(const Event& event) { line(eventLine(event, format_)); }
    void notice(const std::string& text) { line(noticeLine(text, format_)); }
    void problem(const std::string& text) { line(problemLine(text, format_)); }
    void reply(const std::string& command, bool ok, const std::string& text) {
        line(replyLine(command, ok, text, format_));
    }
    void status(const Status& status) { line(statusReport(status, format_)); }
    void ready(const std::string& name) { line(readyLine(name, format_)); }
    /// Text of its own for a person; not written in JSON.
    void text(const std::string& text);

    /// Whether a status line can be shown: plain text to a terminal.
    bool hasStatusLine() const { return terminal_; }
    /// Columns of the terminal.
    std::size_t width() const;
    /// Replaces the status line; empty: takes it away.
    void setStatusLine(const std::string& text);

private:
    void line(const std::string& line);
    void write(const std::string& bytes); // with mutex_ held

    const int descriptor_;
    const Format format_;
    const bool terminal_;
    std::mutex mutex_; // guards the descriptor's order and statusLine_
    std::string statusLine_;
};

} // namespace tv
