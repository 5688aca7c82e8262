// Owners for GLib's handles, so that an early return releases what was opened.
#pragma once

#include <memory>

#include <glib-object.h>

namespace push {

struct ObjectUnref {
    void operator()(void* object) const { g_object_unref(object); }
};
/// A reference to a GObject that is given back when it goes out of scope.
template <typename T> using ObjectPtr = std::unique_ptr<T, ObjectUnref>;

struct Free {
    void operator()(void* memory) const { g_free(memory); }
};
using StringPtr = std::unique_ptr<char, Free>;

/// The error of a GLib call; empty until the call failed.
class ErrorHolder {
public:
    ErrorHolder() = default;
    ErrorHolder(const ErrorHolder&) = delete;
    ErrorHolder& operator=(const ErrorHolder&) = delete;
    ~ErrorHolder() { g_clear_error(&error_); }

    GError** out() { return &error_; }
    const GError* get() const { return error_; }
    const char* text() const { return error_ != nullptr ? error_->message : ""; }

private:
    GError* error_ = nullptr;
};

} // namespace push
