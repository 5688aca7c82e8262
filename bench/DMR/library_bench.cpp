// What the library itself costs: one change of a record from the bus's callback to the posted
// event, and a metadata query. The platform under it does nothing. The library's trace lines go to
// the null device; what printing them costs alone is measured beside it.
#include <cstdio>
#include <iostream>
#include <string>

#include <benchmark/benchmark.h>

#include "ConsoleStatusMon.h"
#include "KetraSrv_DLNADMR.h"
#include "ServiceRecords.h"

namespace {

char gName[] = "ContentPlayerService$main";
char gProfile[] = "http-get:*:video/mp4:DLNA.ORG_OP=01";
char gSpeed[] = "1";

ContentPlayerService player(ContentPlayerState state) {
    ContentPlayerService record{};
    record.mInternal = gName;
    record.mState = state;
    record.mTrack.mDLNAProfile = gProfile;
    record.mPlayback.mSpeed = gSpeed;
    return record;
}

/// A service that has the role of a renderer, and a link whose changes reach it.
struct House {
    KetraSrv_DLNADMR* service = KetraSrv_DLNADMR::GetInstance();
    ConsoleStatusMon link;

    House() {
        service->ServicesInitialize(DLNA_DEV_DMR);
        link.Regster_ServicesEventCallback(KetraSrv_DLNADMR::ContentPlayerServiceEventCallback,
                                           KetraSrv_DLNADMR::SoundServiceEventCallback,
                                           KetraSrv_DLNADMR::MediaRendererServiceEventCallback,
                                           service);
        link.ServicesInitialize();
        change(player(kPlayerStopped)); // before it nothing is passed on
    }
    void change(const ContentPlayerService& record) {
        ConsoleStatusMon::ContentPlayerService_Callback(nullptr, &link, &record);
    }
};

House& house() {
    static House* only = new House; // never destroyed: there is no player to kill
    return *only;
}

void aChangeThatPostsAnEvent(benchmark::State& state) {
    const ContentPlayerService records[] = {player(kPlayerPlaying), player(kPlayerPaused)};
    std::size_t turn = 0;
    for (auto _ : state)
        house().change(records[turn++ % 2]);
}
BENCHMARK(aChangeThatPostsAnEvent);

void aRepeatedPlayingReport(benchmark::State& state) {
    const ContentPlayerService playing = player(kPlayerPlaying);
    house().change(playing);
    for (auto _ : state)
        house().change(playing);
}
BENCHMARK(aRepeatedPlayingReport);

void printingATraceLineAlone(benchmark::State& state) {
    for (auto _ : state)
        std::printf("\x1b[0;35m[%s][%06d] %s\x1b[0m\n", "ContentPlayerServiceEventCallback", 123,
                    "PostEvent:MM_MEDIA_PAUSE");
}
BENCHMARK(printingATraceLineAlone);

/// Media-info text of `size` bytes whose last item is the one that is asked for.
void aMetadataQuery(benchmark::State& state) {
    std::string info = "MetadataStr=title:";
    while (info.size() < static_cast<std::size_t>(state.range(0)))
        info += "of frames, film and fine-rate "; // begins like the key every now and then
    info += "\xEE\x82\x8A"
            "frame-rate:25000";
    ContentPlayerService playing = player(kPlayerPlaying);
    playing.mInfoStr = info.data();
    house().change(player(kPlayerStopped));
    house().change(playing);
    std::string answer;
    for (auto _ : state) {
        house().service->MediaPlayer_GetMetaData(E_INFO_FRAME_RATE, answer);
        benchmark::DoNotOptimize(answer.data());
    }
    if (answer != "25.000")
        state.SkipWithError("the query was not answered");
    state.SetBytesProcessed(state.iterations() * state.range(0));
}
BENCHMARK(aMetadataQuery)->RangeMultiplier(8)->Range(64, 64 << 9);

} // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 2;
    if (std::freopen("/dev/null", "w", stdout) == nullptr)
        return 1;
    benchmark::ConsoleReporter reporter;
    reporter.SetOutputStream(&std::cerr);
    reporter.SetErrorStream(&std::cerr);
    benchmark::RunSpecifiedBenchmarks(&reporter);
    return 0;
}
