#include "fake/middleware.h"

#include <algorithm>
#include <cstdio>
#include <deque>
#include <map>
#include <mutex>

#include "fake/failures.h"
#include "fake/journal.h"
#include "ketra/KetraSrv_MMInterface.h"

namespace {

struct Middleware {
    std::recursive_mutex mutex;
    std::map<unsigned long, fake::Inspector> inspectors;
    std::vector<fake::PostedEvent> posted;
    std::deque<fake::PostedEvent> queue;
    std::vector<KetraEvtHandle*> handlers;
};

Middleware& middleware() {
    static auto* const theMiddleware = new Middleware;
    return *theMiddleware;
}

std::string nameOf(const KetraEvtHandle* target) {
    if (target == nullptr)
        return "all";
    const auto& handlers = middleware().handlers;
    const auto found = std::find(handlers.begin(), handlers.end(), target);
    return found == handlers.end() ? "handler"
                                   : "handler" + std::to_string(found - handlers.begin() + 1);
}

std::string textOf(const fake::PostedEvent& posted, bool inspected) {
    char words[64];
    std::snprintf(words, sizeof words, ", 0x%08lx, %lu, ", posted.type, posted.event);
    return "PostEvent(" + nameOf(posted.target) + words +
           (inspected ? "{" + posted.shown + "}" : std::to_string(posted.parameter)) + ")";
}

} // namespace

KetraCmdTarget::KetraCmdTarget() = default;
KetraCmdTarget::~KetraCmdTarget() = default;

const KetraMessageMap* KetraCmdTarget::GetMessageMap() {
    return nullptr;
}

BOOL KetraCmdTarget::OnCmdEvt(unsigned long, unsigned long, void*) {
    return FALSE;
}

BOOL KetraEvtHandle::EventProc(unsigned long aType, unsigned long aEvent,
                               unsigned long aParameter) {
    if (OnEvt(aType, aEvent, aParameter) != FALSE)
        return TRUE;
    return DefEventProc(aType, aEvent, aParameter);
}

BOOL KetraEvtHandle::OnEvt(unsigned long, unsigned long, unsigned long) {
    return FALSE;
}

BOOL KetraEvtHandle::DefEventProc(unsigned long, unsigned long, unsigned long) {
    return FALSE;
}

BOOL KetraEvtHandle::OnCommand(unsigned long, unsigned long) {
    return FALSE;
}

KetraSrv::KetraSrv() = default;
KetraSrv::~KetraSrv() = default;

BOOL KetraSrv::PostEvent(KetraEvtHandle* aTarget, unsigned long aType, unsigned long aEvent,
                         unsigned long aParameter) {
    const std::lock_guard<std::recursive_mutex> lock(middleware().mutex);
    fake::PostedEvent posted{aTarget, aType, aEvent, aParameter, ""};
    const auto inspector = middleware().inspectors.find(aEvent);
    const bool inspected = inspector != middleware().inspectors.end();
    if (inspected)
        posted.shown = inspector->second(aParameter);
    const bool fails = fake::mustFail(fake::Failable::kPostEvent);
    fake::Journal::instance().add(fake::Kind::kPost,
                                  textOf(posted, inspected) + (fails ? " = FALSE" : ""));
    if (fails)
        return FALSE;
    middleware().posted.push_back(posted);
    middleware().queue.push_back(posted);
    return TRUE;
}

namespace fake {

void inspectEvent(unsigned long event, Inspector inspector) {
    const std::lock_guard<std::recursive_mutex> lock(middleware().mutex);
    middleware().inspectors[event] = std::move(inspector);
}

std::vector<PostedEvent> postedEvents() {
    const std::lock_guard<std::recursive_mutex> lock(middleware().mutex);
    return middleware().posted;
}

void addHandler(KetraEvtHandle& handler) {
    const std::lock_guard<std::recursive_mutex> lock(middleware().mutex);
    middleware().handlers.push_back(&handler);
}

void removeHandler(KetraEvtHandle& handler) {
    const std::lock_guard<std::recursive_mutex> lock(middleware().mutex);
    auto& handlers = middleware().handlers;
    handlers.erase(std::remove(handlers.begin(), handlers.end(), &handler), handlers.end());
    auto& queue = middleware().queue;
    queue.erase(std::remove_if(queue.begin(), queue.end(),
                               [&](const PostedEvent& event) { return event.target == &handler; }),
                queue.end());
}

int dispatchEvents() {
    int handled = 0;
    for (;;) {
        std::unique_lock<std::recursive_mutex> lock(middleware().mutex);
        if (middleware().queue.empty())
            return handled;
        const PostedEvent event = middleware().queue.front();
        middleware().queue.pop_front();
        std::vector<KetraEvtHandle*> targets = middleware().handlers;
        if (event.target != nullptr) {
            const bool known =
                std::find(targets.begin(), targets.end(), event.target) != targets.end();
            targets.assign(known ? 1 : 0, event.target);
        }
        lock.unlock();
        for (KetraEvtHandle* target : targets)
            target->EventProc(event.type, event.event, event.parameter);
        ++handled;
    }
}

void clearMiddleware() {
    const std::lock_guard<std::recursive_mutex> lock(middleware().mutex);
    middleware().inspectors.clear();
    middleware().posted.clear();
    middleware().queue.clear();
    middleware().handlers.clear();
}

} // namespace fake
