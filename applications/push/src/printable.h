// Text that came from the network, made fit for a terminal.
#pragma once

#include <string>

namespace push {

/// Valid UTF-8 on one line without control characters, so that a device's name cannot steer the
/// terminal.
std::string printable(const std::string& text);

} // namespace push
