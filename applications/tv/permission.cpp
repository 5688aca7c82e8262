#include "tv/permission.h"

#include <utility>

#include "statebus/visible_text.h"

namespace tv {

namespace {

/// A controller that was let in may still have to load, and its person to press play.
constexpr std::chrono::seconds kTimeToBegin{60};

std::string textOf(const Event& event, const char* detail) {
    const std::string* text = event.text(detail);
    return text != nullptr ? *text : "";
}

} // namespace

std::string Question::text() const {
    std::string sentence = controller.empty() ? "Somebody" : statebus::visibleText(controller);
    sentence += " wants to play ";
    sentence += title.empty() ? "something" : statebus::quotedText(title);
    if (!mime.empty())
        sentence += " (" + statebus::visibleText(mime) + ")";
    return sentence + ". Allow?";
}

Answer Permission::onRequest(const Event& request) {
    Question question;
    if (const long long* id = request.number("request"))
        question.request = static_cast<std::uint32_t>(*id);
    question.title = textOf(request, "title");
    question.mime = textOf(request, "mime");
    question.controller = textOf(request, "controller");
    open_ = question;
    switch (mode_) {
    case AnswerMode::kAllow:
        return Answer::kAllow;
    case AnswerMode::kDeny:
        return Answer::kDeny;
    case AnswerMode::kAsk:
        break;
    }
    return Answer::kNone;
}

bool Permission::onPending(const std::set<std::uint32_t>& requests, std::uint32_t newest) {
    if (!open_ || requests.count(open_->request) != 0)
        return false;
    // The event may be ahead of the record that this process sees on its own account.
    if (newest < open_->request)
        return false;
    open_.reset();
    return true;
}

void RendererScreen::onAllowed(Time now) {
    shown_ = true;
    beginBefore_ = now + kTimeToBegin;
}

bool RendererScreen::onEvent(const Event& event) {
    switch (event.code) {
    case MM_FILE_INIT_BEGIN:
    case MM_START_PLAY:
        beginBefore_.reset();
        return false;
    case MM_EXIT_OK:
    case MM_EXIT_FORCE:
    case MM_EXIT_ERROR_FILE:
        break;
    default:
        return false;
    }
    // When somebody was let in a moment ago and has not begun yet, what ended was the media before;
    // an error however is most likely theirs.
    if (!shown_ || (beginBefore_ && event.code != MM_EXIT_ERROR_FILE))
        return false;
    shown_ = false;
    beginBefore_.reset();
    return true;
}

bool RendererScreen::onHidden() {
    // The daemon ends all admission then; whoever comes after that is to be asked about.
    beginBefore_.reset();
    return std::exchange(shown_, false);
}

bool RendererScreen::onTime(Time now) {
    if (!beginBefore_ || now < *beginBefore_)
        return false;
    beginBefore_.reset();
    shown_ = false;
    return true;
}

} // namespace tv
