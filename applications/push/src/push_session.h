// One push from beginning to end: hand the file over, play it, watch it, stop it on Ctrl-C.
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "exit_code.h"
#include "file_server.h"
#include "media_file.h"
#include "play_position.h"
#include "progress.h"
#include "renderer.h"
#include "renderer_search.h"
#include "waiter.h"

namespace push {

class PushSession {
public:
    /// `renderer` was made of `found`, one that `search` has found. The others given must outlive
    /// the session.
    PushSession(Renderer renderer, std::shared_ptr<const FoundRenderer> found,
                const RendererSearch& search, const MediaFile& file, const FileServer& server,
                Waiter& waiter, Progress& progress);

    /// Returns when the renderer is done with the file, refused it, or is lost. With `keepPhoto`
    /// a photo ends like a film: when the renderer stops showing it.
    ExitCode run(bool keepPhoto);

private:
    ExitCode handOver();
    std::optional<ActionError> playWhenReady();
    ExitCode watch(bool keepPhoto);
    std::optional<ExitCode> judge(const TransportInfo& transport, bool keepPhoto);
    std::optional<ExitCode> judgeStopped(const TransportInfo& transport);
    std::optional<ExitCode> judgeOther();
    std::optional<ExitCode> lookOnce(bool keepPhoto);
    std::optional<ExitCode> awaitReturn();
    std::optional<ExitCode> judgeForgotten();
    bool isAtEnd() const;
    ExitCode lost(bool wasAtEnd, const std::string& how);
    ExitCode interrupt();
    ExitCode sayFailure(const std::string& what, const ActionError& error);

    Renderer renderer_;
    std::shared_ptr<const FoundRenderer> found_;
    const RendererSearch& search_;
    const MediaFile& file_;
    const FileServer& server_;
    Waiter& waiter_;
    Progress& progress_;
    std::string name_;       ///< of the renderer, fit for the terminal
    PlayPosition position_;  ///< as it was last told while the file was active
    bool wasActive_ = false; ///< it played, paused or waited since it took the file
    bool wasPlaying_ = false;
    bool saidWaiting_ = false;
    bool isBack_ = false;      ///< it left and came back
    gint64 lastServedAt_ = 0;  ///< since then: when it was last seen fetching, like below
    unsigned silentLooks_ = 0; ///< polls in a row that nobody answered
    bool wasAtEnd_ = false;    ///< of the file, before the first of them
    gint64 handedOverAt_ = 0;  ///< monotonic, microseconds
};

} // namespace push
