// How ketra-push ends: what scripts read of it. Each has its own number, so that a caller can
// tell "the viewer said no" from "there is no television".
#pragma once

namespace push {

enum class ExitCode {
    kDone = 0,           ///< shown, or played until it ended or was stopped on the renderer
    kUsage = 2,          ///< the command line makes no sense
    kFileUnusable = 3,   ///< cannot be read, or is not media
    kNothingFound = 4,   ///< no renderer answered, or there is no network to look on
    kNameUnknown = 5,    ///< renderers answered, none has that name
    kNameAmbiguous = 6,  ///< several renderers could be meant
    kServerFailed = 7,   ///< the file could not be served, for example the port is occupied
    kRefused = 8,        ///< by the renderer or its viewer, or replaced before it began
    kPlaybackFailed = 9, ///< the renderer took it and could not play it
    kRendererLost = 10,  ///< the renderer went away or does not answer any more
    kInterrupted = 130,  ///< Ctrl-C or SIGTERM
};

} // namespace push
