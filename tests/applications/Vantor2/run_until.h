// Waiting for a condition on the thread that runs the main loop.
#pragma once

#include <chrono>
#include <functional>

#include <glib.h>

namespace vantor {

/// Runs the main loop until `condition` holds; false when it does not within `limit`.
inline bool runUntil(const std::function<bool()>& condition,
                     std::chrono::milliseconds limit = std::chrono::milliseconds(5000)) {
    const auto end = std::chrono::steady_clock::now() + limit;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end) {
            return false;
        }
        // The tick keeps the loop from sleeping over what happens outside of it.
        const guint tick = g_timeout_add(
            1, [](gpointer) -> gboolean { return G_SOURCE_CONTINUE; }, nullptr);
        g_main_context_iteration(nullptr, TRUE);
        g_source_remove(tick);
    }
    return true;
}

} // namespace vantor
