#include "process_cost.h"

#include <ctime>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace bench {

namespace {

std::string folder(int process) {
    return "/proc/" + std::to_string(process);
}

unsigned long numberIn(const std::string& file, const std::string& name) {
    std::ifstream in(file);
    for (std::string word; in >> word;) {
        unsigned long number = 0;
        if (word == name && in >> number) {
            return number;
        }
    }
    throw std::runtime_error(file + " does not tell " + name);
}

} // namespace

double proportionalMemory(int process) {
    return static_cast<double>(numberIn(folder(process) + "/smaps_rollup", "Pss:")) / 1024;
}

double ownMemory(int process) {
    const auto dirty = numberIn(folder(process) + "/smaps_rollup", "Private_Dirty:");
    return static_cast<double>(dirty) / 1024;
}

unsigned openDescriptors(int process) {
    const std::filesystem::directory_iterator entries(folder(process) + "/fd");
    return static_cast<unsigned>(std::distance(begin(entries), end(entries)));
}

double processorTime(int process) {
    clockid_t clock{};
    timespec time{};
    if (clock_getcpuclockid(process, &clock) != 0 || clock_gettime(clock, &time) != 0) {
        throw std::runtime_error("no processor time of " + std::to_string(process));
    }
    return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_nsec) / 1e6;
}

std::map<std::string, unsigned long> contextSwitches(int process) {
    std::map<std::string, unsigned long> switches;
    for (const auto& thread : std::filesystem::directory_iterator(folder(process) + "/task")) {
        const std::string status = thread.path().string() + "/status";
        switches[thread.path().filename()] = numberIn(status, "voluntary_ctxt_switches:") +
                                             numberIn(status, "nonvoluntary_ctxt_switches:");
    }
    return switches;
}

unsigned long switchesBetween(const std::map<std::string, unsigned long>& before,
                              const std::map<std::string, unsigned long>& after) {
    unsigned long sum = 0;
    for (const auto& [thread, count] : after) {
        const auto earlier = before.find(thread);
        sum += count - (earlier == before.end() ? 0 : earlier->second);
    }
    return sum;
}

} // namespace bench
