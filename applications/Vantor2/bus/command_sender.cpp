#include "bus/command_sender.h"

#include <algorithm>
#include <utility>

#include "base/main_thread.h"

namespace vantor {

CommandSender::CommandSender() : alive_(std::make_shared<bool>(true)), thread_([this] { run(); }) {}

CommandSender::~CommandSender() {
    stop();
}

void CommandSender::send(Kind kind, Command command, Done done) {
    // The caller's `done` may only be called, and destroyed, on the main thread.
    Done onMain = [alive = alive_, done = std::move(done)](bool accepted) {
        if (*alive) {
            done(accepted);
        }
    };
    const std::lock_guard<std::mutex> lock(mutex_);
    const auto isPointless = [&](Entry& entry) {
        if (((kind.bit | kind.replaces) & entry.kind.bit) == 0) {
            return false;
        }
        postToMain([done = std::move(entry.done)] { done(true); });
        return true;
    };
    queue_.erase(std::remove_if(queue_.begin(), queue_.end(), isPointless), queue_.end());
    queue_.push_back({kind, std::move(command), std::move(onMain)});
    wake_.notify_one();
}

void CommandSender::stop() {
    *alive_ = false;
    std::deque<Entry> dropped;
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        stopping_ = true;
        dropped.swap(queue_);
        wake_.notify_one();
    }
    if (thread_.joinable()) {
        thread_.join();
    }
}

void CommandSender::run() {
    std::unique_lock<std::mutex> lock(mutex_);
    while (true) {
        wake_.wait(lock, [this] { return stopping_ || !queue_.empty(); });
        if (stopping_) {
            return;
        }
        Entry entry = std::move(queue_.front());
        queue_.pop_front();
        lock.unlock();
        const bool accepted = (entry.kind.needs & refused_) == 0 && entry.command();
        refused_ = accepted ? refused_ & ~entry.kind.bit : refused_ | entry.kind.bit;
        postToMain([done = std::move(entry.done), accepted] { done(accepted); });
        lock.lock();
    }
}

} // namespace vantor
