// What the parts of the platform offer to a reset between tests.
#pragma once

namespace fake {

void restartMutexNumbers();

} // namespace fake
