#include "tv/television.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <utility>

#include <poll.h>
#include <unistd.h>

#include "middleware/event_loop.h"

namespace tv {

namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

constexpr milliseconds kStatusPeriod{500};
/// Whether they have ended is looked up, not told: the library has the signal of it ignored.
constexpr milliseconds kCompanionsPeriod{100};
/// Another television's companions would be known by then.
constexpr milliseconds kLookAround{100};
/// Companions of a television that was killed end by themselves within this time.
constexpr milliseconds kOthersMayLeave{3000};

constexpr char kPictureFolder[] = "KETRA_SNAPSHOT_DIR";

/// As an absolute path: the companions may have a working directory of their own.
std::string folderFromEnvironment() {
    const char* folder = std::getenv(kPictureFolder);
    std::error_code error;
    const auto path =
        std::filesystem::absolute(folder != nullptr && *folder != '\0' ? folder : ".", error);
    return error ? "." : path.lexically_normal().string();
}

bool isFree(const Companions& companions) {
    return companions.players.empty() && !companions.daemon;
}

} // namespace

Television::Television(const Options& options, const Output& output)
    : options_(options),
      errors_(output.errors(),
              [this] { middleware::EventLoop::instance().postTask([this] { onComplaint(); }); }),
      report_(output.own(), options.json ? Format::kJson : Format::kPlain),
      keys_(console_.input()),
      permission_(options.answer),
      pictureFolder_(folderFromEnvironment()),
      watch_(std::make_unique<CompanionWatch>([this] { onCompanions(); })) {}

Television::~Television() = default;

ExitCode Television::run() {
    if (!loadScript() || !findCompanions() || !start())
        return code_;
    loop();
    shutDown();
    return code_;
}

void Television::end(ExitCode code) {
    if (!ended_)
        code_ = code == ExitCode::kOk ? blame_ : code;
    ended_ = true;
}

bool Television::loadScript() {
    if (options_.script.empty() || options_.script == "-")
        return true;
    std::ifstream file(options_.script);
    if (!file) {
        report_.problem("cannot read " + options_.script + ": " + std::strerror(errno));
        end(ExitCode::kUsage);
        return false;
    }
    std::string line;
    for (long number = 1; std::getline(file, line); ++number)
        addLine(line, number, options_.script + ':' + std::to_string(number));
    if (blame_ != ExitCode::kOk)
        end(blame_);
    return !ended_;
}

void Television::addLine(const std::string& line, long number, const std::string& place) {
    auto parsed = parseLine(line);
    if (const auto* problem = std::get_if<std::string>(&parsed)) {
        report_.problem(place + ": " + *problem);
        blame_ = ExitCode::kUsage;
        return;
    }
    auto& command = std::get<Command>(parsed);
    command.lineNumber = number;
    script_.add(std::move(command));
}

bool Television::findCompanions() {
    for (const char* path : {kPlayerPath, kDaemonPath}) {
        if (access(path, X_OK) == 0)
            continue;
        report_.problem(std::string("the companion ") + path +
                        " cannot be started: " + std::strerror(errno));
        end(ExitCode::kNoCompanion);
    }
    return !ended_;
}

bool Television::start() {
    // The player writes pictures into one folder only, which it has to know from the start. Set
    // while there is one thread yet.
    setenv(kPictureFolder, pictureFolder_.c_str(), 1);
    // So that a companion can tell that this process died before the companion looked.
    setenv("KETRA_TV_PID", std::to_string(getpid()).c_str(), 1);
    if (!watch_->open()) {
        report_.problem("no state bus answers; KETRA_BUS_ADDRESS or DBUS_SESSION_BUS_ADDRESS names "
                        "it");
        end(ExitCode::kNoBus);
        return false;
    }
    auto& events = middleware::EventLoop::instance();
    const Time begun = steady_clock::now();
    for (Time now = begun; now < begun + (isFree(watch_->now()) ? kLookAround : kOthersMayLeave);
         now = steady_clock::now())
        events.dispatch(milliseconds(10));
    if (!isFree(watch_->now())) {
        report_.problem("another television uses this state bus already");
        end(ExitCode::kNotStarted);
        return false;
    }
    events.addHandler(*this);
    expectCompanions();
    if (!renderer_.start()) {
        events.removeHandler(*this);
        report_.problem("the renderer did not start; --verbose shows what it says");
        end(ExitCode::kNotStarted);
        return false;
    }
    if (keys_.isTerminal() && options_.script != "-")
        report_.text("The keyboard is the remote control, ? lists the keys.\n");
    return true;
}

std::optional<Television::Time> Television::nextDeadline() const {
    std::optional<Time> next;
    const auto consider = [&](const std::optional<Time>& time) {
        if (time && (!next || *time < *next))
            next = time;
    };
    if (carriesOutLines())
        consider(script_.wakeUp());
    consider(screen_.deadline());
    consider(companionsDeadline_);
    if (companionsDeadline_)
        consider(steady_clock::now() + kCompanionsPeriod);
    consider(lookAgain_);
    if (report_.hasStatusLine())
        consider(steady_clock::now() + kStatusPeriod);
    return next;
}

