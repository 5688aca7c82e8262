// Tells when interfaces or addresses come and go.
//
// Main thread.
#pragma once

#include <functional>

#include <glib.h>

#include "base/glib_handles.h"

namespace vantor {

class NetworkWatch {
public:
    /// `changed` is called after the system's networks changed, once for what happens together.
    /// Where the system does not tell, it is never called.
    explicit NetworkWatch(std::function<void()> changed);
    ~NetworkWatch();
    NetworkWatch(const NetworkWatch&) = delete;
    NetworkWatch& operator=(const NetworkWatch&) = delete;

private:
    void takeNews() const;

    Timer settled_;
    int socket_;
    guint watch_ = 0;
};

} // namespace vantor
