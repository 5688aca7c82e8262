// The player's log is the companions' log.
#pragma once

#include "common/log.h"

namespace player {
using namespace logging;
} // namespace player
