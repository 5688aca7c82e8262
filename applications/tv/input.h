// Standard input: keys of a terminal or lines of a script, cut into what belongs together.
// Main thread.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace tv {

/// Cuts bytes into lines. A last line without its end counts when the input ends.
class LineSplitter {
public:
    std::vector<std::string> feed(std::string_view bytes);
    /// The input has ended; empty when nothing is left.
    std::string finish();

private:
    std::string rest_;
};

/// What one read brought.
struct InputChunk {
    std::string bytes;
    bool ended = false;
};
/// Reads what is there. For a descriptor that poll reported.
InputChunk readChunk(int descriptor);

} // namespace tv
