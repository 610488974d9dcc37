// The least that extracting a tree takes: directories and files of the same names and sizes are created and
// filled, with bytes that are at hand or, where an archive is given, with what its bytes inflate to,
// unchecked. Standard input has a line "SIZE OFFSET STORED-SIZE PATH" for each file, OFFSET being that of its
// deflated or stored bytes.

#include <iostream>
#include <optional>

#include "benchmarks/BareFiles.h"
#include <libdeflate.h>

namespace {

class Content {
public:
    explicit Content(const char* archive) {
        if (archive != nullptr) archive_.emplace(archive, O_RDONLY);
    }

    std::span<const char> of(std::size_t size, std::uint64_t offset, std::size_t storedSize) {
        bytes_.resize(std::max(bytes_.size(), size), 'x');
        const std::span<char> bytes = std::span(bytes_).first(size);
        if (!archive_) return bytes;
        stored_.resize(std::max(stored_.size(), storedSize));
        const std::span<char> stored = std::span(stored_).first(storedSize);
        archive_->readAt(offset, stored);
        if (storedSize == size) return stored;
        if (libdeflate_deflate_decompress(decompressor_.get(), stored.data(), storedSize, bytes.data(), size,
                                          nullptr) != LIBDEFLATE_SUCCESS)
            throw std::runtime_error("a file does not inflate");
        return bytes;
    }

private:
    std::optional<bare::File> archive_;
    std::unique_ptr<libdeflate_decompressor, decltype(&libdeflate_free_decompressor)> decompressor_{
        libdeflate_alloc_decompressor(), libdeflate_free_decompressor};
    std::vector<char> bytes_, stored_;
};

}  // namespace

int main(int argumentCount, char** arguments) {
    if (argumentCount != 2 && argumentCount != 3) {
        std::cerr << "usage: bare_create DIRECTORY [ARCHIVE] < FILES\n";
        return 2;
    }
    const std::filesystem::path directory = arguments[1];
    std::filesystem::path made;
    Content content(arguments[2]);
    std::size_t size = 0, storedSize = 0;
    std::uint64_t offset = 0;
    for (std::string name;
         std::cin >> size >> offset >> storedSize && std::getline(std::cin >> std::ws, name);) {
        const std::filesystem::path path = directory / name;
        if (path.parent_path() != made) std::filesystem::create_directories(made = path.parent_path());
        const bare::File file(path, O_WRONLY | O_CREAT | O_EXCL);
        file.write(content.of(size, offset, storedSize));
    }
}
