// Messages of GLib and the libraries on it become lines of the daemon's log: they may quote what
// strangers sent.
#pragma once

namespace vantor {

/// Once, before anything of GLib is used.
void adoptGlibMessages();

} // namespace vantor
