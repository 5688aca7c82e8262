// What the person at the terminal sees while something plays: one line that is rewritten on a
// terminal, a line per change of state anywhere else.
#pragma once

#include <ostream>
#include <string>

#include "renderer.h"

namespace push {

class Progress {
public:
    /// `isTerminal` says whether `out` understands a carriage return.
    Progress(std::ostream& out, bool isTerminal);
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    /// Shows where the renderer is; the times are left out where the renderer gives none.
    void show(const std::string& state, const PositionInfo& position);

    /// Ends the rewritten line and says a sentence of its own.
    void say(const std::string& sentence);

private:
    void endLine();

    std::ostream& out_;
    bool isTerminal_;
    std::string lastState_;
    std::string lastLine_;
    bool lineIsOpen_ = false;
};

/// "playing" for PLAYING and so on; other words as they came.
std::string stateWord(const std::string& transportState);

} // namespace push
