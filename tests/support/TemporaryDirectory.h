#pragma once

#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <stdexcept>
#include <string>
#include <string_view>

#include <stdlib.h>

/// A new, empty directory that goes with all it holds at the end of the scope.
class TemporaryDirectory {
public:
    TemporaryDirectory() {
        path_ = (std::filesystem::temp_directory_path() / "kp-test-XXXXXX").string();
        if (mkdtemp(path_.data()) == nullptr) throw std::runtime_error("no temporary directory " + path_);
    }
    ~TemporaryDirectory() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    TemporaryDirectory(const TemporaryDirectory&) = delete;
    TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;

    const std::string& path() const { return path_; }
    std::string operator/(std::string_view name) const { return path_ + "/" + std::string(name); }

    /// Makes a file, with the directories above it, and returns its path.
    std::string file(std::string_view name, std::string_view bytes) const {
        const std::string path = *this / name;
        std::filesystem::create_directories(std::filesystem::path(path).parent_path());
        std::ofstream stream(path, std::ios::binary);
        stream << bytes;
        if (!stream.flush()) throw std::runtime_error("cannot write " + path);
        return path;
    }

    static std::string read(const std::string& path) {
        std::ifstream stream(path, std::ios::binary);
        if (!stream) throw std::runtime_error("cannot read " + path);
        return {std::istreambuf_iterator<char>(stream), {}};
    }

    /// All files below it, or below a directory in it, by their relative paths, with what they hold.
    std::map<std::string, std::string> files(std::string_view below = "") const {
        const std::filesystem::path top = std::filesystem::path(path_) / below;
        std::map<std::string, std::string> files;
        for (const auto& entry : std::filesystem::recursive_directory_iterator(top))
            if (entry.is_regular_file())
                files[entry.path().lexically_relative(top).string()] = read(entry.path());
        return files;
    }

private:
    std::string path_;
};

/// One with all that the example kernel is made of.
struct ExampleDirectory : TemporaryDirectory {
    ExampleDirectory() {
        std::filesystem::copy(KP_EXAMPLES_DIR "/vadd", path(), std::filesystem::copy_options::recursive);
    }

    /// Puts another piece in the place of one that must be there.
    void edit(const std::string& name, const std::string& piece, const std::string& other) const {
        std::string text = read(*this / name);
        file(name, text.replace(text.find(piece), piece.size(), other));
    }
};
