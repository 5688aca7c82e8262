// The renderer service on the platform in memory, for one input: connected, and as it is before
// anything was reported. The service itself lives as long as the fuzzer, because its end ends
// companion processes too.
#pragma once

#include <vector>

#include "ConsoleStatusMon.h"
#include "DMR/support/access.h"
#include "KetraSrv_DLNADMR.h"
#include "ServiceRecords.h"
#include "check.h"
#include "fake/platform.h"

namespace fuzz {

class Service {
public:
    using Access = KetraTestAccess;

    Service() {
        FUZZ_CHECK(dmr().ServicesInitialize(DLNA_DEV_DMR));
        fake::clearMiddleware();
    }
    ~Service() {
        dmr().ServicesTerminate();
        forgetReports();
        fake::reset();
    }
    Service(const Service&) = delete;
    Service& operator=(const Service&) = delete;

    KetraSrv_DLNADMR& dmr() { return *KetraSrv_DLNADMR::GetInstance(); }
    ConsoleStatusMon& link() { return *Access::link(dmr()); }

    // Reports, as the bus's delivery thread hands them to the link.
    void report(const ContentPlayerService* player) {
        ConsoleStatusMon::ContentPlayerService_Callback(manager(), &link(), player);
    }
    void report(const MediaRendererService* renderer) {
        ConsoleStatusMon::MediaRendererService_Callback(manager(), &link(), renderer);
    }
    zeSBusManager* manager() { return Access::manager(link()); }

    /// Events since the last call. No inspector is needed: the parameters are compared.
    std::vector<fake::PostedEvent> posted() {
        std::vector<fake::PostedEvent> events = fake::postedEvents();
        fake::clearMiddleware();
        return events;
    }

    static bool isMedia(unsigned long type) {
        return type == MM_MEDIA_WORD_MOVIE || type == MM_MEDIA_WORD_MUSIC ||
               type == MM_MEDIA_WORD_PHOTO;
    }

private:
    void forgetReports() {
        KetraSrv_DLNADMR& service = dmr();
        Access::playerState(service) = 0;
        Access::trickMode(service) = MM_TRICK_NUM;
        Access::movieInfo(service) = {};
        Access::musicInfo(service) = {};
        Access::photoMetadata(service).clear();
        Access::mediaType(service) = MM_MEDIA_WORD_NONE;
        Access::request(service) = {};
        Access::policy(service) = EN_DMR_ASKDEFAULTDENIED;
        Access::fileInit(service).m_strTitle.clear();
        Access::fileInit(service).m_u32ByteSeek = 0;
        Access::fileInit(service).m_u32TimeSeek = 0;
        Access::inRendererUI(service) = FALSE;
        Access::visible(service) = FALSE;
        Access::savedVisible(service) = FALSE;
        Access::renaming(service) = FALSE;
        Access::friendlyName(service).clear();
        Access::positionSec(service) = static_cast<U32>(-1);
        Access::mediaInfo(service).clear();
        Access::players(link()).clear();
        Access::sounds(link()).clear();
        Access::renderers(link()).clear();
        Access::controlledByDMP(link()) = 1;
        Access::lastPlayerState(link()) = 0;
    }
};

} // namespace fuzz
