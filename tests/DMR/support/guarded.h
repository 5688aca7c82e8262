// Memory that ends where a page ends behind which nothing may be read: one byte too far kills the
// test, with and without a sanitizer.
#pragma once

#include <cstddef>
#include <cstring>
#include <stdexcept>
#include <string>
#include <vector>

#include <sys/mman.h>
#include <unistd.h>

namespace dmrtest {

class GuardedMemory {
public:
    GuardedMemory() = default;
    GuardedMemory(const GuardedMemory&) = delete;
    GuardedMemory& operator=(const GuardedMemory&) = delete;
    ~GuardedMemory() {
        for (const Block& block : blocks_) {
            munmap(block.start, block.size);
        }
    }

    /// A copy whose last byte is the last one that can be read.
    void* copy(const void* source, std::size_t size) {
        const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
        const std::size_t readable = (size + page - 1) / page * page;
        void* const start = mmap(nullptr, readable + page, PROT_READ | PROT_WRITE,
                                 MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        if (start == MAP_FAILED) {
            throw std::runtime_error("no memory to guard");
        }
        blocks_.push_back({start, readable + page});
        char* const end = static_cast<char*>(start) + readable;
        if (mprotect(end, page, PROT_NONE) != 0) {
            throw std::runtime_error("memory cannot be guarded");
        }
        return std::memcpy(end - size, source, size);
    }
    char* operator()(const std::string& text) {
        return static_cast<char*>(copy(text.c_str(), text.size() + 1));
    }
    template <class T> T* array(const std::vector<T>& elements) {
        return static_cast<T*>(copy(elements.data(), elements.size() * sizeof(T)));
    }

private:
    struct Block {
        void* start;
        std::size_t size;
    };
    std::vector<Block> blocks_;
};

} // namespace dmrtest
