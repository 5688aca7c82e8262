// The inside of the contract's manager, for the other classes of the contract.
#pragma once

#include "ze/zeSBus.h"

namespace statebus {

class Subscriptions;

Subscriptions& subscriptionsOf(const zeSBusManager& manager);

} // namespace statebus
