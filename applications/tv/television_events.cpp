#include "statebus/visible_text.h"
#include "tv/television.h"

namespace tv {

namespace {

constexpr std::chrono::milliseconds kLookAgain{10};

} // namespace

BOOL Television::OnEvt(unsigned long type, unsigned long code, unsigned long parameter) {
    const Event event = renderer_.receive(type, code, parameter);
    // Before it is told: who hears of the end of playback may count on being asked about.
    if (screen_.onEvent(event))
        renderer_.leave();
    report_.event(event);
    script_.onEvent(event.name);
    if (event.code == MM_REQ_TO_AUTH && renderer_.isRunning())
        onRequest(event);
    return TRUE;
}

void Television::onRequest(const Event& event) {
    const Answer decided = permission_.onRequest(event);
    if (decided == Answer::kNone) {
        report_.text(permission_.open()->text() + " (y/n)\n");
        return;
    }
    const bool allow = decided == Answer::kAllow;
    const Outcome outcome = answer(allow);
    report_.reply(allow ? "allow" : "deny", outcome.ok, outcome.text);
}

Status Television::status() {
    Status status = renderer_.status();
    if (!watch_)
        return status;
    const Companions companions = watch_->now();
    status.name = companions.name;
    status.volume = companions.volume;
    status.muted = companions.muted;
    return status;
}

void Television::expectCompanions() {
    ready_ = false;
    companionsDeadline_ = std::chrono::steady_clock::now() + options_.patience;
}

bool Television::areThere(const Companions& now) {
    lookAgain_.reset();
    if (now.players.empty() || !now.daemon || now.daemonStarts <= daemonStartsBefore_)
        return false;
    if (!wantVisible_)
        return true;
    if (!now.visible)
        return false;
    // The library hears of it on a way of its own, and does not tell. Until it has, it would not
    // take leave of the network at a shut-down.
    if (renderer_.status().visible)
        return true;
    lookAgain_ = std::chrono::steady_clock::now() + kLookAgain;
    return false;
}

void Television::onCompanions() {
    if (!renderer_.isRunning())
        return;
    const Companions now = watch_->now();
    if (now.connected != known_.connected)
        report_.notice(now.connected ? "the state bus is back" : "the state bus is gone");
    if (now.players.size() > 1 && known_.players.size() <= 1)
        report_.problem("another player is on the state bus: what it does is taken for this TV's, "
                        "whose commands go on to its own player");
    if (ready_) {
        if (now.players.empty() && !known_.players.empty())
            report_.problem("the player is gone; nothing can be played until the TV is started "
                            "again");
        if (!now.daemon && known_.daemon)
            report_.problem("the renderer daemon is gone; no controller finds the TV until it is "
                            "started again");
    } else if (areThere(now)) {
        ready_ = wasReady_ = true;
        companionsDeadline_.reset();
        report_.ready(now.name);
        onComplaint();
    }
    if (!now.daemon && known_.daemon)
        permission_.answered(); // nobody is left to tell an answer to
    known_ = now;
    if (permission_.onPending(now.requests, now.newestRequest))
        report_.notice("the question is no longer open: it was withdrawn, or nobody answered in "
                       "time");
}

void Television::onComplaint() {
    // Before the TV is ready they may be the reasons why it cannot be, which are told together.
    if (!wasReady_ || !renderer_.isRunning())
        return;
    for (const std::string& line : errors_.complaints())
        report_.problem(statebus::visibleText(line));
}

void Television::noticeEndedCompanions() {
    if (!companionsDeadline_)
        return;
    const Companions now = watch_->now();
    const bool player = !now.players.empty() || runsCompanion(kPlayerPath);
    const bool daemon = now.daemon || runsCompanion(kDaemonPath);
    if (!player || !daemon)
        onCompanionsMissing(now);
}

void Television::onCompanionsMissing(const Companions& companions) {
    companionsDeadline_.reset();
    const std::string within = " within " + std::to_string(options_.patience.count()) + " seconds";
    const bool player = !companions.players.empty();
    const bool daemon = companions.daemon && companions.daemonStarts > daemonStartsBefore_;
    const bool playerEnded = !player && !runsCompanion(kPlayerPath);
    const bool daemonEnded = !daemon && !runsCompanion(kDaemonPath);
    // Beside one that has ended, one that is only not there yet is none of the reasons.
    const bool allAreTold = !playerEnded && !daemonEnded;
    const auto missing = [&](const char* who, const char* program, bool runs) {
        report_.problem(std::string(who) +
                        (runs ? " did not appear on the state bus" + within
                              : " ended before it appeared on the state bus") +
                        "; " + program);
        // One that ended was there, and something kept it from starting: a setting, mostly.
        end(runs ? ExitCode::kNoCompanion : ExitCode::kNotStarted);
    };
    if (playerEnded || (allAreTold && !player))
        missing("the player", kPlayerPath, !playerEnded);
    if (daemonEnded || (allAreTold && !daemon))
        missing("the renderer daemon", kDaemonPath, !daemonEnded);
    if (player && daemon)
        report_.problem("the renderer daemon did not report itself visible" + within + "; " +
                        kDaemonPath);
    const std::vector<std::string> errors = wasReady_ ? errors_.complaints() : errors_.last();
    for (const std::string& line : errors)
        report_.problem(statebus::visibleText(line));
    if (errors.empty() && !options_.verbose)
        report_.notice("--verbose shows what the companions say");
}

} // namespace tv
