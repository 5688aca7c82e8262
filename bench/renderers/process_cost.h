// What a process uses, as the kernel counts it.
#pragma once

#include <map>
#include <string>

namespace bench {

/// MiB of memory, shared pages counted in proportion.
double proportionalMemory(int process);
/// MiB that it has written and shares with nobody: whatever others map does not change it.
double ownMemory(int process);
unsigned openDescriptors(int process);
/// Processor time so far in milliseconds, ended threads included.
double processorTime(int process);
/// Context switches so far, by thread.
std::map<std::string, unsigned long> contextSwitches(int process);
/// Those between two looks; of a thread that has ended since nothing is known.
unsigned long switchesBetween(const std::map<std::string, unsigned long>& before,
                              const std::map<std::string, unsigned long>& after);

} // namespace bench
