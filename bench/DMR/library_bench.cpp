// What the library itself costs: each kind of change of a record from the bus's callback to the
// posted event, a metadata query, many instances and many pending requests. The platform under it
// does nothing. The library's lines go to the null device; beside each kind of change stands what
// printing its lines costs alone.
#include <cstdio>
#include <deque>
#include <functional>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include <unistd.h>

#include <benchmark/benchmark.h>

#include "ConsoleStatusMon.h"
#include "KetraSrv_DLNADMR.h"
#include "ServiceRecords.h"

namespace {

char gPlayerName[] = "ContentPlayerService$main";
char gSoundName[] = "SoundService$main";
char gRendererName[] = "MediaRendererService";
char gFriendlyName[] = "TV";
char gVideo[] = "http-get:*:video/mp4:DLNA.ORG_OP=01";
char gImage[] = "http-get:*:image/jpeg:*";
char gNormal[] = "1";
char gDouble[] = "2";
char gTitle[] = "A Film";
char gType[] = "video/mp4";
char gController[] = "phone";
char gInfo[] = "MetadataStr=title:A Film";
char gOtherInfo[] = "MetadataStr=title:Another Film";

ContentPlayerService player(ContentPlayerState state, char* profile = gVideo) {
    ContentPlayerService record{};
    record.mInternal = gPlayerName;
    record.mState = state;
    record.mTrack.mDLNAProfile = profile;
    record.mTrack.mTitle = gTitle;
    record.mPlayback.mSpeed = gNormal;
    return record;
}

MediaRendererService renderer(std::vector<MediaRendererAuthorizationRequest>& requests) {
    MediaRendererService record{};
    record.mInternal = gRendererName;
    record.mFriendlyName = gFriendlyName;
    record.mfVisible = 1;
    record.mPlayerControlAuthorization = EN_DMR_ASKDEFAULTDENIED;
    record.mAuthorizationRequestsCount = static_cast<std::uint16_t>(requests.size());
    record.mAuthorizationRequests = requests.data();
    return record;
}

std::vector<MediaRendererAuthorizationRequest> requests(std::size_t count, std::uint32_t first) {
    std::vector<MediaRendererAuthorizationRequest> made(count);
    for (std::size_t i = 0; i < count; ++i) {
        made[i].mRequestId = first + static_cast<std::uint32_t>(i);
        made[i].mState = kRequestPostponed;
        made[i].mControllerId = gController;
        made[i].mMediaMimeType = gType;
        made[i].mMediaTitle = gTitle;
    }
    return made;
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
        change(stopped_); // before it nothing is passed on
    }
    void change(const ContentPlayerService& record) {
        ConsoleStatusMon::ContentPlayerService_Callback(nullptr, &link, &record);
    }
    void change(const SoundService& record) {
        ConsoleStatusMon::SoundService_Callback(nullptr, &link, &record);
    }
    void change(const MediaRendererService& record) {
        ConsoleStatusMon::MediaRendererService_Callback(nullptr, &link, &record);
    }
    void notice(const char* fullName, bool added) {
        ConsoleStatusMon::RemoteSBusState_Callback(nullptr, &link, fullName, added);
    }

private:
    const ContentPlayerService stopped_ = player(kPlayerStopped);
};

House& house() {
    static House* only = new House; // never destroyed: there is no player to kill
    return *only;
}

/// A record that stays where it is: the link keeps the last one of every instance.
template <class Record> const Record& kept(const Record& record) {
    static std::deque<Record> records;
    records.push_back(record);
    return records.back();
}

/// One kind of change: two reports that take turns, because one that says nothing new is another
/// kind.
struct Kind {
    const char* name;
    std::function<void(std::size_t turn)> change;
};

template <class Record> Kind turns(const char* name, const Record& even, const Record& odd) {
    const Record* const first = &kept(even);
    const Record* const second = &kept(odd);
    return {name, [first, second](std::size_t turn) {
                house().change(turn % 2 == 0 ? *first : *second);
            }};
}

std::vector<Kind> kinds() {
    std::vector<Kind> all;
    all.push_back(turns("playing, paused", player(kPlayerPlaying), player(kPlayerPaused)));
    all.push_back(turns("playing, stopped", player(kPlayerPlaying), player(kPlayerStopped)));
    all.push_back(turns("playing, finished", player(kPlayerPlaying), player(kPlayerFinished)));
    all.push_back(turns("loading, playing", player(kPlayerLoading), player(kPlayerPlaying)));
    ContentPlayerService failed = player(kPlayerStopped);
    failed.mErrorCode = 112;
    all.push_back(turns("playing, failed", player(kPlayerPlaying), failed));
    all.push_back(turns("a photo loading, shown", player(kPlayerLoading, gImage),
                        player(kPlayerFinished, gImage)));
    all.push_back(turns("repeated playing", player(kPlayerPlaying), player(kPlayerPlaying)));
    ContentPlayerService twice = player(kPlayerPlaying);
    twice.mPlayback.mSpeed = gDouble;
    all.push_back(turns("speed", player(kPlayerPlaying), twice));
    ContentPlayerService told = player(kPlayerPlaying);
    told.mInfoStr = gInfo;
    ContentPlayerService toldMore = told;
    toldMore.mInfoStr = gOtherInfo;
    all.push_back(turns("metadata", told, toldMore));
    SoundService sound{};
    sound.mInternal = gSoundName;
    all.push_back(turns("sound", sound, sound));
    static std::vector<MediaRendererAuthorizationRequest> nobody;
    all.push_back(turns("renderer without requests", renderer(nobody), renderer(nobody)));
    static auto first = requests(1, 1);
    static auto second = requests(1, 2);
    all.push_back(turns("renderer with a new request", renderer(first), renderer(second)));
    all.push_back({"an instance added, removed", [](std::size_t turn) {
                       house().notice("ContentPlayerService$other", turn % 2 == 0);
                   }});
    return all;
}

