#include "engine/picture_writer.h"

#include <utility>

#include "engine/screenshot.h"

namespace player {
namespace {

constexpr std::size_t kMostWaiting = 8;

} // namespace

PictureWriter::PictureWriter() : thread_([this] { run(); }) {}

PictureWriter::~PictureWriter() {
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        ending_ = true;
    }
    changed_.notify_one();
    thread_.join();
}

void PictureWriter::write(GstOwner<GstSample> picture, const std::string& path, Done done) {
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        if (orders_.size() < kMostWaiting) {
            orders_.push_back({std::move(picture), path, std::move(done)});
            changed_.notify_one();
            return;
        }
    }
    done("too many pictures are waiting");
}

void PictureWriter::run() {
    std::unique_lock<std::mutex> lock(mutex_);
    for (;;) {
        changed_.wait(lock, [this] { return ending_ || !orders_.empty(); });
        if (orders_.empty()) {
            return;
        }
        const Order order = std::move(orders_.front());
        orders_.pop_front();
        lock.unlock();
        order.done(writePng(order.picture.get(), order.path));
        lock.lock();
    }
}

} // namespace player
