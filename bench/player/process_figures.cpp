#include "process_figures.h"

#include <time.h>

#include <filesystem>
#include <fstream>
#include <string>

namespace bench {
namespace {

std::string folderOf(pid_t process) {
    return "/proc/" + std::to_string(process);
}

int entries(const Processes& processes, const char* folder) {
    int count = 0;
    for (const pid_t process : processes) {
        for ([[maybe_unused]] const auto& entry :
             std::filesystem::directory_iterator(folderOf(process) + "/" + folder)) {
            ++count;
        }
    }
    return count;
}

/// Of a line of the kernel's summary of a process's memory.
double sumMiB(const Processes& processes, const char* line) {
    double kilobytes = 0;
    for (const pid_t process : processes) {
        std::ifstream file(folderOf(process) + "/smaps_rollup");
        for (std::string word; file >> word;) {
            if (word == line) {
                double value = 0;
                file >> value;
                kilobytes += value;
            }
        }
    }
    return kilobytes / 1024;
}

} // namespace

double processorSeconds(const Processes& processes) {
    double seconds = 0;
    for (const pid_t process : processes) {
        clockid_t clock = 0;
        timespec time{};
        if (clock_getcpuclockid(process, &clock) == 0 && clock_gettime(clock, &time) == 0) {
            seconds += static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9;
        }
    }
    return seconds;
}

double memoryMiB(const Processes& processes) {
    return sumMiB(processes, "Pss:");
}

double ownMemoryMiB(const Processes& processes) {
    return sumMiB(processes, "Anonymous:");
}

int descriptors(const Processes& processes) {
    return entries(processes, "fd");
}

int threads(const Processes& processes) {
    return entries(processes, "task");
}

pid_t childOf(pid_t process) {
    std::ifstream file(folderOf(process) + "/task/" + std::to_string(process) + "/children");
    pid_t child = 0;
    file >> child;
    return child;
}

} // namespace bench
