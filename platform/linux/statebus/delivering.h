// The gate between deliveries and quiet readers: while one side is inside, the other waits.
//
// Several delivery threads (one per engine) may be inside together, and so may several readers.
#pragma once

namespace statebus {

/// Taken by a delivery thread around every call of user code.
class Delivering {
public:
    Delivering();
    ~Delivering();
    Delivering(const Delivering&) = delete;
    Delivering& operator=(const Delivering&) = delete;
};

} // namespace statebus
