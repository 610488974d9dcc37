// The least that extracting a tree takes: its files are inflated from an archive, unchecked, and created
// under their names. Standard input has a line "SIZE OFFSET STORED-SIZE PATH" for each file, OFFSET being
// that of its deflated or stored bytes.

#include <iostream>

#include "benchmarks/BareFiles.h"
#include <libdeflate.h>

namespace {

class Content {
public:
    explicit Content(const char* archive) : archive_(archive, O_RDONLY) {}

    std::span<const char> of(std::size_t size, std::uint64_t offset, std::size_t storedSize) {
        bytes_.resize(std::max(bytes_.size(), size));
        const std::span<char> bytes = std::span(bytes_).first(size);
        stored_.resize(std::max(stored_.size(), storedSize));
        const std::span<char> stored = std::span(stored_).first(storedSize);
        archive_.readAt(offset, stored);
        if (storedSize == size) return stored;
        if (libdeflate_deflate_decompress(decompressor_.get(), stored.data(), storedSize, bytes.data(), size,
                                          nullptr) != LIBDEFLATE_SUCCESS)
            throw std::runtime_error("a file does not inflate");
        return bytes;
    }

private:
    bare::File archive_;
    std::unique_ptr<libdeflate_decompressor, decltype(&libdeflate_free_decompressor)> decompressor_{
        libdeflate_alloc_decompressor(), libdeflate_free_decompressor};
    std::vector<char> bytes_, stored_;
};

}  // namespace

int main(int argumentCount, char** arguments) {
    if (argumentCount != 3) {
        std::cerr << "usage: bare_extract DIRECTORY ARCHIVE < FILES\n";
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
