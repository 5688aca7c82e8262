// The smallest television: it has the library and a platform of stubs, and asks a few things.
#include <cstdio>
#include <string>

#include "KetraSrv_DLNADMR.h"

int main() {
    KetraSrv_DLNADMR* renderer = KetraSrv_DLNADMR::GetInstance();
    KetraSrv_MMInterface* interface = renderer;
    if (renderer->ServicesInitialize(DLNA_DEV_DMR) != TRUE) {
        std::fputs("the library did not connect\n", stderr);
        return 1;
    }
    if (renderer->ChangeAuthState(EN_DMR_DENIED) != EN_DMR_DENIED) {
        std::fputs("the policy did not change\n", stderr);
        return 1;
    }
    std::string title;
    if (interface->MM_Interface_GetMetaData(E_MM_INTERFACE_MEDIA_MUSIC, E_MM_INTERFACE_META_TITLE,
                                            title) != FALSE ||
        title != "---") {
        std::fputs("a title came from nowhere\n", stderr);
        return 1;
    }
    if (interface->MM_Interface_Play(E_MM_INTERFACE_MEDIA_MOVIE) != TRUE) {
        std::fputs("play was refused\n", stderr);
        return 1;
    }
    renderer->ServicesTerminate();
    return 0;
}
