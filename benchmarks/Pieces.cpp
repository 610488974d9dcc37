// Times the pieces that the operations on packages are made of.

#include "containers/design/ProfileRecords.h"
#include "containers/explorer/ArchiveExplorer.h"
#include "containers/kernel/KernelRecords.h"
#include "containers/kp/HKPContainerXMLReader.h"
#include "platform/xml/Reader.h"
#include "platform/zip/ArchiveEdit.h"
#include "platform/zip/ArchiveSnapshot.h"

#include <filesystem>
#include <fstream>
#include <string>
#include <utility>
#include <vector>

#include <benchmark/benchmark.h>

namespace {

using kfab::kernel::ArchiveExplorer;

constexpr int kernels = 1000;
constexpr int entriesEach = 20;

std::string nameOf(int kernel) {
    return "kernel" + std::to_string(kernel);
}

/// A directory for what the benchmarks need, which goes with the process.
class Inputs {
public:
    Inputs() {
        std::filesystem::remove_all(top_);
        std::filesystem::create_directories(top_);
        ArchiveEdit edit(package());
        for (int kernel = 0; kernel < kernels; ++kernel)
            for (int file = 0; file < entriesEach; ++file)
                edit.addBytes(nameOf(kernel) + "/cpu_sources/file" + std::to_string(file) + ".cpp",
                              "int f();\n");
        edit.addBytes("kp.xml", manifest());
        edit.commit();
    }
    ~Inputs() { std::filesystem::remove_all(top_); }

    std::string path(const std::string& name) const { return (top_ / name).string(); }
    std::string package() const { return path("package.kp"); }

private:
    static std::string manifest() {
        std::string text = "<Root VersionMajor=\"6\" VersionMinor=\"0\"><Kernels>";
        for (int kernel = 0; kernel < kernels; ++kernel)
            text += "<Kernel Name=\"" + nameOf(kernel) + "\" Dir=\"" + nameOf(kernel) + "\"/>";
        return text + "</Kernels></Root>";
    }

    std::filesystem::path top_ =
        std::filesystem::temp_directory_path() / ("kp-pieces-" + std::to_string(getpid()));
};

const Inputs& inputs() {
    static const Inputs made;
    return made;
}

std::string example(const char* name) {
    return std::string(KP_EXAMPLES_DIR) + "/vadd/" + name;
}

/// Text that deflate makes smaller, or noise that it cannot.
std::string content(std::size_t size, bool isText) {
    std::string bytes;
    for (std::uint64_t number = 1; bytes.size() < size; number = number * 6364136223846793005U + 1)
        bytes += isText ? "assign wire_" + std::to_string(number >> 52) + ";\n"
                        : std::string{static_cast<char>(number >> 56), static_cast<char>(number >> 48)};
    return bytes;
}

void pack(benchmark::State& state) {
    const std::string bytes = content(std::size_t{1} << 22, state.range(0) != 0);
    const std::string archive = inputs().path("packed.zip");
    for ([[maybe_unused]] auto _ : state) {
        std::filesystem::remove(archive);
        ArchiveEdit edit(archive);
        edit.addBytes("member", bytes);
        edit.commit();
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(bytes.size()) * state.iterations());
    state.SetLabel(state.range(0) != 0 ? "deflated" : "stored");
}
BENCHMARK(pack)->Arg(1)->Arg(0)->Unit(benchmark::kMillisecond);

void openSnapshot(benchmark::State& state) {
    // Of two paths that take turns with two more, none is kept.
    std::vector<std::string> paths;
    for (int copy = 0; copy < 16; ++copy) {
        paths.push_back(inputs().path("copy" + std::to_string(copy)));
        std::filesystem::copy_file(inputs().package(), paths.back(),
                                   std::filesystem::copy_options::overwrite_existing);
    }
    std::size_t next = 0;
    for ([[maybe_unused]] auto _ : state)
        benchmark::DoNotOptimize(ArchiveSnapshot::open(paths[next++ % paths.size()]));
    state.SetItemsProcessed(state.iterations() * kernels * entriesEach);
}
BENCHMARK(openSnapshot)->Unit(benchmark::kMicrosecond);

void findEntry(benchmark::State& state) {
    const auto snapshot = ArchiveSnapshot::open(inputs().package());
    int kernel = 0;
    for ([[maybe_unused]] auto _ : state)
        benchmark::DoNotOptimize(snapshot->find(nameOf(kernel++ % kernels) + "/cpu_sources/file7.cpp"));
}
BENCHMARK(findEntry);

template <class Record>
void bindRecord(benchmark::State& state, const std::string& document) {
    for ([[maybe_unused]] auto _ : state)
        benchmark::DoNotOptimize(lmx60::parse<Record>(document));
    state.SetBytesProcessed(static_cast<std::int64_t>(document.size()) * state.iterations());
}
void bindDescription(benchmark::State& state) {
    bindRecord<KernelXML::Root>(state, lmx60::readBytes(example("kernel.xml")));
}
void bindReport(benchmark::State& state) {
    bindRecord<DesignXML::Profile>(state, lmx60::readBytes(example("design.xml")));
}
void bindManifest(benchmark::State& state) {
    bindRecord<KPContainer::Root>(state, ArchiveSnapshot::open(inputs().package())->read("kp.xml"));
}
BENCHMARK(bindDescription)->Unit(benchmark::kMicrosecond);
BENCHMARK(bindReport)->Unit(benchmark::kMicrosecond);
BENCHMARK(bindManifest)->Unit(benchmark::kMicrosecond);

void readManifest(benchmark::State& state) {
    for ([[maybe_unused]] auto _ : state)
        benchmark::DoNotOptimize(HKPContainerXMLReader::readManifest(inputs().package()));
}
BENCHMARK(readManifest)->Unit(benchmark::kMicrosecond);

void exploreSources(benchmark::State& state) {
    const ArchiveExplorer explorer(inputs().package(), nullptr, true);
    int kernel = 0;
    for ([[maybe_unused]] auto _ : state) {
        std::vector<std::string> sources;
        explorer.getCpuSources(nameOf(kernel++ % kernels), sources);
        benchmark::DoNotOptimize(sources);
    }
}
BENCHMARK(exploreSources)->Unit(benchmark::kMicrosecond);

void explorePath(benchmark::State& state) {
    const ArchiveExplorer explorer(inputs().package(), nullptr, true);
    int kernel = 0;
    for ([[maybe_unused]] auto _ : state)
        benchmark::DoNotOptimize(explorer.getPath(nameOf(kernel++ % kernels), "file7.cpp"));
}
BENCHMARK(explorePath)->Unit(benchmark::kMicrosecond);

}  // namespace

BENCHMARK_MAIN();
