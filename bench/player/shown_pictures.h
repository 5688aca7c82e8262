// What was on the screen and when: the list that the sink of both sides writes into memory that it
// shares with the benchmark, so that a picture counts from when it is shown, not from when somebody
// says so.
#pragma once

#include <array>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>

namespace bench {

/// Variable with the path of the file that is shared.
constexpr char kPicturesVariable[] = "KETRA_BENCH_PICTURES";

/// Now, the same clock in every process.
std::int64_t nowNs();

struct Shown {
    std::int64_t atNs;    ///< nowNs() when the sink got it
    std::int64_t mediaNs; ///< its time in the media; -1: made by the player
    int corner;           ///< brightness of its upper left corner, 0 to 255
};

/// Written by one process at a time, on its streaming threads one after the other.
class ShownPictures {
public:
    /// Makes the file if it is not there. Throws std::runtime_error.
    explicit ShownPictures(const std::string& path);
    ~ShownPictures();
    ShownPictures(const ShownPictures&) = delete;
    ShownPictures& operator=(const ShownPictures&) = delete;

    void add(const Shown& shown);
    /// How many there were; to be given to `wait` as what is old.
    std::uint64_t count() const { return memory_->count.load(std::memory_order_acquire); }
    /// The first picture after `old` ones that fits; nothing when none comes in time.
    std::optional<Shown> wait(std::uint64_t old, const std::function<bool(const Shown&)>& fits,
                              std::chrono::milliseconds limit = std::chrono::seconds(20)) const;

private:
    /// More than are shown between two looks at it.
    static constexpr std::size_t kKept = 4096;
    struct Memory {
        std::atomic<std::uint64_t> count;
        std::array<Shown, kKept> shown;
    };

    Memory* memory_;
};

} // namespace bench
