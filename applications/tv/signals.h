// Signals that end the television, as something to poll for.
#pragma once

namespace tv {

/// Takes SIGINT, SIGTERM and SIGHUP out of their usual way, for this thread and those that it will
/// start, and ignores SIGPIPE. One object per process, made before any thread.
///
/// A terminal sends Ctrl-C to the companions too. They are started with SIGINT blocked, so that the
/// TV can shut them down in order; their other signals are as usual.
class EndingSignals {
public:
    EndingSignals();
    ~EndingSignals();
    EndingSignals(const EndingSignals&) = delete;
    EndingSignals& operator=(const EndingSignals&) = delete;

    /// Readable when a signal has come.
    int descriptor() const { return descriptor_; }
    /// Takes one signal; false when there is none. Any thread.
    bool take() const;

private:
    int descriptor_ = -1;
};

} // namespace tv
