#pragma once

#include "platform/base/Exceptions.h"
#include "platform/files/Disk.h"
#include "platform/files/HUTFileUtils.h"

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <string>
#include <string_view>

/// What the fuzzing programs share.
namespace fuzz {

/// Ends the program, which the fuzzer keeps as a finding, unless the condition holds.
inline void require(bool holds, std::string_view what) {
    if (holds) return;
    std::cerr << "fuzz: not so: " << what << std::endl;
    std::abort();
}

/// Whether the operation is done. It may be refused by this exception; any other one ends the program.
template <class Refusal = HEXAlgException, class Operation>
bool succeeds(Operation operation) {
    try {
        operation();
        return true;
    } catch (const Refusal&) {
        return false;
    }
}

inline std::string_view text(const std::uint8_t* data, std::size_t size) {
    return {reinterpret_cast<const char*>(data), size};
}

/// Whether names or contents from the input may be refused because they look like the end of an archive.
inline bool mayEndArchive(std::string_view input) {
    return input.find("PK\5\6") != input.npos || input.find("PK\6\7") != input.npos;
}

/// A directory for the whole run, below that of TMPDIR. While it lives, the program ends as soon as the
/// library reaches for anything outside: each of its calls on the disk goes through the seam that is guarded
/// here.
class Scratch {
public:
    std::string operator/(std::string_view name) const { return directory_.path() + "/" + std::string(name); }

    std::string file(std::string_view name, std::string_view bytes) const {
        std::ofstream(*this / name, std::ios::binary) << bytes;
        return *this / name;
    }

    static std::string read(const std::string& path) {
        std::ifstream stream(path, std::ios::binary);
        return {std::istreambuf_iterator<char>(stream), {}};
    }

private:
    bool holds(const std::string& path) const {
        const std::string whole = path + "/";
        return whole.starts_with(directory_.path() + "/") && whole.find("/../") == std::string::npos;
    }

    const ScratchDirectory directory_{std::filesystem::temp_directory_path().string(), ".kp-fuzz"};
    const disk::DiskFaults guard_{[this](std::string_view call, const std::string& path) {
        require(holds(path), "the scratch directory holds '" + path + "', to " + std::string(call));
        return 0;
    }};
};

}  // namespace fuzz
