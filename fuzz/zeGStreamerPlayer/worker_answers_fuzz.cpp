// What the media worker says to the process on the bus, one message after another: a worker that a
// media has taken over says what it likes. Two bytes with a message's length come before each; its
// events are those of the media that plays, and of the idle media.
#include <algorithm>
#include <chrono>
#include <string>
#include <variant>

#include "ServiceRecords.h"
#include "applications/zeGStreamerPlayer/support/fake_engine.h"
#include "bus/record_writer.h"
#include "check.h"
#include "logic/idle_media.h"
#include "logic/player.h"
#include "worker/messages.h"

namespace {

using namespace player;

/// No later than what is shown beside it.
void checkTimes(std::uint32_t position, std::uint32_t duration, std::uint32_t percent) {
    FUZZ_CHECK(percent <= 100);
    FUZZ_CHECK(duration == 0 || position <= duration);
}

/// What the TV's library and the daemon rely on.
void check(const PlayerStatus& status) {
    FUZZ_CHECK(wordOf(status.state)[0] != '\0');
    const bool open = status.state == PlayerState::kPlaying ||
                      status.state == PlayerState::kPaused || status.state == PlayerState::kLoading;
    FUZZ_CHECK(!open || kindNamedIn(status.track.protocolInfo) != MediaKind::kUnknown);
    FUZZ_CHECK(!open || status.error == PlayerError::kNone);
    FUZZ_CHECK(status.infoText.empty() || status.infoText.rfind("MetadataStr=", 0) == 0);
    FUZZ_CHECK(status.positionPercent <= 100);
    checkTimes(status.idle.positionSec, status.idle.durationSec, status.idle.positionPercent);
    statebus::Record record(ContentPlayerServiceTemplate);
    writeStatus(record, status);
}

void feed(const Bytes& bytes, Player& player, Session playing, IdleMedia& idle, Session idling) {
    const std::optional<Answer> answer = decodeAnswer(bytes);
    if (!answer) {
        return;
    }
    const Bytes again = encode(*answer);
    const std::optional<Answer> back = decodeAnswer(again);
    FUZZ_CHECK(back && encode(*back) == again);
    if (const auto* const event = std::get_if<EngineEvent>(&*answer)) {
        player.onEvent(*event);
        player.onEvent({playing, event->what});
        FUZZ_CHECK(idle.onEvent({idling, event->what}));
    } else if (const auto* const formats = std::get_if<Formats>(&*answer)) {
        player.setFormats(formats->list);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    test::FakeEngine engine;
    test::FakeEngine idleEngine;
    Player player({engine, [] { return Player::TimePoint(); }, check,
                   [](const std::string&) {
                   }});
    IdleMedia idle(
        idleEngine, [&player](const IdleStatus& status) { player.setIdle(status); },
        [](const std::string&) {});
    (void)idle.setLoop(size % 2 == 0);
    (void)idle.setUri("http://192.0.2.1/clouds.mp4");
    (void)idle.play();
    PlayRequest request;
    request.media.uri = request.track.uri = "http://192.0.2.1/film.mp4";
    (void)player.setMedia(request);
    (void)player.play(Speed());
    while (size >= 2) {
        const std::size_t length =
            std::min<std::size_t>(size - 2, std::size_t{data[0]} << 8 | data[1]);
        feed(Bytes(data + 2, data + 2 + length), player, engine.session, idle, idleEngine.session);
        data += 2 + length;
        size -= 2 + length;
    }
    return 0;
}
