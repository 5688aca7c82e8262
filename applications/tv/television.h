// The television: starts the renderer library as a TV's middleware does, handles its events on one
// thread, and lets a person or a script use the remote control. Main thread throughout; that is the
// middleware thread of this process.
#pragma once

#include <chrono>
#include <functional>
#include <memory>

#include "ketra/KetraSrv.h"
#include "tv/companion_errors.h"
#include "tv/companions.h"
#include "tv/console.h"
#include "tv/input.h"
#include "tv/options.h"
#include "tv/output.h"
#include "tv/patience.h"
#include "tv/permission.h"
#include "tv/remote_keys.h"
#include "tv/renderer.h"
#include "tv/report.h"
#include "tv/script.h"
#include "tv/signals.h"
#include "tv/terminal.h"

namespace tv {

enum class ExitCode {
    kOk = 0,
    kUsage = 2,
    kNotStarted = 3,
    kNoBus = 4,
    kNoCompanion = 5,
    kWaitedInVain = 6,
    kRefused = 7, ///< a command of a script had no effect
};

class Television : private KetraEvtHandle {
public:
    /// `output` is diverted already and outlives the television.
    Television(const Options& options, const Output& output);
    ~Television() override;

    /// From start to shut-down.
    ExitCode run();

private:
    using Time = std::chrono::steady_clock::time_point;

    // television.cpp: start, loop, end
    bool loadScript();
    bool findCompanions();
    bool start();
    void loop();
    /// Kill what the library waits for in vain. False: there was nothing to kill.
    bool endByForce(const char* program);
    bool endDaemonByForce();
    /// Ends the process where nothing of its own is left to be waited for: a player of somebody
    /// else keeps the library from ending. On the thread of the patience.
    [[noreturn]] void giveUp();
    /// Kills a daemon that stands still. May take as long as the state bus waits for an answer.
    void endDaemonThatDoesNotAnswer();
    void shutDown();
    void end(ExitCode code);
    std::optional<Time> nextDeadline() const;
    /// Not while the companions are expected: what is asked of a TV that is not there yet, or not
    /// yet again, could only be refused.
    bool carriesOutLines() const { return !companionsDeadline_; }
    void onTime(Time now);
    void onInput();
    void onLine(const std::string& line);
    /// Adds a line to the script, or says at which place it is none.
    void addLine(const std::string& line, long number, const std::string& place);
    void showStatusLine();

    // television_events.cpp: what comes from the middleware and the companions
    BOOL OnEvt(unsigned long type, unsigned long code, unsigned long parameter) override;
    void onRequest(const Event& event);
    void onCompanions();
    void expectCompanions();
    /// At a terminal: what the companions warn of, once the TV is ready.
    void onComplaint();
    /// Whether both companions can be used, for the library too.
    bool areThere(const Companions& now);
    /// Ends the TV when one of them has ended before it was there.
    void noticeEndedCompanions();
    void onCompanionsMissing(const Companions& companions);
    Status status();

    // television_commands.cpp: what is asked of it
    void carryOut(const Command& command);
    Outcome perform(const Command& command);
    Outcome answer(bool allow);
    Outcome rename(const std::string& name);
    Outcome ofThePlayer(const Command& command);
    bool waitsUntil(const std::function<bool()>& isDone, std::chrono::milliseconds patience) const;
    /// Until the status says so, too.
    Outcome setVisible(bool visible);
    Outcome snapshot(const std::string& file);

    const Options options_;
    EndingSignals signals_;
    CompanionErrors errors_;
    Report report_;
    const Console console_;
    KeyByKey keys_;
    RemoteKeys remote_;
    LineSplitter lines_;
    bool inputEnded_ = false;
    long inputLine_ = 0; ///< lines of standard input so far
    Script script_;
    Permission permission_;
    RendererScreen screen_;
    Renderer renderer_;
    const std::string pictureFolder_; ///< where the player may write
    std::unique_ptr<CompanionWatch> watch_;

    bool ended_ = false;
    ExitCode code_ = ExitCode::kOk;
    ExitCode blame_ = ExitCode::kOk; ///< instead of kOk, when lines were not carried out

    Companions known_;                       ///< as they were last told about
    bool ready_ = false;                     ///< both companions are there
    bool wasReady_ = false;                  ///< they were, at least once
    bool wantVisible_ = true;                ///< what was asked for last
    std::optional<Time> companionsDeadline_; ///< until when they have to be there
    std::optional<Time> lookAgain_;          ///< when the library may know, too
    unsigned daemonStartsBefore_ = 0;        ///< a daemon that is to come must be a later one
};

} // namespace tv
