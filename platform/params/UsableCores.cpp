#include "platform/params/UsableCores.h"

#include "platform/files/Disk.h"

#include <algorithm>
#include <cstdlib>
#include <sstream>
#include <thread>

#include <sched.h>

namespace {

std::size_t coresOfAffinity() {
    cpu_set_t cores;
    // Of more cores than the set can hold the call tells none.
    if (sched_getaffinity(0, sizeof cores, &cores) != 0) return std::thread::hardware_concurrency();
    return static_cast<std::size_t>(CPU_COUNT(&cores));
}

/// What the file holds; nothing where it cannot be read.
std::string textOf(const std::string& path) {
    try {
        const disk::FileDescriptor file = disk::openIfThere(path, O_RDONLY);
        return file.isOpen() ? disk::readAll(file) : std::string();
    } catch (const disk::Failure&) {
        return {};
    }
}

/// Lowers `cores` to a quota of so many microseconds in each period; "max" and "-1" are no quota.
void limit(std::size_t& cores, const std::string& quota, const std::string& period) {
    const double time = std::atof(quota.c_str()), all = std::atof(period.c_str());
    if (time <= 0 || all <= 0) return;
    const double granted = time / all;
    const auto whole = static_cast<std::size_t>(std::min(granted, 1e6));
    cores = std::min(cores, whole + (granted > static_cast<double>(whole) ? 1 : 0));
}

/// Lowers `cores` to what a group and all above it grant. `directory` is where the top group's files are.
void limitByGroup(std::size_t& cores, const std::string& directory, std::string group) {
    for (;;) {
        const std::string files = directory + group + "/";
        const std::string both = textOf(files + "cpu.max");  // quota and period
        const auto blank = both.find(' ');
        if (blank != std::string::npos) limit(cores, both.substr(0, blank), both.substr(blank + 1));
        limit(cores, textOf(files + "cpu.cfs_quota_us"), textOf(files + "cpu.cfs_period_us"));
        if (group.empty() || group == "/") return;
        group.erase(group.rfind('/'));
    }
}

}  // namespace

std::size_t usableCores(const std::string& root) {
    std::size_t cores = coresOfAffinity();
    const std::string groups = root + "/sys/fs/cgroup";
    // A line is "0::/group" of version 2, or "4:cpu,cpuacct:/group" of version 1, whose files lie below a
    // directory of that name or, in some containers, below that of the controller alone.
    std::istringstream lines(textOf(root + "/proc/self/cgroup"));
    for (std::string line; std::getline(lines, line);) {
        const auto first = line.find(':');
        const auto second = line.find(':', first + 1);
        if (second == std::string::npos) continue;
        const std::string controllers = line.substr(first + 1, second - first - 1);
        const bool isOfTime = ("," + controllers + ",").find(",cpu,") != std::string::npos;
        const std::string group = line.substr(second + 1);
        if (controllers.empty()) limitByGroup(cores, groups, group);
        if (isOfTime) limitByGroup(cores, groups + "/" + controllers, group);
        if (isOfTime) limitByGroup(cores, groups + "/cpu", group);
    }
    return std::max<std::size_t>(cores, 1);
}
