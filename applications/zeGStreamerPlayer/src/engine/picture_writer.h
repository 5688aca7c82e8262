// Writes pictures of the screen to files on a thread of its own: packing one takes longer than the
// media may wait.
#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <string>
#include <thread>

#include "engine/gst_handles.h"

namespace player {

class PictureWriter {
public:
    /// Gets an empty text or the reason why there is no picture; on the writer's thread, or at
    /// once.
    using Done = std::function<void(const std::string& error)>;

    PictureWriter();
    /// Writes what is waiting.
    ~PictureWriter();
    PictureWriter(const PictureWriter&) = delete;
    PictureWriter& operator=(const PictureWriter&) = delete;

    /// See writePng. Refused while too many are waiting, each of which is a screen in memory.
    void write(GstOwner<GstSample> picture, const std::string& path, Done done);

private:
    struct Order {
        GstOwner<GstSample> picture;
        std::string path;
        Done done;
    };

    void run();

    std::mutex mutex_;
    std::condition_variable changed_;
    std::deque<Order> orders_; // guarded by mutex_
    bool ending_ = false;      // guarded by mutex_
    std::thread thread_;
};

} // namespace player
