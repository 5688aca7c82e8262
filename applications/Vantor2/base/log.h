// The daemon's log is the companions' log.
#pragma once

#include "common/log.h"

namespace vantor {
using namespace logging;
} // namespace vantor
