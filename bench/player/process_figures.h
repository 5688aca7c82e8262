// What processes cost, as the kernel counts it.
#pragma once

#include <sys/types.h>

#include <vector>

namespace bench {

using Processes = std::vector<pid_t>;

/// Processor time that they have used so far, in seconds, threads that have ended included.
double processorSeconds(const Processes& processes);
/// Proportional set size: pages that several processes share are counted in proportion.
double memoryMiB(const Processes& processes);
/// What of it belongs to no file: heaps, stacks, buffers. Others that use the same libraries do not
/// change it.
double ownMemoryMiB(const Processes& processes);
/// Open descriptors and threads, of all together.
int descriptors(const Processes& processes);
int threads(const Processes& processes);

/// The first child of a process; 0 when it has none.
pid_t childOf(pid_t process);

} // namespace bench
