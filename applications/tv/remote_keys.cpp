#include "tv/remote_keys.h"

#include "common/text.h"

namespace tv {

namespace {

constexpr char kEscapeByte = '\x1b';
constexpr char kRenameKey = 'r';
constexpr long kSeekStep = 10; // seconds

struct Key {
    char byte;
    Verb verb;
    long number;
};
constexpr Key kKeys[] = {
    {' ', Verb::kPauseOrResume, 0}, {'f', Verb::kForward, 0},        {'b', Verb::kBackward, 0},
    {'l', Verb::kSlow, 0},          {'s', Verb::kStop, 0},           {'m', Verb::kMute, 0},
    {'M', Verb::kUnmute, 0},        {'y', Verb::kAllow, 0},          {'n', Verb::kDeny, 0},
    {'v', Verb::kShow, 0},          {'h', Verb::kHide, 0},           {'p', Verb::kSnapshot, 0},
    {'?', Verb::kHelp, 0},          {'q', Verb::kQuit, 0},           {'+', Verb::kZoomBy, 1},
    {'-', Verb::kZoomBy, -1},       {'0', Verb::kPlainPicture, 0},   {'o', Verb::kRotateBy, 1},
    {'a', Verb::kRepeat, 0},        {'t', Verb::kNextAudioTrack, 0}, {'x', Verb::kNextRatio, 0},
    {'w', Verb::kFullScreen, 0},    {'W', Verb::kFullScreen, 1},
};
/// As they lie on a keypad.
constexpr long kMoveStep = 60; // pixels of the screen
struct MoveKey {
    char byte;
    const char* direction;
};
constexpr MoveKey kMoves[] = {{'8', "up"}, {'2', "down"}, {'4', "left"}, {'6', "right"}};
/// Last bytes of what the arrow keys send, after ESC [ or ESC O.
constexpr Key kArrows[] = {
    {'A', Verb::kVolumeUp, 0},
    {'B', Verb::kVolumeDown, 0},
    {'C', Verb::kSeekBy, kSeekStep},
    {'D', Verb::kSeekBy, -kSeekStep},
};

template <std::size_t kCount>
void append(const Key (&keys)[kCount], char byte, std::vector<Command>& out) {
    for (const Key& key : keys)
        if (key.byte == byte)
            out.push_back({key.verb, "", key.number, ""});
}

} // namespace

const char kKeyHelp[] = R"(  space  pause, resume           left, right   10 seconds back, ahead
  f      forward, faster         up, down      volume
  b      backward, faster        m, M          mute, sound again
  l      slow, slower            p             picture of the screen
  s      stop                    v, h          show, hide on the network
  y, n   allow, deny             r             rename
  +, -   zoom in, out            0             neither zoomed nor turned
  o      turn                    8, 2, 4, 6    move the zoomed view
  x      next shape              a             repeat from here, to here, no more
  t      next sound track        W, w          the whole display, a window
  ?      these keys              q, Ctrl-C     end
)";

std::vector<Command> RemoteKeys::feed(std::string_view bytes) {
    std::vector<Command> commands;
    for (const char byte : bytes)
        key(byte, commands);
    return commands;
}

void RemoteKeys::key(char byte, std::vector<Command>& out) {
    switch (state_) {
    case State::kPlain:
        if (byte == kEscapeByte)
            state_ = State::kEscape;
        else if (naming_)
            nameKey(byte, out);
        else if (byte == kRenameKey)
            beginName();
        else {
            append(kKeys, byte, out);
            for (const MoveKey& move : kMoves)
                if (move.byte == byte)
                    out.push_back({Verb::kMove, move.direction, kMoveStep, ""});
        }
        break;
    case State::kEscape:
        if (byte == '[' || byte == 'O') {
            state_ = State::kSequence;
            break;
        }
        // A lone escape key gives up a name that was begun; what follows is a key of its own.
        naming_ = false;
        state_ = State::kPlain;
        if (byte != kEscapeByte)
            key(byte, out);
        break;
    case State::kSequence:
        sequence(byte, out);
        break;
    }
}

void RemoteKeys::beginName() {
    naming_ = true;
    name_.clear();
}

void RemoteKeys::sequence(char byte, std::vector<Command>& out) {
    // Parameters and intermediates come before the byte that ends the sequence.
    if (byte >= 0x20 && byte < 0x40)
        return;
    state_ = State::kPlain;
    if (!naming_)
        append(kArrows, byte, out);
}

void RemoteKeys::nameKey(char byte, std::vector<Command>& out) {
    if (byte == '\n' || byte == '\r') {
        naming_ = false;
        const std::string_view name = text::trimmed(name_, " ");
        if (!name.empty())
            out.push_back({Verb::kRename, std::string(name), 0, ""});
    } else if (byte == '\b' || byte == '\x7f') {
        // A character may have several bytes; the ones behind its first have 10 on top.
        while (!name_.empty() && (static_cast<unsigned char>(name_.back()) & 0xc0U) == 0x80)
            name_.pop_back();
        if (!name_.empty())
            name_.pop_back();
    } else if (static_cast<unsigned char>(byte) >= 0x20) {
        name_ += byte;
    }
}

std::string RemoteKeys::prompt() const {
    return naming_ ? "new name (%h: this host's): " + name_ : "";
}

} // namespace tv
