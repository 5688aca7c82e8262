// How often the player opens an address: each start of GStreamer's HTTP source is counted, whether
// it comes to ask the server or is stopped before.
#pragma once

#include <string>

namespace test {

/// From now on, for the whole process. No source may run yet.
void countOpenings();
unsigned openingsOf(const std::string& address);

} // namespace test
