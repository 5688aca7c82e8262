#include "shown_pictures.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <stdexcept>
#include <thread>

namespace bench {

std::int64_t nowNs() {
    return std::chrono::duration_cast<std::chrono::nanoseconds>(
               std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

ShownPictures::ShownPictures(const std::string& path) {
    const int file = open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, S_IRUSR | S_IWUSR);
    void* const place =
        file >= 0 && ftruncate(file, sizeof(Memory)) == 0
            ? mmap(nullptr, sizeof(Memory), PROT_READ | PROT_WRITE, MAP_SHARED, file, 0)
            : MAP_FAILED;
    if (file >= 0) {
        close(file);
    }
    if (place == MAP_FAILED) {
        throw std::runtime_error("no list of pictures in " + path);
    }
    memory_ = static_cast<Memory*>(place); // a new file is all zeros, which is an empty list
}

ShownPictures::~ShownPictures() {
    munmap(memory_, sizeof(Memory));
}

void ShownPictures::add(const Shown& shown) {
    const std::uint64_t count = memory_->count.load(std::memory_order_relaxed);
    memory_->shown[count % kKept] = shown;
    memory_->count.store(count + 1, std::memory_order_release);
}

std::optional<Shown> ShownPictures::wait(std::uint64_t old,
                                         const std::function<bool(const Shown&)>& fits,
                                         std::chrono::milliseconds limit) const {
    const auto end = std::chrono::steady_clock::now() + limit;
    while (std::chrono::steady_clock::now() < end) {
        for (const std::uint64_t now = count(); old < now; ++old) {
            const Shown& shown = memory_->shown[old % kKept];
            if (fits(shown)) {
                return shown;
            }
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return std::nullopt;
}

} // namespace bench
