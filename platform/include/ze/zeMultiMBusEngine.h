// The engine under the state bus: it owns the connection and the delivery thread.
#pragma once

#include <memory>

class zeMBusEngine {
public:
    zeMBusEngine() = default;
    zeMBusEngine(const zeMBusEngine&) = delete;
    zeMBusEngine& operator=(const zeMBusEngine&) = delete;
    virtual ~zeMBusEngine() = default;

    /// Connects to the bus. 0 on success; otherwise nothing is connected and Stop may still be
    /// called.
    virtual int Open() = 0;
    /// Starts delivery. `aThreads` bounds the number of the engine's own threads; an engine may use
    /// fewer. 0 on success.
    virtual int Start(int aThreads) = 0;
    /// Ends delivery and disconnects. No handler runs after it has returned; calls that wait for an
    /// answer end with a no. Must not be called on the delivery thread. May be called twice.
    virtual void Stop() = 0;
};

/// The platform's engine.
class zeMultiMBusEngine : public zeMBusEngine {
public:
    /// `aShared`: true shares one connection with other engines of the process, false opens a
    /// connection of its own.
    explicit zeMultiMBusEngine(bool aShared);
    /// Stops the engine if that was not done.
    ~zeMultiMBusEngine() override;

    int Open() override;
    int Start(int aThreads) override;
    void Stop() override;

    struct Data;
    /// The platform's own side of the engine; meaningless to anybody else.
    Data* data() const { return mData; }

private:
    Data* mData;
};