void Television::loop() {
    auto& events = middleware::EventLoop::instance();
    while (!ended_) {
        onTime(steady_clock::now());
        if (ended_)
            break;
        showStatusLine();
        int wait = -1;
        if (const auto deadline = nextDeadline()) {
            const auto left = *deadline - steady_clock::now();
            wait = static_cast<int>(
                std::max<long long>(std::chrono::ceil<milliseconds>(left).count(), 0));
        }
        pollfd ready[] = {{signals_.descriptor(), POLLIN, 0},
                          {events.fileDescriptor(), POLLIN, 0},
                          {inputEnded_ ? -1 : console_.input(), POLLIN, 0}};
        if (poll(ready, 3, wait) < 0)
            continue;
        if (ready[0].revents != 0 && signals_.take())
            end(ExitCode::kOk);
        if (ready[1].revents != 0)
            events.dispatchPending();
        if (ready[2].revents != 0)
            onInput();
    }
}

void Television::onTime(Time now) {
    if (lookAgain_ && now >= *lookAgain_)
        onCompanions(); // first: it may be what the script waits for
    if (companionsDeadline_ && now >= *companionsDeadline_)
        onCompanionsMissing(watch_->now()); // then its lines wait no longer
    while (!ended_ && carriesOutLines()) {
        const auto command = script_.next(now);
        if (!command)
            break;
        carryOut(*command);
        // What the command caused may be what the script waits for next.
        middleware::EventLoop::instance().dispatchPending();
    }
    if (script_.inVain()) {
        report_.problem("line " + std::to_string(script_.inVain()->lineNumber) +
                        ": waited in vain for " + script_.inVain()->text);
        end(ExitCode::kWaitedInVain);
    }
    if (screen_.onTime(now))
        renderer_.leave();
    noticeEndedCompanions();
}

void Television::onInput() {
    const InputChunk chunk = readChunk(console_.input());
    inputEnded_ = chunk.ended;
    if (keys_.isTerminal() && options_.script != "-") {
        for (const Command& command : remote_.feed(chunk.bytes))
            carryOut(command);
        return;
    }
    for (const std::string& line : lines_.feed(chunk.bytes))
        onLine(line);
    if (inputEnded_)
        onLine(lines_.finish());
}

void Television::onLine(const std::string& line) {
    ++inputLine_;
    addLine(line, inputLine_, "line " + std::to_string(inputLine_));
}

void Television::showStatusLine() {
    if (!report_.hasStatusLine())
        return;
    const std::size_t width = report_.width();
    if (!remote_.prompt().empty())
        report_.setStatusLine(fitted(remote_.prompt(), width));
    else if (permission_.open())
        report_.setStatusLine(fitted("y/n: " + permission_.open()->text(), width));
    else
        report_.setStatusLine(statusLine(status(), width));
}

/// The library waits for ever for a companion that lives and does not react. Of one that is dead
/// the state bus tells, and the library goes on.
bool Television::endByForce(const char* program) {
    const bool onlyOne = program != kPlayerPath || watch_->now().players.size() <= 1;
    if (program == nullptr || !killCompanion(program))
        return false;
    report_.problem(program + std::string(onlyOne ? " does not react and was killed"
                                                  : " was killed: the library waits until every "
                                                    "player on the state bus has stopped"));
    return true;
}

bool Television::endDaemonByForce() {
    // Once the old one has gone the one that comes next is left alone.
    return watch_->now().daemon && endByForce(kDaemonPath);
}

void Television::giveUp() {
    report_.problem("the library cannot be shut down: " + reasonToWait(watch_->now()));
    for (const char* program : {kPlayerPath, kDaemonPath})
        killCompanion(program);
    _exit(static_cast<int>(code_));
}

void Television::endDaemonThatDoesNotAnswer() {
    // The library begins with two requests to it. With a daemon that stands still they would use
    // up the patience that the player gets, and the player would be taken for the one to blame.
    const Patience patience(signals_, report_, "shutting down",
                            [] { return "the renderer daemon does not answer"; });
    if (!watch_->daemonAnswers() && watch_->now().connected)
        endDaemonByForce();
}

void Television::shutDown() {
    auto& events = middleware::EventLoop::instance();
    keys_.restore();
    report_.setStatusLine("");
    report_.notice("shutting down");
    companionsDeadline_.reset();
    events.dispatchPending();
    console_.refill();
    endDaemonThatDoesNotAnswer();
    {
        const Patience patience(
            signals_, report_, "shutting down", [this] { return reasonToWait(watch_->now()); },
            [this, inVain = false]() mutable {
                if (endByForce(programToWaitFor(watch_->now())))
                    inVain = false;
                else if (std::exchange(inVain, true))
                    giveUp();
            });
        renderer_.shutDown();
    }
    // The events of the shut-down itself. What they point to is gone.
    events.dispatchPending();
    events.removeHandler(*this);
    watch_.reset();
    report_.notice("ended");
}

} // namespace tv