/// The lines that one change of this kind and the next print.
std::vector<std::string> linesOf(const Kind& kind) {
    std::FILE* const file = std::tmpfile();
    std::fflush(stdout);
    const int saved = dup(STDOUT_FILENO);
    if (file == nullptr || saved < 0) {
        return {};
    }
    kind.change(0);
    kind.change(1);
    std::fflush(stdout);
    dup2(fileno(file), STDOUT_FILENO);
    kind.change(0);
    kind.change(1);
    std::fflush(stdout);
    dup2(saved, STDOUT_FILENO);
    close(saved);
    std::rewind(file);
    std::vector<std::string> lines;
    char line[1024];
    while (std::fgets(line, sizeof line, file) != nullptr) {
        lines.push_back(line);
    }
    std::fclose(file);
    return lines;
}

void registerKinds() {
    for (const Kind& kind : kinds()) {
        const std::string name = std::string("change/") + kind.name;
        benchmark::RegisterBenchmark(name.c_str(), [kind](benchmark::State& state) {
            kind.change(0);
            kind.change(1);
            for (auto _ : state) {
                kind.change(0);
                kind.change(1);
            }
        });
        benchmark::RegisterBenchmark((name + ", its lines alone").c_str(),
                                     [kind](benchmark::State& state) {
                                         const std::vector<std::string> lines = linesOf(kind);
                                         for (auto _ : state) {
                                             for (const std::string& line : lines) {
                                                 std::printf("%s", line.c_str());
                                             }
                                         }
                                         state.SetLabel(std::to_string(lines.size()) + " lines");
                                     });
    }
}

/// The change of the last of many instances, which the link finds by its name.
void aChangeAmongInstances(benchmark::State& state) {
    House many;
    std::vector<std::unique_ptr<std::string>> names;
    std::vector<std::unique_ptr<ContentPlayerService>> records;
    for (int i = 1; i < state.range(0); ++i) {
        names.push_back(std::make_unique<std::string>("ContentPlayerService$" + std::to_string(i)));
        records.push_back(std::make_unique<ContentPlayerService>(player(kPlayerPlaying)));
        records.back()->mInternal = names.back()->data();
        many.change(*records.back());
    }
    const ContentPlayerService& playing = kept(player(kPlayerPlaying));
    many.change(playing);
    for (auto _ : state) {
        many.change(playing);
    }
    state.SetComplexityN(state.range(0));
}
BENCHMARK(aChangeAmongInstances)->Arg(1)->Arg(10)->Arg(50)->Arg(100)->Arg(200)->Complexity();

/// A report of the renderer daemon with many pending requests: the console shows each, the service
/// looks at the first.
void aReportOfPendingRequests(benchmark::State& state) {
    auto pending = requests(static_cast<std::size_t>(state.range(0)), 1000);
    const MediaRendererService& record = kept(renderer(pending));
    house().change(record);
    for (auto _ : state) {
        house().change(record);
    }
    state.SetComplexityN(state.range(0));
}
BENCHMARK(aReportOfPendingRequests)->Arg(1)->Arg(10)->Arg(100)->Arg(1000)->Complexity();

/// Media-info text of `size` bytes whose last item is the one that is asked for.
void aMetadataQuery(benchmark::State& state) {
    std::string info = "MetadataStr=title:";
    while (info.size() < static_cast<std::size_t>(state.range(0))) {
        info += "of frames, film and fine-rate "; // begins like the key every now and then
    }
    info += "\xEE\x82\x8A"
            "frame-rate:25000";
    ContentPlayerService playing = player(kPlayerPlaying);
    playing.mInfoStr = info.data();
    house().change(kept(player(kPlayerStopped)));
    house().change(kept(playing));
    std::string answer;
    for (auto _ : state) {
        house().service->MediaPlayer_GetMetaData(E_INFO_FRAME_RATE, answer);
        benchmark::DoNotOptimize(answer.data());
    }
    if (answer != "25.000") {
        state.SkipWithError("the query was not answered");
    }
    state.SetBytesProcessed(state.iterations() * state.range(0));
    state.SetComplexityN(state.range(0));
}
BENCHMARK(aMetadataQuery)->RangeMultiplier(8)->Range(64, 64 << 9)->Complexity();

} // namespace

int main(int argc, char** argv) {
    registerKinds();
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return 2;
    }
    if (std::freopen("/dev/null", "w", stdout) == nullptr) {
        return 1;
    }
    benchmark::ConsoleReporter reporter;
    reporter.SetOutputStream(&std::cerr);
    reporter.SetErrorStream(&std::cerr);
    benchmark::RunSpecifiedBenchmarks(&reporter);
    return 0;
}
