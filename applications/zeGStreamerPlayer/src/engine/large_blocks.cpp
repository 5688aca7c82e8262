#include "engine/large_blocks.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <mutex>
#include <vector>

#include <gst/gst.h>

namespace player {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::size_t kLarge = 256 << 10; ///< malloc has such blocks from the system itself
constexpr std::size_t kPage = 4096;       ///< blocks begin at one, and end at one
constexpr std::size_t kMost = 96 << 20;   ///< a film's, full HD; more is not kept

class Store {
public:
    /// Null when there is no memory.
    void* take(std::size_t size) {
        {
            const std::lock_guard<std::mutex> lock(mutex_);
            // The one that was used last is the likeliest to be in the processor's memory.
            const auto found = std::find_if(kept_.rbegin(), kept_.rend(),
                                            [size](const Kept& one) { return one.size == size; });
            if (found != kept_.rend()) {
                void* const data = found->data;
                bytes_ -= size;
                kept_.erase(std::next(found).base());
                return data;
            }
            makeRoom(size);
        }
        return std::aligned_alloc(kPage, size);
    }

    void keep(bool keep) {
        const std::lock_guard<std::mutex> lock(mutex_);
        keeps_ = keep;
    }

    void give(void* data, std::size_t size) {
        {
            const std::lock_guard<std::mutex> lock(mutex_);
            if (keeps_ && bytes_ + size <= kMost) {
                kept_.push_back({data, size, Clock::now()});
                bytes_ += size;
                return;
            }
        }
        std::free(data);
    }

    void giveBack(std::chrono::milliseconds unwanted) {
        const std::lock_guard<std::mutex> lock(mutex_);
        const Clock::time_point now = Clock::now();
        const auto young =
            std::find_if(kept_.begin(), kept_.end(),
                         [now, unwanted](const Kept& one) { return now - one.since < unwanted; });
        freeUntil(young);
    }

    std::size_t bytes() {
        const std::lock_guard<std::mutex> lock(mutex_);
        return bytes_;
    }

private:
    struct Kept {
        void* data;
        std::size_t size;
        Clock::time_point since;
    };

    /// What is wanted has changed: no more is held than there was. Under the mutex.
    void makeRoom(std::size_t size) {
        auto end = kept_.begin();
        for (std::size_t room = 0; room < size && end != kept_.end(); ++end) {
            room += end->size;
        }
        freeUntil(end);
    }

    void freeUntil(std::vector<Kept>::iterator end) {
        std::for_each(kept_.begin(), end, [this](const Kept& one) {
            bytes_ -= one.size;
            std::free(one.data);
        });
        kept_.erase(kept_.begin(), end);
    }

    std::mutex mutex_;
    std::vector<Kept> kept_; ///< in the order in which they came
    std::size_t bytes_ = 0;
    bool keeps_ = false;
};

/// Never destroyed: GStreamer may free memory as long as there is a process.
Store& store() {
    static Store& store = *new Store;
    return store;
}

// The allocator, as GStreamer wants one.

struct Block {
    GstMemory memory;
    void* data;
    std::atomic<unsigned> uses;
};

/// GStreamer hands memory from thread to thread under locks of its own, in code that no sanitizer
/// sees; that it is in order each use tells those before and after it.
void* dataOf(GstMemory* memory) {
    auto* const block = reinterpret_cast<Block*>(memory);
    block->uses.fetch_add(1, std::memory_order_acq_rel);
    return block->data;
}

GstAllocator* systemMemory() {
    static GstAllocator* const allocator = gst_allocator_find(GST_ALLOCATOR_SYSMEM);
    return allocator;
}

GstMemory* makeBlock(GstAllocator* allocator, GstMemory* parent, void* data, std::size_t whole,
                     gsize align, gsize offset, gsize size, guint flags) {
    auto* const block = new Block;
    gst_memory_init(&block->memory, static_cast<GstMemoryFlags>(flags), allocator, parent, whole,
                    align, offset, size);
    block->data = data;
    block->uses.store(0, std::memory_order_release);
    return &block->memory;
}

GstMemory* allocate(GstAllocator* allocator, gsize size, GstAllocationParams* params) {
    const gsize needed = params->prefix + size + params->padding;
    if (needed < kLarge || params->align >= kPage) {
        return gst_allocator_alloc(systemMemory(), size, params);
    }
    const std::size_t whole = (needed + kPage - 1) / kPage * kPage;
    auto* const data = static_cast<char*>(store().take(whole));
    if (data == nullptr) {
        return nullptr;
    }
    if ((params->flags & GST_MEMORY_FLAG_ZERO_PREFIXED) != 0) {
        std::memset(data, 0, params->prefix);
    }
    if ((params->flags & GST_MEMORY_FLAG_ZERO_PADDED) != 0) {
        std::memset(data + params->prefix + size, 0, whole - params->prefix - size);
    }
    return makeBlock(allocator, nullptr, data, whole, params->align, params->prefix, size,
                     params->flags);
}

void release(GstAllocator*, GstMemory* memory) {
    void* const data = dataOf(memory);
    if (memory->parent == nullptr) {
        store().give(data, memory->maxsize);
    }
    delete reinterpret_cast<Block*>(memory);
}

gpointer map(GstMemory* memory, gsize, GstMapFlags) {
    return dataOf(memory);
}

void unmap(GstMemory* memory) {
    (void)dataOf(memory); // what was done with it is done
}

GstMemory* share(GstMemory* memory, gssize offset, gssize size) {
    GstMemory* const parent = memory->parent == nullptr ? memory : memory->parent;
    const gsize length =
        size < 0 ? memory->size - static_cast<gsize>(offset) : static_cast<gsize>(size);
    return makeBlock(memory->allocator, parent, dataOf(memory), memory->maxsize, memory->align,
                     memory->offset + static_cast<gsize>(offset), length,
                     GST_MINI_OBJECT_FLAGS(parent) | GST_MINI_OBJECT_FLAG_LOCK_READONLY);
}

void initClass(gpointer type, gpointer) {
    GST_ALLOCATOR_CLASS(type)->alloc = allocate;
    GST_ALLOCATOR_CLASS(type)->free = release;
}

void initInstance(GTypeInstance* instance, gpointer) {
    auto* const allocator = GST_ALLOCATOR(instance);
    allocator->mem_type = "KetraLargeBlocks";
    allocator->mem_map = map;
    allocator->mem_unmap = unmap;
    allocator->mem_share = share;
}

} // namespace

void keepLargeBlocks(bool keep) {
    store().keep(keep);
}

void provideLargeBlocks() {
    static std::once_flag once;
    std::call_once(once, [] {
        (void)systemMemory();
        const GType type = g_type_register_static_simple(
            GST_TYPE_ALLOCATOR, "KetraLargeBlocks", sizeof(GstAllocatorClass), initClass,
            sizeof(GstAllocator), initInstance, static_cast<GTypeFlags>(0));
        auto* const allocator = GST_ALLOCATOR(g_object_new(type, nullptr));
        gst_object_ref_sink(allocator);
        gst_allocator_set_default(allocator); // which takes it over
    });
}

void giveBackLargeBlocks(std::chrono::milliseconds unwanted) {
    store().giveBack(unwanted);
}

std::size_t keptBytes() {
    return store().bytes();
}

} // namespace player
