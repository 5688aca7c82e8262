#include "statebus/call.h"

namespace statebus {

void Call::finish(bool result) {
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        if (done_)
            return;
        done_ = true;
        result_ = result;
    }
    finished_.notify_all();
}

bool Call::wait() {
    std::unique_lock<std::mutex> lock(mutex_);
    finished_.wait_until(lock, deadline_, [this] { return done_; });
    done_ = true;
    return result_;
}

std::shared_ptr<Call> CallGroup::begin() {
    auto call = std::make_shared<Call>();
    const std::lock_guard<std::mutex> lock(mutex_);
    if (aborted_)
        call->finish(false);
    else
        calls_.insert(call);
    return call;
}

void CallGroup::end(const std::shared_ptr<Call>& call) {
    const std::lock_guard<std::mutex> lock(mutex_);
    calls_.erase(call);
}

void CallGroup::abort() {
    const std::lock_guard<std::mutex> lock(mutex_);
    aborted_ = true;
    for (const std::shared_ptr<Call>& call : calls_)
        call->finish(false);
    calls_.clear();
}

void CallGroup::reopen() {
    const std::lock_guard<std::mutex> lock(mutex_);
    aborted_ = false;
}

} // namespace statebus
